// A file that an operation holds open, and what may be concluded from its name.
#pragma once

#include <sys/stat.h>

#include "platform/platform.h"

namespace vfile::platform {

// A file of one operation's, closed with it.
class Held {
public:
    Held() = default;
    ~Held() {
        if (IsOpen()) CloseFile(handle_);
    }
    Held(Held const&) = delete;
    Held& operator=(Held const&) = delete;

    // Takes a handle that may be the invalid one.
    bool Adopt(Handle handle) {
        handle_ = handle;
        return IsOpen();
    }
    bool Look();  // what it is at this moment, for Info()
    bool IsOpen() const { return handle_ != InvalidHandle(); }
    Handle Get() const { return handle_; }
    int Descriptor() const { return DescriptorOf(handle_); }
    struct stat const& Info() const {
        return info_;
    }

private:
    Handle handle_ = InvalidHandle();
    struct stat info_ {};
};

// How a file is opened that is to be copied: as by a reader who admits readers.
constexpr OpenMode kSource{Access::kRead, kShareRead, Disposition::kOpenExisting, Hint::kSequential};

bool IsSame(struct stat const& a, struct stat const& b);

// Whether the name itself, no link followed, still means what it meant, and nobody has changed that (kSharingViolation).
bool CheckUntouched(char const* path, struct stat const& then);

// Whether the name itself, no link followed, means the open file. False: errno tells why, EBUSY where it means another.
bool Means(char const* path, int descriptor);

// Removes a name that means the open file, and no other; false, with errno, if that was not done. Another that takes the
// name between the look and the removal is removed in its place: no system call removes a name by what it means.
bool RemoveIfStill(char const* path, int descriptor);

// Stores why the system refused what was asked by this name; always false.
bool FailNamed(char const* path);

}  // namespace vfile::platform
