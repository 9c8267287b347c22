#include "vmem/read_ahead.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace vfile {

bool ReadAhead::Fetch(platform::Handle file, std::int64_t fileSize, std::int32_t addr, std::byte* dst) {
    Run* run = std::ranges::find_if(runs, [addr](Run const& r) { return r.Holds(addr); });
    if (run == std::end(runs)) {
        Direction direction = Direction::kNone;
        run = NextFor(addr, direction);
        if (!run) return false;

        bool const up = direction == Direction::kUp;
        std::int64_t const end =
            up ? std::min(std::int64_t{addr} + kRunBytes, fileSize) : std::int64_t{addr} + kPageSize;
        std::int64_t const from = up ? addr : std::max<std::int64_t>(end - kRunBytes, 0);
        if (!Fill(*run, file, static_cast<std::int32_t>(from), end)) return false;
    }
    // A call: a copy that the compiler expands in place is slower.
    std::memmove(dst, run->At(addr), kPageSize);
    run->lastUse = ++clock;
    return true;
}

// The run that a read just outside what it has fetched carries on, else the one to begin anew because the page
// neighbours one that was read alone, else null.
ReadAhead::Run* ReadAhead::NextFor(std::int32_t addr, Direction& direction) {
    for (Run& run : runs) {
        if (run.len == 0) continue;
        if (addr == run.End()) direction = Direction::kUp;
        if (std::int64_t{addr} + kPageSize == run.start) direction = Direction::kDown;
        if (direction != Direction::kNone) return &run;
    }
    direction = NeighbourOfLoneRead(addr);
    if (direction == Direction::kNone) return nullptr;
    return std::ranges::min_element(runs, {}, &Run::lastUse);
}

// Also remembers the read, if it stands alone.
ReadAhead::Direction ReadAhead::NeighbourOfLoneRead(std::int32_t addr) {
    for (std::int32_t& lone : loneReads) {
        if (lone < 0) continue;
        std::int64_t const step = std::int64_t{addr} - lone;
        if (step != kPageSize && step != -kPageSize) continue;
        lone = -1;
        return step > 0 ? Direction::kUp : Direction::kDown;
    }
    loneReads[nextLoneRead++ % kLoneReads] = addr;
    return Direction::kNone;
}

bool ReadAhead::Fill(Run& run, platform::Handle file, std::int32_t from, std::int64_t to) {
    run.len = 0;
    if (!run.bytes) run.bytes.reset(new (std::nothrow) std::byte[kRunBytes]);
    if (!run.bytes) return false;

    std::size_t got = 0;
    auto const len = static_cast<std::size_t>(to - from);
    if (!platform::ReadAt(file, from, run.bytes.get(), len, got) || got < len) return false;
    run.start = from;
    run.len = static_cast<std::int32_t>(len);
    return true;
}

void ReadAhead::Written(std::int32_t addr, std::span<CacheDesc* const> pages) {
    std::int64_t const end = addr + static_cast<std::int64_t>(pages.size()) * kPageSize;
    for (Run& run : runs) {
        std::int64_t const from = std::max(run.start, addr);
        for (std::int64_t at = from; at < std::min(run.End(), end); at += kPageSize) {
            auto const page = static_cast<std::size_t>((at - addr) / kPageSize);
            std::memcpy(run.At(static_cast<std::int32_t>(at)), pages[page]->data, kPageSize);
        }
    }
}

void ReadAhead::Spoilt(std::int32_t addr, std::int64_t len) {
    for (Run& run : runs) {
        if (run.start < addr + len && addr < run.End()) run.len = 0;
    }
}

}  // namespace vfile
