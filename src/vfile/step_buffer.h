// The buffer of one step of a transfer: 64 KiB, since a call into the system costs as much as copying 16 KiB,
// or one block when there is no memory for that or no need.
#pragma once

#include <vfile/types.h>

#include <memory>
#include <new>

namespace vfile {

class StepBuffer {
public:
    // For a transfer of at most `count` bytes.
    explicit StepBuffer(std::int32_t count) {
        if (count > BlkSize) pages.reset(new (std::nothrow) unsigned char[kStep]);
    }

    unsigned char* Data() { return pages ? pages.get() : block; }
    std::int32_t Size() const { return pages ? kStep : BlkSize; }

private:
    static constexpr std::int32_t kStep = 64 * BlkSize;

    std::unique_ptr<unsigned char[]> pages;
    unsigned char block[BlkSize];
};

}  // namespace vfile
