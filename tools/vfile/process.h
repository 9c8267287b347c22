// What the program asks of its process before it does anything.
#pragma once

namespace vfile::tool {

// Takes the user's locale for characters, makes a file that outgrows the limit of the process a failed write and
// no signal, and sees to it that no file opened later gets the number of a standard stream that is closed.
void PrepareProcess();

}  // namespace vfile::tool
