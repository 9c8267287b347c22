#include "platform/posix/errors.h"

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace vfile::platform {

namespace {

constinit thread_local std::uint32_t lastError = kNoError;

// A table and not a switch: some numbers have two names on one system and none on the next. EAGAIN is absent,
// a transfer that would block is no sharing violation; a refused lock is reported as EBUSY.
constexpr struct {
    int systemError;
    Error error;
} kErrors[] = {
    {0,            kNoError         },
    {ENOENT,       kFileNotFound    },
    {EMFILE,       kTooManyOpenFiles},
    {ENFILE,       kTooManyOpenFiles},
    {EACCES,       kAccessDenied    },
    {EPERM,        kAccessDenied    },
    {EISDIR,       kAccessDenied    },
    {EBADF,        kInvalidHandle   },
    {ENOMEM,       kNotEnoughMemory },
    {EROFS,        kWriteProtect    },
    {EIO,          kDataError       },
    {ETXTBSY,      kSharingViolation},
    {EBUSY,        kSharingViolation},
    {EOPNOTSUPP,   kNotSupported    },
    {ENOTSUP,      kNotSupported    },
    {ENETDOWN,     kNetworkBusy     },
    {ENETUNREACH,  kNetworkBusy     },
    {ESTALE,       kNetworkBusy     },
    {ETIMEDOUT,    kNetworkBusy     },
    {ENODEV,       kDeviceMissing   },
    {ENXIO,        kDeviceMissing   },
    {EEXIST,       kFileExists      },
    {EINVAL,       kInvalidParameter},
    {ENOSPC,       kDiskFull        },
    {EDQUOT,       kDiskFull        },
    {EFBIG,        kDiskFull        },
    {ENOSYS,       kNotImplemented  },
    {ENAMETOOLONG, kInvalidName     },
    {EILSEQ,       kInvalidName     },
    {ELOOP,        kBadPathname     },
    {ENOTDIR,      kNotADirectory   },
};

// Whether the directory that `path` names its last component in is there.
bool ParentExists(char const* path) {
    std::size_t end = std::strlen(path);
    while (end > 1 && path[end - 1] == '/') --end;
    while (end > 0 && path[end - 1] != '/') --end;
    if (end == 0) return true;  // the current directory
    if (end >= PATH_MAX) return false;

    char parent[PATH_MAX];
    std::memcpy(parent, path, end);
    parent[end] = '\0';
    struct stat info;
    return stat(parent, &info) == 0;
}

}  // namespace

std::uint32_t LastError() { return lastError; }

void SetLastError(std::uint32_t error) { lastError = error; }

std::uint32_t ErrorOf(int systemError) {
    for (auto const& row : kErrors) {
        if (row.systemError == systemError) return row.error;
    }
    return kOtherError;
}

bool Fail(int systemError) {
    SetLastError(ErrorOf(systemError));
    return false;
}

void StoreNameError(int systemError, char const* path) {
    bool const wayMissing = systemError == ENOENT && !ParentExists(path);
    SetLastError(wayMissing ? std::uint32_t{kPathNotFound} : ErrorOf(systemError));
}

}  // namespace vfile::platform
