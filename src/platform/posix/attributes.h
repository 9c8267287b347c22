// What a file has beside owner and mode: its access list, labels, attributes of the user's.
#pragma once

namespace vfile::platform {

// Gives one open file the access list and the further attributes of another; a list that the other lacks is taken
// away. False: it cannot have them all, and errno tells why.
bool CopyAttributeList(int from, int to);

}  // namespace vfile::platform
