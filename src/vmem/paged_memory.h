// What a VMem is inside: bytes by address, and the heap in them. <vfile/vmem.h> is the contract of every operation that
// has its name. Virtual files come here directly: for each block, a step less.
#pragma once

#include <vfile/internal.h>

#include <cstdint>

#include "vmem/pages.h"

namespace vfile {

struct VMemInspector;  // looks at everything and changes nothing; for the checks and the tests

class internal::PagedMemory {
public:
    PagedMemory();
    ~PagedMemory();
    PagedMemory(PagedMemory const&) = delete;
    PagedMemory& operator=(PagedMemory const&) = delete;

    void Get(std::int32_t addr, void* buf, std::int16_t len);
    void Set(std::int32_t addr, void const* buf, std::int16_t len);

    // The bytes of the page at `addr`, a multiple of kPageSize inside the allocated range, where they lie. They stay
    // there until the next operation.
    unsigned char const* PageAt(std::int32_t addr);
    bool IsCached(std::int32_t addr) const { return pages.IsCached(addr); }

    std::int16_t GetCacheSize() const;
    std::int16_t GetMaxCacheSize() const;
    void SetMaxCacheSize(std::int16_t kilobytes);
    TChar const* GetTempDir() const;
    void SetTempDir(TChar const* dir);

    bool CanAllocPage() const;
    void AllocPage(std::int32_t& addr);
    void DeallocPage(std::int32_t& addr);
    void Alloc(std::int32_t& addr, std::int16_t len);
    void Dealloc(std::int32_t& addr, std::int16_t len);
    void CopyBytes(std::int32_t dst, std::int32_t src, std::int16_t len);

    void FlushCache();
    void ReleaseCache();
    void DeallocAll();

private:
    friend struct vfile::VMemInspector;

    // The free chunks lie in lists that run through the virtual memory itself, last in, first out. Offset 0
    // of a free chunk holds the address of the next as 4 bytes, -1 at the end; in list 0 its length follows
    // as 2.
    //   list 0          chunks of any length of 6 bytes or more
    //   lists 1 to 3    chunks of exactly 4, 5 and 1024 bytes, the latter not on a page boundary; permanent
    //   lists 4 to 16   one exact length each, while they hold a chunk
    //   free pages      chunks of exactly 1024 bytes on a page boundary
    //
    // Always true between two operations:
    //   A1  3 <= numLists <= 16; freeLen is 0, 4, 5, 1024, then lengths above 5, all different; lists above
    //       numLists are -1, 0, 0.
    //   A2  A list above 3 is not empty. Each list ends in -1 after as many chunks as its count says.
    //   A3  Free chunks lie wholly below maxAddress, which is not negative, and share no byte.
    static constexpr int kTopList = 16;

    void CheckOwner(std::int32_t line) const;
    void CheckSound() const;
    bool AdmitRange(TChar const* proc, std::int32_t addr, void const* buf, std::int16_t len) const;

    template <class T>
    void GetValue(std::int32_t addr, T& value) {
        Get(addr, &value, static_cast<std::int16_t>(sizeof value));
    }
    template <class T>
    void SetValue(std::int32_t addr, T value) {
        Set(addr, &value, static_cast<std::int16_t>(sizeof value));
    }

    bool HasRoom(std::int64_t bytes) const;
    void ForgetChunks();
    void TakeFreePage(std::int32_t& addr);
    int FindList(std::int16_t len) const;
    void TakeFromList(int list, std::int32_t& addr);
    bool TakeFromGeneralList(std::int32_t& addr, std::int16_t len);
    void AddToList(int list, std::int32_t addr, std::int16_t len);
    void Dealloc0(std::int32_t& addr, std::int16_t len, bool exact);

    Pages pages;
    std::uint32_t ownerThread;
    std::int16_t maxCacheKB = 0;

    std::int16_t numLists = 0;    // the highest list in use
    std::int32_t maxAddress = 0;  // the first address that is not allocated
    std::int32_t freeHead[kTopList + 1] = {};
    std::int16_t freeLen[kTopList + 1] = {};
    std::int32_t freeCount[kTopList + 1] = {};
    std::int32_t freePage = -1;
    std::int32_t freePageCount = 0;
};

}  // namespace vfile
