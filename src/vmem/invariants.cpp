#include "vmem/invariants.h"

#include <algorithm>
#include <cstring>
#include <vector>

#ifdef VFILE_CHECKS
#include <cstdio>
#include <cstdlib>
#endif

namespace vfile {

using internal::PagedMemory;

namespace {

// The bytes of the page in the file, zeros where the file does not reach.
bool ReadFromFile(platform::Handle file, std::int64_t size, std::int32_t addr, std::byte* dst) {
    std::memset(dst, 0, kPageSize);
    std::size_t got = kPageSize;
    if (addr < size && !platform::ReadAt(file, addr, dst, kPageSize, got)) return false;
    return got == kPageSize;
}

// Whether the file holds `len` bytes, whole pages, as they stand in `bytes`.
bool SameInFile(platform::Handle file, std::int32_t addr, std::byte const* bytes, std::int32_t len) {
    std::byte page[kPageSize];
    for (std::int32_t at = 0; at < len; at += kPageSize) {
        if (!ReadFromFile(file, MaxLen, addr + at, page)) return false;
        if (std::memcmp(page, bytes + at, kPageSize) != 0) return false;
    }
    return true;
}

bool LinksAgree(CacheDesc const& page, CacheDesc const* newest, CacheDesc const* oldest) {
    return (page.next ? page.next->prev == &page : oldest == &page) &&
           (page.prev ? page.prev->next == &page : newest == &page);
}

}  // namespace

char const* VMemInspector::BrokenPageRule(Cache const& cache, CacheDesc const& page) {
    if (!LinksAgree(page, cache.newest, cache.oldest)) return "C1: links disagree";
    if (page.addr < 0 || page.addr % kPageSize != 0) return "C2: not the address of a page";
    if (cache.map.Find(page.addr) != &page) return "C3: a listed page is not in the map";
    return nullptr;
}

char const* VMemInspector::BrokenListRule(Cache const& cache) {
    std::int32_t count = 0;
    for (CacheDesc const* page = cache.newest; page; page = page->next) {
        if (char const* const rule = BrokenPageRule(cache, *page)) return rule;
        if (++count > cache.cacheCount) break;
    }
    if (count != cache.cacheCount) return "C1: the count is not that of the list";
    if (cache.map.Count() != count) return "C3: the map holds a page that is not listed";
    return nullptr;
}

char const* VMemInspector::BrokenTableRule(Cache const& cache) {
    for (std::uint32_t slot = 0; slot < Cache::kSlots; ++slot) {
        auto const& [key, page] = cache.hashTable[slot];
        if (!page && key == 0) continue;
        auto const addr = static_cast<std::int32_t>(key & ~1u);
        if (key == 0 || Cache::SlotOf(addr) != slot) return "C4: a slot holds the page of another";
        if (cache.map.Find(addr) != page) return "C4: a slot holds a page that is not listed";
    }
    return nullptr;
}

char const* VMemInspector::BrokenContentRule(Pages const& pages) {
    std::byte bytes[kPageSize];
    for (CacheDesc const* page = pages.cache.newest; page; page = page->next) {
        if (page->dirty) continue;
        if (!ReadFromFile(pages.swap.swapHandle, pages.swap.swapSize, page->addr, bytes))
            return "S2: page not in the file";
        if (std::memcmp(bytes, page->data, kPageSize) != 0)
            return "C5: a clean page is not what the file has";
    }
    return nullptr;
}

char const* VMemInspector::BrokenSwapRule(SwapFile const& swap) {
    if (swap.swapSize < 0 || swap.swapSize % kPageSize != 0) return "S1: size is not in pages";
    if (!swap.IsOpen()) return swap.swapSize == 0 ? nullptr : "S1: a size without a file";
    std::int64_t length = 0;
    if (!platform::GetSize(swap.swapHandle, length)) return "S2: the file has no size";
    if (length < swap.swapSize || length >= swap.swapSize + kPageSize)
        return "S2: the file has another length";
    return nullptr;
}

char const* VMemInspector::BrokenReadAheadRule(SwapFile const& swap) {
    for (ReadAhead::Run const& run : swap.readAhead.runs) {
        bool const inPages = run.start % kPageSize == 0 && run.len % kPageSize == 0;
        if (!inPages || run.len > ReadAhead::kRunBytes) return "R1: a run is not made of pages";
        if (run.len > 0 && run.End() > swap.swapSize) return "R1: a run lies outside the file";
        if (!SameInFile(swap.swapHandle, run.start, run.bytes.get(), run.len))
            return "R1: a run is staler than the file";
    }
    return nullptr;
}

char const* VMemInspector::BrokenChunkFields(PagedMemory const& v) {
    if (v.maxAddress < 0) return "A3: the range has wrapped";
    if (v.numLists < 3 || v.numLists > PagedMemory::kTopList) return "A1: number of lists";
    if (v.freeLen[0] != 0 || v.freeLen[1] != 4 || v.freeLen[2] != 5 || v.freeLen[3] != 1024) {
        return "A1: a permanent list has another length";
    }
    for (int list = 4; list <= PagedMemory::kTopList; ++list) {
        if (list > v.numLists) {
            if (v.freeHead[list] != -1 || v.freeLen[list] != 0 || v.freeCount[list] != 0)
                return "A1: an unused list";
            continue;
        }
        if (v.freeLen[list] < 6) return "A1: length of a made list";
        if (v.freeHead[list] < 0) return "A2: a made list is empty";
        auto const* const end = v.freeLen + list;
        if (std::find(v.freeLen, end, v.freeLen[list]) != end) return "A1: two lists of one length";
    }
    return nullptr;
}

char const* VMemInspector::BrokenFreeListRule(PagedMemory const& v, int list, std::vector<Stretch>& chunks) {
    std::int32_t at = Head(v, list);
    for (std::int32_t left = Count(v, list); left > 0; --left) {
        std::int32_t next = -1;
        std::int16_t len = list < 0 ? std::int16_t{kPageSize} : v.freeLen[list];
        bool const readable = Peek(v, at, &next, 4) && (list != 0 || Peek(v, at + 4, &len, 2));
        if (!readable) return "A2: a list ends before its count";
        if (list == 0 && len < 6) return "A2: a short chunk on the general list";
        chunks.push_back({at, std::int64_t{at} + len});
        at = next;
    }
    return at == -1 ? nullptr : "A2: a list goes on behind its count";
}

char const* VMemInspector::BrokenChunkRule(PagedMemory const& v) {
    std::vector<Stretch> chunks;
    for (int list = -1; list <= v.numLists; ++list) {
        if (char const* const rule = BrokenFreeListRule(v, list, chunks)) return rule;
    }
    std::ranges::sort(chunks, {}, &Stretch::from);
    std::int64_t end = 0;
    for (Stretch const& chunk : chunks) {
        if (chunk.from < end) return "A3: two free chunks share a byte";
        end = chunk.to;
    }
    return end <= v.maxAddress ? nullptr : "A3: a free chunk outside the range";
}

bool VMemInspector::Peek(PagedMemory const& v, std::int32_t addr, void* buf, std::int32_t len) {
    auto* dst = static_cast<std::byte*>(buf);
    std::byte fromFile[kPageSize];
    if (addr < 0 || len > v.maxAddress - addr) return false;
    while (len > 0) {
        std::int32_t const offset = addr % kPageSize;
        std::int32_t const n = std::min(len, kPageSize - offset);
        CacheDesc const* const page = v.pages.cache.Find(addr - offset);
        SwapFile const& swap = v.pages.swap;
        if (!page && !ReadFromFile(swap.swapHandle, swap.swapSize, addr - offset, fromFile)) return false;
        std::memcpy(dst, (page ? page->data : fromFile) + offset, static_cast<std::size_t>(n));
        dst += n;
        addr += n;
        len -= n;
    }
    return true;
}

char const* BrokenRule(VMem const& memory) {
    using See = VMemInspector;
    Pages const& pages = See::PagesOf(memory);
    if (char const* const rule = See::BrokenListRule(See::CacheOf(memory))) return rule;
    if (char const* const rule = See::BrokenTableRule(See::CacheOf(memory))) return rule;
    if (char const* const rule = See::BrokenSwapRule(See::SwapOf(memory))) return rule;
    if (char const* const rule = See::BrokenReadAheadRule(See::SwapOf(memory))) return rule;
    if (char const* const rule = See::BrokenContentRule(pages)) return rule;
    if (char const* const rule = See::BrokenChunkFields(See::Inside(memory))) return rule;
    return See::BrokenChunkRule(See::Inside(memory));
}

char const* VMemInspector::BrokenRuleNearby(Pages const& pages) {
    Cache const& cache = pages.cache;
    for (CacheDesc const* page : {cache.newest, cache.oldest}) {
        if (!page) continue;
        if (char const* const rule = BrokenPageRule(cache, *page)) return rule;
    }
    if ((cache.cacheCount == 0) != (cache.newest == nullptr)) return "C1: the count is not that of the list";
    if (pages.swap.swapSize % kPageSize != 0) return "S1: size is not in pages";
    return nullptr;
}

// Called after each change of cache or file, and of the lists; cost a call where the checks are off.
#ifdef VFILE_CHECKS
namespace {

void AbortIfBroken(char const* rule) {
    if (!rule) return;
    std::fprintf(stderr, "VMem: broken rule %s\n", rule);
    std::abort();
}

}  // namespace

void Pages::CheckSound() const { AbortIfBroken(VMemInspector::BrokenRuleNearby(*this)); }
void PagedMemory::CheckSound() const { AbortIfBroken(VMemInspector::BrokenChunkFields(*this)); }
#else
void Pages::CheckSound() const {}
void PagedMemory::CheckSound() const {}
#endif

}  // namespace vfile
