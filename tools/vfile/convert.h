#pragma once

#include "options.h"

namespace vfile::tool {

// Gives the exit status.
int Convert(Options const& options);

}  // namespace vfile::tool
