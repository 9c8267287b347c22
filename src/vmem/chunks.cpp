// The heap in the memory: whole pages and chunks of any length. Each operation reads and writes the links first and
// changes the fields last, so that a swap file that fails half way leaves the lists as they were; only a chunk that
// was being cut may then be on none.
#include <vfile/halt.h>

#include <algorithm>
#include <cassert>

#include "vmem/paged_memory.h"

namespace vfile {

using internal::PagedMemory;

namespace {

constexpr std::int32_t kNil = -1;
constexpr std::int16_t kMinChunk = 4;         // has room for a link
constexpr std::int16_t kMinGeneralChunk = 6;  // has room for a link and a length
constexpr std::int16_t kPermanentLists = 3;

// From `maxAddress` to where a page may start. A rest too short to be kept as a chunk takes a page more.
std::int32_t GapBeforePage(std::int32_t maxAddress) {
    std::int32_t const gap = (kPageSize - maxAddress % kPageSize) % kPageSize;
    return gap > 0 && gap < kMinChunk ? gap + kPageSize : gap;
}

// Saturated: what lies past the range of addresses is also past the allocated range, where Get and Set stop.
std::int32_t Sum(std::int32_t addr, std::int32_t offset) {
    return static_cast<std::int32_t>(std::min<std::int64_t>(std::int64_t{addr} + offset, MaxLen));
}

}  // namespace

void PagedMemory::ForgetChunks() {
    numLists = kPermanentLists;
    std::ranges::fill(freeHead, kNil);
    std::ranges::fill(freeLen, std::int16_t{0});
    std::ranges::fill(freeCount, 0);
    freeLen[1] = kMinChunk;
    freeLen[2] = kMinChunk + 1;
    freeLen[3] = kPageSize;
    freePage = kNil;
    freePageCount = 0;
}

bool PagedMemory::HasRoom(std::int64_t bytes) const { return bytes <= MaxLen - maxAddress; }

bool PagedMemory::CanAllocPage() const {
    CheckOwner(__LINE__);
    return freePage != kNil || HasRoom(std::int64_t{GapBeforePage(maxAddress)} + kPageSize);
}

void PagedMemory::TakeFreePage(std::int32_t& addr) {
    std::int32_t const page = freePage;
    std::int32_t next = kNil;
    GetValue(page, next);
    freePage = next;
    --freePageCount;
    addr = page;
}

void PagedMemory::AllocPage(std::int32_t& addr) {
    CheckOwner(__LINE__);
    if (freePage != kNil) return TakeFreePage(addr);

    std::int32_t const gap = GapBeforePage(maxAddress);
    if (!HasRoom(std::int64_t{gap} + kPageSize)) return Halt(u"VMem", u"AllocPage", u"out of virtual memory");

    struct Range {  // goes back to what it was unless kept
        std::int32_t& end;
        std::int32_t before;
        ~Range() { end = before; }
    } range{maxAddress, maxAddress};

    std::int32_t const page = maxAddress + gap;
    std::int32_t gapAddr = maxAddress;
    maxAddress = page + kPageSize;
    if (gap > 0) Dealloc0(gapAddr, static_cast<std::int16_t>(gap), false);
    range.before = maxAddress;
    addr = page;
    CheckSound();
}

void PagedMemory::DeallocPage(std::int32_t& addr) {
    CheckOwner(__LINE__);
    if (addr % kPageSize != 0) return Halt(u"VMem", u"DeallocPage", u"address is not a page address");
    Dealloc(addr, kPageSize);
}

void PagedMemory::Alloc(std::int32_t& addr, std::int16_t len) {
    CheckOwner(__LINE__);
    if (len <= 0) return Halt(u"VMem", u"Alloc", u"len must be >0");
    len = std::max(len, kMinChunk);
    if (len == kPageSize && freePage != kNil) return TakeFreePage(addr);

    int const list = FindList(len);
    if (list != 0 && freeHead[list] != kNil) return TakeFromList(list, addr);
    if (TakeFromGeneralList(addr, len)) return;

    if (!HasRoom(len)) return Halt(u"VMem", u"Alloc", u"out of virtual memory");
    addr = maxAddress;
    maxAddress += len;
}

// The list of exactly this length, 0 when there is none.
int PagedMemory::FindList(std::int16_t len) const {
    int list = numLists;
    while (list > 0 && freeLen[list] != len) --list;
    return list;
}

void PagedMemory::TakeFromList(int list, std::int32_t& addr) {
    std::int32_t const chunk = freeHead[list];
    std::int32_t next = kNil;
    GetValue(chunk, next);
    freeHead[list] = next;
    --freeCount[list];
    addr = chunk;
    if (next != kNil || list <= kPermanentLists) return;

    for (int i = list; i < numLists; ++i) {
        freeHead[i] = freeHead[i + 1];
        freeLen[i] = freeLen[i + 1];
        freeCount[i] = freeCount[i + 1];
    }
    freeHead[numLists] = kNil;
    freeLen[numLists] = 0;
    freeCount[numLists] = 0;
    --numLists;
    CheckSound();
}

// The first chunk of exactly `len`; else the start of the largest, if what remains of it can be kept.
bool PagedMemory::TakeFromGeneralList(std::int32_t& addr, std::int16_t len) {
    struct Chunk {
        std::int32_t addr, before, next;
        std::int16_t len;
    } largest{kNil, kNil, kNil, 0};

    std::int32_t before = kNil;
    for (std::int32_t at = freeHead[0]; at != kNil;) {
        Chunk chunk{at, before, kNil, 0};
        GetValue(at, chunk.next);
        GetValue(at + kMinChunk, chunk.len);
        if (chunk.len == len || chunk.len > largest.len) largest = chunk;
        if (chunk.len == len) break;
        before = at;
        at = chunk.next;
    }
    bool const exact = largest.len == len;
    if (!exact && largest.len < len + kMinChunk) return false;

    if (largest.before != kNil) {
        SetValue(largest.before, largest.next);
    } else {
        freeHead[0] = largest.next;
    }
    --freeCount[0];
    if (!exact) {
        std::int32_t rest = largest.addr + len;
        Dealloc0(rest, static_cast<std::int16_t>(largest.len - len), false);
    }
    addr = largest.addr;
    CheckSound();
    return true;
}

void PagedMemory::Dealloc(std::int32_t& addr, std::int16_t len) {
    CheckOwner(__LINE__);
    Dealloc0(addr, len, true);
}

// `exact` chunks, those of the callers, found a list of their length while there is one to spare; what the allocator
// itself cuts off goes to the general list, unless it is too short.
void PagedMemory::Dealloc0(std::int32_t& addr, std::int16_t len, bool exact) {
    if (len <= 0) return Halt(u"VMem", u"Dealloc0", u"len must be >0");
    len = std::max(len, kMinChunk);
    if (addr < 0) return Halt(u"VMem", u"Dealloc0", u"illegal address (<0)");
    if (len > maxAddress - addr) return Halt(u"VMem", u"Dealloc0", u"illegal address (>max.address)");

    if (len == maxAddress - addr) {
        maxAddress -= len;
    } else if (len == kPageSize && addr % kPageSize == 0) {
        SetValue(addr, freePage);
        freePage = addr;
        ++freePageCount;
    } else {
        int list = exact || len < kMinGeneralChunk ? FindList(len) : 0;
        if (list == 0 && exact && numLists < kTopList) list = numLists + 1;
        AddToList(list, addr, len);
    }
    addr = kNil;
    CheckSound();
}

// List `numLists` + 1 comes into being.
void PagedMemory::AddToList(int list, std::int32_t addr, std::int16_t len) {
    assert(list != 0 || len >= kMinGeneralChunk);  // shorter ones have permanent lists
    SetValue(addr, freeHead[list]);
    if (list == 0) SetValue(addr + kMinChunk, len);
    if (list > numLists) {
        numLists = static_cast<std::int16_t>(list);
        freeLen[list] = len;
    }
    freeHead[list] = addr;
    ++freeCount[list];
}

void PagedMemory::CopyBytes(std::int32_t dst, std::int32_t src, std::int16_t len) {
    CheckOwner(__LINE__);
    if (len < 0) return Halt(u"VMem", u"CopyBytes", u"len must be >=0");
    if (len == 0 || dst == src) return;

    std::byte buf[kPageSize];
    bool const forward = dst < src || len <= kPageSize;
    for (std::int32_t done = 0; done < len;) {
        auto const n = static_cast<std::int16_t>(std::min(kPageSize, len - done));
        std::int32_t const at = forward ? done : len - done - n;
        Get(Sum(src, at), buf, n);
        Set(Sum(dst, at), buf, n);
        done += n;
    }
}

}  // namespace vfile
