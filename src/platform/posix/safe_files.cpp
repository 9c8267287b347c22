// What it takes to put a new file in the place of an old one without a moment at which neither is there.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix/attributes.h"
#include "platform/posix/calls.h"
#include "platform/posix/errors.h"
#include "platform/posix/name_bytes.h"

namespace vfile::platform {
namespace {

constexpr int kMostLinks = 40;  // as many as the system itself follows
constexpr mode_t kModeBits = 07777;

// Puts what a link in `path` leads to in the place of `path`. Zero, or a system error; EINVAL: it is no link.
int FollowOne(char (&path)[PATH_MAX]) {
    char link[PATH_MAX];
    ssize_t const len = readlink(path, link, sizeof link);
    if (len == -1) return errno;
    char const* const slash = std::strrchr(path, '/');
    std::size_t const kept = link[0] == '/' || !slash ? 0 : static_cast<std::size_t>(slash + 1 - path);
    auto const added = static_cast<std::size_t>(len);
    if (kept + added >= sizeof path) return ENAMETOOLONG;
    std::memcpy(path + kept, link, added);
    path[kept + added] = '\0';
    return 0;
}

// The name under which the process itself sees a descriptor.
struct DescriptorName {
    char bytes[32];
    explicit DescriptorName(int descriptor) {
        std::snprintf(bytes, sizeof bytes, "/proc/self/fd/%d", descriptor);
    }
};

}  // namespace

bool FollowLinks(TChar const* name, TChar* found, std::uint32_t size) {
    NameBytes const given(name);
    if (given.SystemError() != 0) return Fail(given.SystemError());
    char path[PATH_MAX];
    std::memcpy(path, given.Bytes(), std::strlen(given.Bytes()) + 1);
    int reason = 0;
    for (int links = 0; reason == 0; ++links) reason = links > kMostLinks ? ELOOP : FollowOne(path);
    if (reason != EINVAL && reason != ENOENT) return Fail(reason);
    std::size_t const units = UnitsOfBytes(path, nullptr);
    if (units >= size) return Fail(ENAMETOOLONG);
    found[UnitsOfBytes(path, found)] = 0;
    return true;
}

Handle CreateUnnamed(TChar const* name, bool ownerOnly) {
    NameBytes const path(name);
    DirectoryOf const directory(path.Bytes());
    int const descriptor = Repeated(
        [&] { return open(directory.Bytes(), O_TMPFILE | O_RDWR | O_CLOEXEC, ownerOnly ? 0600 : 0666); });
    if (descriptor == -1) {
        bool const unknown = errno == EISDIR || errno == EINVAL || errno == EOPNOTSUPP;
        StoreNameError(unknown ? EOPNOTSUPP : errno, path.Bytes());
        return InvalidHandle();
    }
    if (access(DescriptorName(descriptor).bytes, F_OK) != 0) {  // then it could not be given a name
        close(descriptor);
        Fail(EOPNOTSUPP);
        return InvalidHandle();
    }
    flock(descriptor, LOCK_EX | LOCK_NB);
    return HandleOf(descriptor);
}

bool GiveName(Handle file, TChar const* name) {
    NameBytes const path(name);
    if (path.SystemError() != 0) return Fail(path.SystemError());
    DescriptorName const self(DescriptorOf(file));
    return linkat(AT_FDCWD, self.bytes, AT_FDCWD, path.Bytes(), AT_SYMLINK_FOLLOW) == 0 || Fail(errno);
}

// The owner comes first, since a change of it takes away bits of the mode.
bool CopyAttributes(Handle from, Handle to) {
    int const source = DescriptorOf(from);
    int const target = DescriptorOf(to);
    struct stat old, now;
    if (fstat(source, &old) != 0 || fstat(target, &now) != 0) return Fail(errno);
    bool const sameOwner = old.st_uid == now.st_uid && old.st_gid == now.st_gid;
    if (!sameOwner && fchown(target, old.st_uid, old.st_gid) != 0) return Fail(errno);
    if (!CopyAttributeList(source, target)) return Fail(errno);
    return fchmod(target, old.st_mode & kModeBits) == 0 || Fail(errno);
}

bool IsNameOf(TChar const* name, Handle file) {
    NameBytes const path(name);
    if (path.SystemError() != 0) return Fail(path.SystemError());
    struct stat named, held;
    if (fstat(DescriptorOf(file), &held) != 0) return Fail(errno);
    if (stat(path.Bytes(), &named) != 0) {
        StoreNameError(errno, path.Bytes());
        return false;
    }
    return (named.st_dev == held.st_dev && named.st_ino == held.st_ino) || Fail(EBUSY);
}

std::int64_t CountNames(Handle file) {
    struct stat info;
    return fstat(DescriptorOf(file), &info) == 0 ? static_cast<std::int64_t>(info.st_nlink) : -1;
}

bool ReplaceNamed(TChar const* from, TChar const* to) {
    NameBytes const fromPath(from);
    NameBytes const toPath(to);
    int const refusal = fromPath.SystemError() != 0 ? fromPath.SystemError() : toPath.SystemError();
    if (refusal != 0) return Fail(refusal);
    return rename(fromPath.Bytes(), toPath.Bytes()) == 0 || Fail(errno);
}

// A directory that may be written but not read cannot be opened, and some file systems know no flush of it: the name is
// as safe there as the system makes it.
bool FlushDirectoryOf(TChar const* name) {
    NameBytes const path(name);
    DirectoryOf const directory(path.Bytes());
    int const descriptor =
        Repeated([&] { return open(directory.Bytes(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (descriptor == -1) return errno == EACCES || Fail(errno);
    int const reason = Repeated([&] { return fsync(descriptor); }) == 0 ? 0 : errno;
    close(descriptor);
    return reason == 0 || reason == EINVAL || reason == ENOTSUP || Fail(reason);
}

}  // namespace vfile::platform
