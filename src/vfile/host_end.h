// The host's end of a transfer: an HFile, or a bare handle. It is borrowed and not closed.
#pragma once

#include <vfile/result.h>

#include "hostfile/open_file.h"
#include "vfile/inflow.h"

namespace vfile {

class HostEnd final : public Inflow {
public:
    explicit HostEnd(HFile& hostFile) : file(&hostFile), handle(HandleOf(hostFile)) {}
    explicit HostEnd(void* hostHandle) : handle(hostHandle) {}

    bool IsOpen() const override { return handle != InvalidHandle(); }

    // An HFile with a stored failure will not be read at all.
    std::int64_t SureBytes() const override;

    bool Read(void* dst, std::int32_t len, std::int32_t& got) override;

    // All `len` bytes. False: Code() tells why, and `put` how many went out before.
    bool Write(void const* src, std::int32_t len, std::int32_t& put);

    FileRes Code() const override { return code; }

private:
    HFile* file = nullptr;
    platform::Handle handle;
    FileRes code = ResDone;
};

}  // namespace vfile
