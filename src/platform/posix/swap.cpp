#include <fcntl.h>
#include <unistd.h>

#include "platform/platform.h"
#include "platform/posix/calls.h"
#include "platform/posix/errors.h"
#include "platform/posix/name_bytes.h"

namespace vfile::platform {

Handle CreateSwapFile(TChar const* name) {
    NameBytes const path(name);
    if (path.SystemError() != 0) {
        Fail(path.SystemError());
        return InvalidHandle();
    }
    // O_EXCL and O_NOFOLLOW: a file or link that somebody planted under the name is never opened.
    int const flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    int const descriptor = Repeated([&] { return open(path.Bytes(), flags, 0600); });
    if (descriptor == -1) {
        StoreNameError(errno, path.Bytes());
        return InvalidHandle();
    }
    // A swap file that keeps its name could be read by others and would outlive a killed process.
    if (unlink(path.Bytes()) != 0) {
        StoreNameError(errno, path.Bytes());
        close(descriptor);
        return InvalidHandle();
    }
    return HandleOf(descriptor);
}

}  // namespace vfile::platform
