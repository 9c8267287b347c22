// The checker of everything that is always true of a VMem between two operations. The rules stand, numbered, where
// the data is declared: A in <vfile/vmem.h>, C in cache.h, S in swap_file.h, R in read_ahead.h.
#pragma once

#include <vfile/vmem.h>

#include <vector>

#include "vmem/cache.h"
#include "vmem/swap_file.h"

namespace vfile {

// Null when sound, else the broken rule. Changes nothing, cached pages and their order included. Reads the swap file
// through, so it is for tests and small memories.
char const* BrokenRule(VMem const& memory);

// The same for what the last change has touched, at a constant cost.
char const* BrokenRuleNearby(VMem const& memory);

// What a checker sees.
struct VMemInspector {
    static Cache const& CacheOf(VMem const& v) { return *v.cache; }
    static SwapFile const& SwapOf(VMem const& v) { return *v.swap; }
    static platform::Handle SwapHandle(VMem const& v) { return v.swap->swapHandle; }
    static TChar const* SwapName(VMem const& v) { return v.swap->swapName; }
    static std::int32_t MaxAddress(VMem const& v) { return v.maxAddress; }
    static int NumLists(VMem const& v) { return v.numLists; }
    static std::int16_t FreeLen(VMem const& v, int list) { return v.freeLen[list]; }

    // The head of a list and how many chunks it says it has; list -1 is that of the free pages.
    static std::int32_t Head(VMem const& v, int list) { return list < 0 ? v.freePage : v.freeHead[list]; }
    static std::int32_t Count(VMem const& v, int list) {
        return list < 0 ? v.freePageCount : v.freeCount[list];
    }

    // What a test damages, to hear the broken rule.
    struct Parts {
        CacheDesc *&newest, *&oldest;
        std::int32_t& cacheCount;
        std::int64_t& swapSize;
        ReadAhead::Run& run;
        std::int32_t& maxAddress;
        std::int16_t& numLists;
        std::int16_t (&freeLen)[VMem::kTopList + 1];
        std::int32_t (&freeHead)[VMem::kTopList + 1];
        std::int32_t (&freeCount)[VMem::kTopList + 1];
        std::int32_t& freePageCount;
    };
    static Parts PartsOf(VMem& v) {
        return {v.cache->newest,
                v.cache->oldest,
                v.cache->cacheCount,
                v.swap->swapSize,
                v.swap->readAhead.runs[0],
                v.maxAddress,
                v.numLists,
                v.freeLen,
                v.freeHead,
                v.freeCount,
                v.freePageCount};
    }

    // Copies what Get would, and moves nothing.
    static bool Peek(VMem const& v, std::int32_t addr, void* buf, std::int32_t len);

    static char const* BrokenListRule(Cache const& cache);
    static char const* BrokenTableRule(Cache const& cache);
    static char const* BrokenPageRule(Cache const& cache, CacheDesc const& page);
    static char const* BrokenContentRule(VMem const& v);
    static char const* BrokenSwapRule(SwapFile const& swap);
    static char const* BrokenReadAheadRule(SwapFile const& swap);
    struct Stretch {
        std::int64_t from, to;
    };
    static char const* BrokenFreeListRule(VMem const& v, int list, std::vector<Stretch>& chunks);
    static char const* BrokenChunkRule(VMem const& v);
    static char const* BrokenChunkFields(VMem const& v);
};

}  // namespace vfile
