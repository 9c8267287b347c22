// From one file system to another, where a rename is a copy and a removal.
#pragma once

#include <sys/stat.h>

#include "platform/platform.h"

namespace vfile::platform {

// Moves a regular file, or a link, that `from` meant when `info` was asked for.
bool MoveFile(TChar const* from, TChar const* to, struct stat const& info);
bool MoveLink(char const* from, TChar const* to, struct stat const& info);

}  // namespace vfile::platform
