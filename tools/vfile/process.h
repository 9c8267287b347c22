// What the program asks of its process, and about it.
#pragma once

#include <cstdint>

namespace vfile::tool {

// Takes the user's locale for characters, makes a file that outgrows the limit of the process a failed write and
// no signal, and sees to it that no file opened later gets the number of a standard stream that is closed.
void PrepareProcess();

// The bytes in the open files of this process that have no name. Beside what a caller left open that is the swap file.
std::int64_t BytesWithoutName();

}  // namespace vfile::tool
