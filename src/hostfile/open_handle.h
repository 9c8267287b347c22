// A host file that an operation opened for itself, closed on every way out.
#pragma once

#include <utility>

#include "platform/platform.h"

namespace vfile {

class OpenHandle {
public:
    OpenHandle() = default;
    OpenHandle(TChar const* name, platform::OpenMode const& mode) : handle(platform::OpenFile(name, mode)) {}
    ~OpenHandle() {
        if (IsOpen()) platform::CloseFile(handle);
    }
    OpenHandle(OpenHandle const&) = delete;
    OpenHandle& operator=(OpenHandle const&) = delete;

    // Where nothing is open yet; takes an open handle, or the invalid one.
    bool Take(platform::Handle opened) {
        handle = opened;
        return IsOpen();
    }

    bool IsOpen() const { return handle != InvalidHandle(); }
    platform::Handle Get() const { return handle; }
    platform::Handle Release() { return std::exchange(handle, InvalidHandle()); }

private:
    platform::Handle handle = InvalidHandle();
};

}  // namespace vfile
