// The pages of a memory: in the cache, in the swap file, or nowhere yet, which reads as zeros. Knows nothing of what
// is allocated in them.
//
//   Threads   the owner of the memory.
//   Stops     of module "VMem": a swap file that fails, want of memory for a page, a transfer in a child process.
//             Should a halt procedure throw, no page that was changed is lost.
#pragma once

#include <vfile/types.h>

#include <cstdint>

#include "vmem/cache.h"
#include "vmem/swap_file.h"

namespace vfile {

class Pages {
public:
    // One page can be had from then on, whatever the limit and the memory.
    Pages();
    ~Pages();
    Pages(Pages const&) = delete;
    Pages& operator=(Pages const&) = delete;

    // The page at `addr`, a multiple of kPageSize, in the cache. It stays there until the next of these calls.
    CacheDesc& Find(std::int32_t addr) {
        CacheDesc* const page = cache.InSlot(addr);
        return page ? *page : FindOutsideTable(addr, true);
    }

    // The same with whatever bytes: the caller covers them all before anything else happens.
    CacheDesc& FindToOverwrite(std::int32_t addr) {
        CacheDesc* const page = cache.InSlot(addr);
        return page ? *page : FindOutsideTable(addr, false);
    }

    bool IsCached(std::int32_t addr) const { return cache.Find(addr) != nullptr; }
    std::int32_t CachedCount() const { return cache.Count(); }

    // Pages above the limit leave at once, the newest first.
    void SetLimit(std::int32_t pages);

    // Writes every changed page; drops all pages from the cache, written if changed; drops them all, the swap file too.
    void Flush();
    void Release() { Shrink(0); }
    void Clear();

    // Where the next swap file goes; see VMem.
    TChar const* TempDir() const { return tempDir; }
    void SetTempDir(TChar const* dir);

    // Whether this is a child of the process that made it. The file is the parent's then.
    bool FromParent() const;

private:
    friend struct VMemInspector;

    CacheDesc& FindOutsideTable(std::int32_t addr, bool load);
    CacheDesc* TakeDescriptor();
    void LoadPage(CacheDesc& page, std::int32_t addr);
    void FlushCachePtr(CacheDesc& page);
    bool FlushRun(CacheDesc& page);
    void ExtendFile(std::int32_t size);
    void NewCachePtr(CacheDesc*& page);
    void DisposeCachePtr(CacheDesc*& page);
    void Shrink(std::int32_t pages);
    bool StopsInChild(TChar const* proc) const;
    void CheckSound() const;

    Cache cache;
    SwapFile swap;
    TChar* tempDir = nullptr;  // from malloc
    std::uint32_t forkCount;   // of the process that built it
    std::int32_t limit = 0;    // of the pages in the cache
};

}  // namespace vfile
