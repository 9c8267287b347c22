#include "platform/posix/held_file.h"

#include <unistd.h>

#include <cerrno>

#include "platform/posix/errors.h"

namespace vfile::platform {

bool Held::Look() { return fstat(Descriptor(), &info_) == 0 || Fail(errno); }

bool IsSame(struct stat const& a, struct stat const& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The time of the last change stands for bytes, rights and names alike, and nobody can set it back.
bool CheckUntouched(char const* path, struct stat const& then) {
    struct stat now;
    if (lstat(path, &now) != 0) return FailNamed(path);
    bool const same = IsSame(now, then) && now.st_size == then.st_size &&
                      now.st_ctim.tv_sec == then.st_ctim.tv_sec &&
                      now.st_ctim.tv_nsec == then.st_ctim.tv_nsec;
    return same || Fail(EBUSY);
}

bool Means(char const* path, int descriptor) {
    struct stat named, held;
    if (fstat(descriptor, &held) != 0 || lstat(path, &named) != 0) return false;
    errno = EBUSY;
    return IsSame(named, held);
}

bool RemoveIfStill(char const* path, int descriptor) { return Means(path, descriptor) && unlink(path) == 0; }

bool FailNamed(char const* path) {
    StoreNameError(errno, path);
    return false;
}

}  // namespace vfile::platform
