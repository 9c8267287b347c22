// Files by name: attributes, copy, rename, remove.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix/calls.h"
#include "platform/posix/errors.h"
#include "platform/posix/name_bytes.h"

namespace vfile::platform {
namespace {

constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;
constexpr mode_t kPermissionBits = S_IRWXU | S_IRWXG | S_IRWXO;

bool FailNamed(char const* path) {
    StoreNameError(errno, path);
    return false;
}

bool Look(NameBytes const& path, struct stat& info) {
    if (path.SystemError() != 0) return Fail(path.SystemError());
    return stat(path.Bytes(), &info) == 0 || FailNamed(path.Bytes());
}

bool IsSame(struct stat const& a, struct stat const& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// A file of this operation's, closed with it.
class Held {
public:
    Held() = default;
    ~Held() {
        if (IsOpen()) CloseFile(handle);
    }
    Held(Held const&) = delete;
    Held& operator=(Held const&) = delete;

    bool Open(TChar const* name, OpenMode const& mode) {
        handle = OpenFile(name, mode);
        return IsOpen();
    }
    bool Look() { return fstat(Descriptor(), &info) == 0 || Fail(errno); }
    bool IsOpen() const { return handle != InvalidHandle(); }
    Handle Get() const { return handle; }
    int Descriptor() const { return DescriptorOf(handle); }
    struct stat const& Info() const {
        return info;
    }

private:
    Handle handle = InvalidHandle();
    struct stat info {};
};

// A target that is removed again unless it was kept, if it was made here.
class Target {
public:
    Target(TChar const* targetName, char const* targetPath) : name(targetName), path(targetPath) {}
    ~Target() {
        if (made && !IsReplaced()) unlink(path);
    }
    Target(Target const&) = delete;
    Target& operator=(Target const&) = delete;

    // A new one is tried first, so that it is certain who made it: a link that leads nowhere is no new file.
    bool Open(bool overwrite) {
        OpenMode mode{Access::kWrite, kShareNone, Disposition::kCreateNew, Hint::kSequential, true};
        made = file.Open(name, mode);
        if (made || !overwrite || LastError() != kFileExists) return made;
        mode.disposition = Disposition::kOpenExisting;
        return file.Open(name, mode);
    }
    bool IsNew() const { return made; }
    void Keep() { made = false; }
    Held& File() { return file; }

private:
    // Whether somebody has put another file in its place.
    bool IsReplaced() const {
        struct stat named;
        return lstat(path, &named) == 0 && file.Info().st_ino != 0 && !IsSame(named, file.Info());
    }

    TChar const* name;
    char const* path;
    Held file;
    bool made = false;
};

// Lets the kernel copy as far as it can between these two; what it leaves, for whatever reason, is the plain loop's.
void CopyInKernel(int from, int to) {
    ssize_t moved = 1;
    while (moved > 0) {
        moved = Repeated([&] { return copy_file_range(from, nullptr, to, nullptr, kMaxTransfer, 0); });
    }
}

// Makes an existing target empty, once it is certain that it is not the source.
bool Prepare(Held& source, Target& target) {
    if (!source.Look() || !target.File().Look()) return false;
    if (target.IsNew()) return true;
    if (IsSame(source.Info(), target.File().Info())) return Fail(EBUSY);
    return !S_ISREG(target.File().Info().st_mode) || TruncateHere(target.File().Get());
}

bool Copy(Held& source, Target& target) {
    if (!Prepare(source, target) || !CopyRest(source.Get(), target.File().Get())) return false;
    mode_t const bits = source.Info().st_mode & kPermissionBits;
    if (target.IsNew() && fchmod(target.File().Descriptor(), bits) != 0) return Fail(errno);
    return true;
}

constexpr OpenMode kSource{Access::kRead, kShareRead, Disposition::kOpenExisting, Hint::kSequential};

// What a move should not change. The owner needs rights that most users lack.
void KeepTimesAndOwner(Held const& source, int target) {
    struct timespec const times[] = {source.Info().st_atim, source.Info().st_mtim};
    if (fchown(target, source.Info().st_uid, source.Info().st_gid) == 0) {
        fchmod(target, source.Info().st_mode & kPermissionBits);
    }
    futimens(target, times);
}

// The old name goes last, when the bytes of the new file are on their disk.
bool MoveFile(TChar const* from, char const* fromPath, TChar const* to, char const* toPath) {
    Held source;
    Target target(to, toPath);
    if (!source.Open(from, kSource) || !target.Open(false) || !Copy(source, target)) return false;
    KeepTimesAndOwner(source, target.File().Descriptor());
    if (!FlushFile(target.File().Get())) return false;
    if (unlink(fromPath) != 0) return FailNamed(fromPath);
    target.Keep();
    return true;
}

bool MoveLink(char const* from, char const* to) {
    char leadsTo[PATH_MAX];
    ssize_t const len = readlink(from, leadsTo, sizeof leadsTo - 1);
    if (len == -1) return FailNamed(from);
    leadsTo[len] = '\0';
    if (symlink(leadsTo, to) != 0) return FailNamed(to);
    if (unlink(from) == 0) return true;
    int const reason = errno;
    unlink(to);
    return Fail(reason);
}

// For file systems that cannot refuse to replace: a second link refuses. A directory has no second link, but it
// replaces nothing except an empty directory that comes about in this very moment.
bool RenameByLink(char const* from, char const* to) {
    if (linkat(AT_FDCWD, from, AT_FDCWD, to, 0) == 0) {
        if (unlink(from) == 0) return true;
        int const reason = errno;
        unlink(to);
        errno = reason;
        return false;
    }
    struct stat taken;
    if (errno == EEXIST || errno == EXDEV || errno == ENOENT) return false;
    if (lstat(to, &taken) == 0) {
        errno = EEXIST;
        return false;
    }
    return rename(from, to) == 0;
}

// True, or errno tells why not.
bool RenameInPlace(char const* from, char const* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    return (errno == EINVAL || errno == ENOSYS) && RenameByLink(from, to);
}

}  // namespace

bool GetAttributes(TChar const* name, Attributes& attributes) {
    NameBytes const path(name);
    struct stat info {};
    if (!Look(path, info)) return false;
    attributes = {S_ISDIR(info.st_mode), (info.st_mode & kWriteBits) == 0, S_ISREG(info.st_mode)};
    return true;
}

bool SetReadOnly(TChar const* name, bool on) {
    NameBytes const path(name);
    struct stat info {};
    if (!Look(path, info)) return false;
    mode_t const old = info.st_mode & ~static_cast<mode_t>(S_IFMT);
    mode_t const wanted = on ? old & ~kWriteBits : old | S_IWUSR;
    return chmod(path.Bytes(), wanted) == 0 || FailNamed(path.Bytes());
}

bool CopyRest(Handle from, Handle to) {
    CopyInKernel(DescriptorOf(from), DescriptorOf(to));
    unsigned char piece[65536];
    for (;;) {
        std::size_t got = 0;
        std::size_t put = 0;
        if (!Read(from, piece, sizeof piece, got)) return false;
        if (got == 0) return true;
        if (!Write(to, piece, got, put)) return false;
        if (put < got) return Fail(ENOSPC);
    }
}

bool CopyNamed(TChar const* from, TChar const* to, bool overwrite) {
    NameBytes const path(to);
    if (path.SystemError() != 0) return Fail(path.SystemError());
    Held source;
    Target target(to, path.Bytes());
    if (!source.Open(from, kSource) || !target.Open(overwrite) || !Copy(source, target)) return false;
    target.Keep();
    return true;
}

bool RenameNamed(TChar const* from, TChar const* to) {
    NameBytes const fromPath(from);
    NameBytes const toPath(to);
    int const refusal = fromPath.SystemError() != 0 ? fromPath.SystemError() : toPath.SystemError();
    if (refusal != 0) return Fail(refusal);
    if (RenameInPlace(fromPath.Bytes(), toPath.Bytes())) return true;
    int const reason = errno;
    struct stat info;
    if (lstat(fromPath.Bytes(), &info) != 0) return FailNamed(fromPath.Bytes());
    if (reason == EXDEV && S_ISREG(info.st_mode)) return MoveFile(from, fromPath.Bytes(), to, toPath.Bytes());
    if (reason == EXDEV && S_ISLNK(info.st_mode)) return MoveLink(fromPath.Bytes(), toPath.Bytes());
    if (reason == EXDEV) return Fail(EOPNOTSUPP);
    errno = reason;
    return FailNamed(toPath.Bytes());
}

bool RemoveNamed(TChar const* name) {
    NameBytes const path(name);
    if (path.SystemError() != 0) return Fail(path.SystemError());
    return unlink(path.Bytes()) == 0 || FailNamed(path.Bytes());
}

}  // namespace vfile::platform
