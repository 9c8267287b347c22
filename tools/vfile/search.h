// The command that looks for a text.
#pragma once

#include "options.h"

namespace vfile::tool {

// Prints where the pattern stands and gives the exit status.
int Find(Options const& options);

}  // namespace vfile::tool
