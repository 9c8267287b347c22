// What every call into the system shares.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>

namespace vfile::platform {

static_assert(sizeof(off_t) == 8, "positions need 64 bits: compile with _FILE_OFFSET_BITS=64");

// The result of `call`, which gives -1 for a failure, called again for as long as a signal cuts it short.
template <class Call>
auto Repeated(Call call) {
    for (;;) {
        auto const result = call();
        if (result != -1 || errno != EINTR) return result;
    }
}

// Whether anything bears the name, be it a link that leads nowhere.
inline bool IsTaken(char const* path) {
    struct stat info;
    return lstat(path, &info) == 0;
}

}  // namespace vfile::platform
