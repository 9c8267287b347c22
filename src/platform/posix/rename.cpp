#include "platform/posix/rename.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/posix/held_file.h"

namespace vfile::platform {
namespace {

// Both names mean one file, and the old one goes; unless somebody has put another file there, to whom it is left.
bool DropOldName(char const* from, char const* to) {
    struct stat older, newer;
    if (lstat(from, &older) != 0) return errno == ENOENT;
    if (lstat(to, &newer) != 0) return false;
    if (!IsSame(older, newer) || unlink(from) == 0) return true;
    int const reason = errno;
    if (lstat(to, &newer) == 0 && IsSame(older, newer)) unlink(to);
    errno = reason;
    return false;
}

// What has no second link replaces an empty file or directory that was made here for that. Only what takes that one's
// place in this very moment is replaced, a directory only if it is empty.
bool RenameOverOwn(char const* from, char const* to) {
    struct stat info;
    if (lstat(from, &info) != 0) return false;
    bool const isDirectory = S_ISDIR(info.st_mode);
    int const own =
        isDirectory ? mkdir(to, S_IRWXU) : open(to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (own == -1) return false;
    int const reason = rename(from, to) == 0 ? 0 : errno;
    if (reason != 0 && isDirectory) rmdir(to);
    if (reason != 0 && !isDirectory) RemoveIfStill(to, own);
    if (!isDirectory) close(own);
    errno = reason;
    return reason == 0;
}

// For file systems that cannot refuse to replace: a second link refuses.
bool RenameByLink(char const* from, char const* to) {
    if (linkat(AT_FDCWD, from, AT_FDCWD, to, 0) == 0) return DropOldName(from, to);
    bool const isFinal = errno == EEXIST || errno == EXDEV || errno == ENOENT;
    return !isFinal && RenameOverOwn(from, to);
}

}  // namespace

bool RenameInPlace(char const* from, char const* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    return (errno == EINVAL || errno == ENOSYS) && RenameByLink(from, to);
}

}  // namespace vfile::platform
