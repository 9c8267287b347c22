#include <fcntl.h>
#include <unistd.h>

#include "platform/platform.h"
#include "platform/posix/calls.h"
#include "platform/posix/errors.h"
#include "platform/posix/name_bytes.h"

namespace vfile::platform {

namespace {

// Without a name from the beginning, where the system can do that; O_EXCL: nor can it get one later.
int OpenUnnamed(char const* path) {
    DirectoryOf const directory(path);
    return Repeated([&] { return open(directory.Bytes(), O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, 0600); });
}

// A swap file that keeps its name could be read by others and would outlive a killed process. O_EXCL and O_NOFOLLOW: a
// file or link that somebody planted under the name is never opened.
int OpenAndUnlink(char const* path) {
    int const flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    int const descriptor = Repeated([&] { return open(path, flags, 0600); });
    if (descriptor == -1 || unlink(path) == 0) return descriptor;
    int const reason = errno;
    close(descriptor);
    errno = reason;
    return -1;
}

}  // namespace

Handle CreateSwapFile(TChar const* name) {
    NameBytes const path(name);
    if (path.SystemError() != 0) {
        Fail(path.SystemError());
        return InvalidHandle();
    }
    int descriptor = IsTaken(path.Bytes()) ? -1 : OpenUnnamed(path.Bytes());
    if (descriptor == -1) descriptor = OpenAndUnlink(path.Bytes());
    if (descriptor != -1) return HandleOf(descriptor);
    StoreNameError(errno, path.Bytes());
    return InvalidHandle();
}

}  // namespace vfile::platform
