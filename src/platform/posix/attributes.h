// What a file has beside its bytes: owner, permission bits, access list, labels, attributes of the user's.
#pragma once

namespace vfile::platform {

// Whom the list of a copy is to let in. With kOwner it is as long as the other's, and is refused where that would be.
enum class ListRights { kAll, kOwner };

// Gives one open file the access list and the further attributes of another; a list that the other lacks is taken
// away. False: it cannot have them all, and errno tells why.
bool CopyAttributeList(int from, int to, ListRights rights = ListRights::kAll);

// Gives a file that only its owner may open the permission bits and the access list of another, at once. Where the
// list cannot be had, or the group is another, the bits are those that give nobody more. False, with errno: not to be done.
bool CopyRights(int from, int to);

// Gives such a file all that another has beside its bytes, its times too, as far as the file system and the rights of
// the caller admit. What then is missing gives nobody more: without the owner there are no set-id bits, without the
// group there is for group and others only what both had. False, with errno: not to be done.
bool CopyEverything(int from, int to);

}  // namespace vfile::platform
