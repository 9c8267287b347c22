// A host file that an operation opened for itself, closed on every way out.
#pragma once

#include "platform/platform.h"

namespace vfile {

class OpenHandle {
public:
    OpenHandle(TChar const* name, platform::OpenMode const& mode) : handle(platform::OpenFile(name, mode)) {}
    ~OpenHandle() {
        if (IsOpen()) platform::CloseFile(handle);
    }
    OpenHandle(OpenHandle const&) = delete;
    OpenHandle& operator=(OpenHandle const&) = delete;

    bool IsOpen() const { return handle != InvalidHandle(); }
    platform::Handle Get() const { return handle; }

private:
    platform::Handle handle;
};

}  // namespace vfile
