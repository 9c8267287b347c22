// What the program can do.
#pragma once

#include "options.h"

namespace vfile::tool {

// Does what was asked for and gives the exit status.
int Run(Options const& options);

}  // namespace vfile::tool
