// From the system's error numbers to those of the platform floor.
#pragma once

#include "platform/platform.h"

namespace vfile::platform {

// The platform error of an errno value. Whether ENOENT means the file or the way to it only the name can
// tell, see StoreNameError.
std::uint32_t ErrorOf(int systemError);

// Stores the reason of a failure; always false, for the return statement.
bool Fail(int systemError);

// Stores the reason of a failure that has to do with the name `path`.
void StoreNameError(int systemError, char const* path);

}  // namespace vfile::platform
