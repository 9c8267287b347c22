// The file behind the cache: page N at offset N * 1024, no header. It is never shortened and never has a hole, and
// it is gone with its handle.
//
// Transfers are positioned, so nothing is ever sought. What would have been a failing seek is a transfer that the
// system refuses, before a byte has moved, because of its position: kBadPosition.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/platform.h"
#include "vmem/cache.h"
#include "vmem/read_ahead.h"

namespace vfile {

enum class Transfer { kDone, kBadPosition, kFailed };

// Makes a swap file in the first usable directory of `dir`, those the environment names, and the last resort, and
// puts its full name into `name` of `size` units. The invalid handle when no name can be had. A directory is
// usable when it may be read and written and the longest name in it fits `name`; the last resort is not tested
// for rights. Stops when `name` is null or `size` is 0.
platform::Handle CreateSwapFile(TChar* name, std::uint32_t size, TChar const* dir);

// Always true between two operations:
//   S1  swapSize is a multiple of 1024; 0 while there is no file; all bytes below it have been written.
//   S2  The file is no shorter than swapSize. It is longer only by less than a page, after a failed write.
class SwapFile {
public:
    // The pages that one call writes at most: 64 KiB.
    static constexpr std::size_t kRunPages = 64;

    SwapFile() = default;
    ~SwapFile() { Close(); }
    SwapFile(SwapFile const&) = delete;
    SwapFile& operator=(SwapFile const&) = delete;

    bool IsOpen() const { return swapHandle != InvalidHandle(); }
    std::int64_t Size() const { return swapSize; }

    bool Create(TChar const* dir);
    void Close();

    // Reads the page at `addr`, which lies below Size().
    Transfer Read(std::int32_t addr, std::byte* dst);

    // Writes pages that lie one behind the other from `addr` on, which is not above Size(), in one call. `whole`
    // tells how many of them have got into the file as a whole, also when it fails.
    Transfer Write(std::int32_t addr, std::span<CacheDesc* const> pages, std::size_t& whole);

    // Writes zeros from the end of the file up to `size`.
    Transfer Extend(std::int64_t size);

private:
    friend struct VMemInspector;

    void GrowTo(std::int64_t end);

    platform::Handle swapHandle = InvalidHandle();
    TChar* swapName = nullptr;  // from malloc; null also for want of memory
    std::int64_t swapSize = 0;  // the page at the very end of the address range ends at 2^31
    ReadAhead readAhead;
};

}  // namespace vfile
