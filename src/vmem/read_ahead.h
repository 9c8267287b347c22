// Reads the swap file ahead of a caller that goes through it page by page, upwards or downwards: two neighbouring
// reads begin a run, and a run fetches 32 KiB in one call. Several runs may be under way at once.
//
// What has been fetched is a copy of the file, no cache: it decides nothing about which pages are cached.
//
//   Errors    a read that fails or has no memory serves nothing; the caller then reads its page alone, and that
//             alone decides.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/platform.h"
#include "vmem/cache.h"

namespace vfile {

// Always true between two operations:
//   R1  A run's bytes are whole pages below the end of the file, and equal to the file's.
class ReadAhead {
public:
    // Copies the page at `addr`, which lies below `fileSize`, to `dst`, if it has been fetched or is next in a
    // run that goes on. False: the caller has to read it.
    bool Fetch(platform::Handle file, std::int64_t fileSize, std::int32_t addr, std::byte* dst);

    // The file was written: these pages from `addr` on; something unknown in `len` bytes from `addr` on.
    void Written(std::int32_t addr, std::span<CacheDesc* const> pages);
    void Spoilt(std::int32_t addr, std::int64_t len);

    // The file is gone. The memory goes too.
    void Clear() { *this = ReadAhead(); }

private:
    friend struct VMemInspector;

    static constexpr std::int32_t kRunBytes = 32 * 1024;
    static constexpr int kRuns = 4;
    static constexpr int kLoneReads = 8;

    struct Run {
        std::unique_ptr<std::byte[]> bytes;  // kRunBytes, once the run has been used
        std::int32_t start = 0;
        std::int32_t len = 0;  // 0: nothing fetched
        std::uint64_t lastUse = 0;

        std::int64_t End() const { return std::int64_t{start} + len; }
        bool Holds(std::int32_t addr) const { return addr >= start && addr < End(); }
        std::byte* At(std::int32_t addr) const { return bytes.get() + (addr - start); }
    };
    enum class Direction { kNone, kUp, kDown };

    Run* NextFor(std::int32_t addr, Direction& direction);
    Direction NeighbourOfLoneRead(std::int32_t addr);
    bool Fill(Run& run, platform::Handle file, std::int32_t from, std::int64_t to);

    Run runs[kRuns];
    std::int32_t loneReads[kLoneReads] = {-1, -1, -1, -1, -1, -1, -1, -1};  // the last ones outside any run
    unsigned nextLoneRead = 0;
    std::uint64_t clock = 0;
};

}  // namespace vfile
