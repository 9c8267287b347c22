// What it takes to put a new file in the place of an old one without a moment at which neither is there.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix/attributes.h"
#include "platform/posix/calls.h"
#include "platform/posix/errors.h"
#include "platform/posix/held_file.h"
#include "platform/posix/name_bytes.h"

namespace vfile::platform {
namespace {

constexpr int kMostLinks = 40;  // as many as the system itself follows
constexpr mode_t kModeBits = 07777;

// As where the system follows by itself: in a directory where all may make names and take away no others', a link is for
// its maker, or for all if it is the directory's owner's.
bool MayBePlanted(struct stat const& link, char const* path) {
    constexpr mode_t kForAll = S_ISVTX | S_IWOTH;
    struct stat directory;
    if (link.st_uid == geteuid()) return false;
    if (stat(DirectoryOf(path).Bytes(), &directory) != 0) return true;
    return (directory.st_mode & kForAll) == kForAll && link.st_uid != directory.st_uid;
}

// Puts what a link in `path` leads to in the place of `path`. Zero, or a system error; EINVAL: it is no link. The link is
// held, so that what is looked at is what is read.
int FollowOne(char (&path)[PATH_MAX], bool guarded) {
    int const held = Repeated([&] { return open(path, O_PATH | O_NOFOLLOW | O_CLOEXEC, 0); });
    if (held == -1) return errno;
    char link[PATH_MAX];
    struct stat info;
    ssize_t len = -1;
    int reason = fstat(held, &info) != 0 ? errno : S_ISLNK(info.st_mode) ? 0 : EINVAL;
    if (reason == 0 && guarded && MayBePlanted(info, path)) reason = EACCES;
    if (reason == 0 && (len = readlinkat(held, "", link, sizeof link)) == -1) reason = errno;
    close(held);
    if (reason != 0) return reason;
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

bool GiveOwner(struct stat const& old, int target) {
    struct stat now;
    if (fstat(target, &now) != 0) return false;
    bool const sameOwner = old.st_uid == now.st_uid && old.st_gid == now.st_gid;
    return sameOwner || fchown(target, old.st_uid, old.st_gid) == 0;
}

// The owner comes first, since a change of it takes away bits of the mode, and the mode last.
bool GiveAll(Replacement const& files) {
    int const target = DescriptorOf(files.fresh);
    mode_t rights = files.rights;
    if (files.old != InvalidHandle()) {
        struct stat old;
        if (fstat(DescriptorOf(files.old), &old) != 0 || !GiveOwner(old, target)) return Fail(errno);
        if (!CopyAttributeList(DescriptorOf(files.old), target)) return Fail(errno);
        rights = old.st_mode & kModeBits;
    }
    // A power cut must not leave a part of a program that runs with the rights of another.
    if ((rights & (S_ISUID | S_ISGID)) != 0 && !FlushFile(files.fresh)) return false;
    return fchmod(target, rights) == 0 || Fail(errno);
}

// Gives the fresh file the target's name, which must mean the old one still.
bool TakeName(Replacement const& files, TChar const* from, TChar const* to) {
    if (files.old == InvalidHandle()) return RenameNamed(from, to);
    NameBytes const fromPath(from);
    NameBytes const toPath(to);
    if (!Means(toPath.Bytes(), DescriptorOf(files.old))) return FailNamed(toPath.Bytes());
    return rename(fromPath.Bytes(), toPath.Bytes()) == 0 || Fail(errno);
}

}  // namespace

bool FollowLinks(TChar const* name, bool exists, TChar* found, std::uint32_t size) {
    NameBytes const given(name);
    if (given.SystemError() != 0) return Fail(given.SystemError());
    char path[PATH_MAX];
    std::memcpy(path, given.Bytes(), std::strlen(given.Bytes()) + 1);
    int reason = 0;
    for (int links = 0; reason == 0; ++links) reason = links > kMostLinks ? ELOOP : FollowOne(path, !exists);
    if (reason != EINVAL && reason != ENOENT) return Fail(reason);
    std::size_t const units = UnitsOfBytes(path, nullptr);
    if (units >= size) return Fail(ENAMETOOLONG);
    found[UnitsOfBytes(path, found)] = 0;
    return true;
}

bool NamesCanGo(TChar const* name) {
    NameBytes const path(name);
    DirectoryOf const directory(path.Bytes());
    struct statx info {};
    bool const known = statx(AT_FDCWD, directory.Bytes(), 0, STATX_TYPE, &info) == 0;
    return !known || (info.stx_attributes & STATX_ATTR_APPEND) == 0 || Fail(EPERM);
}

bool IsNameFree(TChar const* name) {
    NameBytes const path(name);
    struct stat info;
    if (path.SystemError() != 0) return Fail(path.SystemError());
    if (lstat(path.Bytes(), &info) == 0) return Fail(EEXIST);
    return errno == ENOENT || Fail(errno);
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
    // Asked for a name that is taken, the system says so, unless it would give it none at all.
    DescriptorName const self(descriptor);
    if (linkat(AT_FDCWD, self.bytes, AT_FDCWD, directory.Bytes(), AT_SYMLINK_FOLLOW) == 0 ||
        errno != EEXIST) {
        close(descriptor);
        Fail(EOPNOTSUPP);
        return InvalidHandle();
    }
    flock(descriptor, LOCK_EX | LOCK_NB);
    return HandleOf(descriptor);
}

// What a sandbox says, or a system without its names of descriptors: then it may still make a file with a name.
bool GiveName(Handle file, TChar const* name) {
    constexpr int kRefusals[] = {EPERM, EACCES, ENOENT, EXDEV, EOPNOTSUPP, ENOSYS};
    NameBytes const path(name);
    if (path.SystemError() != 0) return Fail(path.SystemError());
    DescriptorName const self(DescriptorOf(file));
    if (linkat(AT_FDCWD, self.bytes, AT_FDCWD, path.Bytes(), AT_SYMLINK_FOLLOW) == 0) return true;
    int const reason = errno;
    return Fail(std::ranges::count(kRefusals, reason) != 0 ? EOPNOTSUPP : reason);
}

bool IsNameOf(TChar const* name, Handle file) {
    NameBytes const path(name);
    if (path.SystemError() != 0) return Fail(path.SystemError());
    struct stat named, held;
    if (fstat(DescriptorOf(file), &held) != 0) return Fail(errno);
    if (stat(path.Bytes(), &named) != 0) return FailNamed(path.Bytes());
    return IsSame(named, held) || Fail(EBUSY);
}

std::int64_t CountNames(Handle file) {
    struct stat info;
    return fstat(DescriptorOf(file), &info) == 0 ? static_cast<std::int64_t>(info.st_nlink) : -1;
}

bool RemoveNameOf(TChar const* name, Handle file) {
    NameBytes const path(name);
    if (path.SystemError() != 0) return Fail(path.SystemError());
    return RemoveIfStill(path.Bytes(), DescriptorOf(file)) || FailNamed(path.Bytes());
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

// A file system without modes cannot withhold what it gives to all: there nothing is to be kept either.
bool PrepareReplacement(Handle fresh, Handle old, std::uint32_t& rights) {
    constexpr mode_t kOwnersAlone = S_IRUSR | S_IWUSR;
    int const target = DescriptorOf(fresh);
    struct stat now, before;
    if (fstat(target, &now) != 0) return Fail(errno);
    rights = now.st_mode & kModeBits;
    if (old == InvalidHandle()) {
        fchmod(target, kOwnersAlone);
        return true;
    }
    if (fstat(DescriptorOf(old), &before) != 0 || !GiveOwner(before, target)) return Fail(errno);
    if (!CopyAttributeList(DescriptorOf(old), target, ListRights::kOwner)) return Fail(errno);
    return fchmod(target, kOwnersAlone) == 0 || rights == (before.st_mode & kModeBits) || Fail(EPERM);
}

bool EndReplacement(Replacement const& files, ReplacementNames const& names, Standing& standing) {
    standing = Standing::kAsBefore;
    if (!GiveAll(files) || !FlushFile(files.fresh)) return false;
    NameBytes const part(names.part);
    if (!Means(part.Bytes(), DescriptorOf(files.fresh))) return FailNamed(part.Bytes());
    bool const told = RenameNamed(names.part, names.whole);
    if (!told && LastError() != kFileExists) return false;
    if (!TakeName(files, told ? names.whole : names.part, names.target)) return false;
    standing = Standing::kReplaced;
    return FlushDirectoryOf(names.target);
}

}  // namespace vfile::platform
