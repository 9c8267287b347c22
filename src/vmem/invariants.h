// The checker of everything that is always true of a VMem between two operations. The rules stand, numbered, where
// the data is declared: A in paged_memory.h, C in cache.h, S in swap_file.h, R in read_ahead.h.
#pragma once

#include <vfile/vmem.h>

#include <vector>

#include "frame/access.h"
#include "vmem/paged_memory.h"

namespace vfile {

// Null when sound, else the broken rule. Changes nothing, cached pages and their order included. Reads the swap file
// through, so it is for tests and small memories.
char const* BrokenRule(VMem const& memory);

// What a checker sees.
struct VMemInspector {
    static internal::PagedMemory& Inside(VMem const& v) { return *internal::Access::StateOf(v); }
    static Pages& PagesOf(VMem const& v) { return Inside(v).pages; }
    static Cache const& CacheOf(VMem const& v) { return PagesOf(v).cache; }
    static SwapFile const& SwapOf(VMem const& v) { return PagesOf(v).swap; }
    static platform::Handle SwapHandle(VMem const& v) { return SwapOf(v).swapHandle; }
    static TChar const* SwapName(VMem const& v) { return SwapOf(v).swapName; }
    static std::int32_t MaxAddress(VMem const& v) { return Inside(v).maxAddress; }

    // What a test damages, to hear the broken rule.
    struct Parts {
        CacheDesc *&newest, *&oldest;
        std::int32_t& cacheCount;
        std::int64_t& swapSize;
        ReadAhead::Run& run;
        std::int32_t& maxAddress;
        std::int16_t& numLists;
        std::int16_t (&freeLen)[internal::PagedMemory::kTopList + 1];
        std::int32_t (&freeHead)[internal::PagedMemory::kTopList + 1];
        std::int32_t (&freeCount)[internal::PagedMemory::kTopList + 1];
        std::int32_t& freePageCount;
    };
    static Parts PartsOf(VMem& memory) {
        internal::PagedMemory& v = Inside(memory);
        Cache& cache = v.pages.cache;
        SwapFile& swap = v.pages.swap;
        return {cache.newest,   cache.oldest, cache.cacheCount, swap.swapSize, swap.readAhead.runs[0],
                v.maxAddress,   v.numLists,   v.freeLen,        v.freeHead,    v.freeCount,
                v.freePageCount};
    }

    // Constant cost: what the last change has touched.
    static char const* BrokenRuleNearby(Pages const& pages);
    static char const* BrokenChunkFields(internal::PagedMemory const& v);

    static char const* BrokenListRule(Cache const& cache);
    static char const* BrokenTableRule(Cache const& cache);
    static char const* BrokenPageRule(Cache const& cache, CacheDesc const& page);
    static char const* BrokenContentRule(Pages const& pages);
    static char const* BrokenSwapRule(SwapFile const& swap);
    static char const* BrokenReadAheadRule(SwapFile const& swap);
    static char const* BrokenChunkRule(internal::PagedMemory const& v);

private:
    struct Stretch {
        std::int64_t from, to;
    };
    static char const* BrokenFreeListRule(internal::PagedMemory const& v, int list,
                                          std::vector<Stretch>& chunks);

    // The head of a list and how many chunks it says it has; list -1 is that of the free pages.
    static std::int32_t Head(internal::PagedMemory const& v, int list) {
        return list < 0 ? v.freePage : v.freeHead[list];
    }
    static std::int32_t Count(internal::PagedMemory const& v, int list) {
        return list < 0 ? v.freePageCount : v.freeCount[list];
    }

    // Copies what Get would, and moves nothing.
    static bool Peek(internal::PagedMemory const& v, std::int32_t addr, void* buf, std::int32_t len);
};

}  // namespace vfile
