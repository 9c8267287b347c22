// The command that copies a file to the next free backup name.
#pragma once

#include "options.h"

namespace vfile::tool {

int Backup(Options const& options);

}  // namespace vfile::tool
