// A rename that never replaces, on file systems that can refuse to and on those that cannot.
#pragma once

namespace vfile::platform {

// Gives a file another name in its file system, which must be free. True, or errno tells why not.
bool RenameInPlace(char const* from, char const* to);

}  // namespace vfile::platform
