// What is read to its end and becomes one change: a host file as it is, or what a converter makes of one.
#pragma once

#include <vfile/result.h>

#include <cstdint>

namespace vfile {

class Inflow {
public:
    virtual bool IsOpen() const = 0;

    // How many bytes are sure to come, as far as a size tells; 0 where none does.
    virtual std::int64_t SureBytes() const = 0;

    // Up to `len` bytes, which are at least a block's or all that may come; got 0 is the end. False: Code()
    // tells why.
    virtual bool Read(void* dst, std::int32_t len, std::int32_t& got) = 0;

    virtual FileRes Code() const = 0;

    // Whether the line-end watch sees what comes in.
    virtual bool IsWatched() const { return false; }

protected:
    Inflow() = default;
    ~Inflow() = default;
    Inflow(Inflow const&) = default;
    Inflow& operator=(Inflow const&) = default;
};

}  // namespace vfile
