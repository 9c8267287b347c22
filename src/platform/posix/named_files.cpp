// Files by name: attributes, rename, remove.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "platform/platform.h"
#include "platform/posix/errors.h"
#include "platform/posix/held_file.h"
#include "platform/posix/move.h"
#include "platform/posix/name_bytes.h"
#include "platform/posix/rename.h"

namespace vfile::platform {
namespace {

constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

bool Look(NameBytes const& path, struct stat& info) {
    if (path.SystemError() != 0) return Fail(path.SystemError());
    return stat(path.Bytes(), &info) == 0 || FailNamed(path.Bytes());
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

bool RenameNamed(TChar const* from, TChar const* to) {
    NameBytes const fromPath(from);
    NameBytes const toPath(to);
    int const refusal = fromPath.SystemError() != 0 ? fromPath.SystemError() : toPath.SystemError();
    if (refusal != 0) return Fail(refusal);
    if (RenameInPlace(fromPath.Bytes(), toPath.Bytes())) return true;
    int const reason = errno;
    struct stat info;
    if (lstat(fromPath.Bytes(), &info) != 0) return FailNamed(fromPath.Bytes());
    if (reason == EXDEV && S_ISREG(info.st_mode)) return MoveFile(from, to, info);
    if (reason == EXDEV && S_ISLNK(info.st_mode)) return MoveLink(fromPath.Bytes(), to, info);
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
