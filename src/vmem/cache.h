// What is cached, where it is found, and in which order it leaves. Knows nothing of the swap file.
//
// A list holds the cached pages, newest first; the last one leaves first. A page in use is found through a
// direct-mapped table: one entry a slot, so that pages 16 MiB apart drive each other out of it, and one that has
// lost its slot is found through the map of all pages, and then moves to the head of the list. A hit in the table
// moves nothing.
//
//   Threads   the owner of the VMem.
//   Owns      the listed descriptors and the spare one; they come from malloc.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vmem/page_map.h"

namespace vfile {

inline constexpr std::int32_t kPageSize = 1024;

// What a page counts in the conversions between kilobytes and pages, whatever a descriptor really takes.
inline constexpr std::int32_t kPageCost = 1036;

struct CacheDesc {
    CacheDesc* next;    // towards the oldest
    CacheDesc* prev;    // towards the newest
    std::int32_t addr;  // of the page it holds
    bool dirty;         // changed since it was loaded or last written
    std::byte data[kPageSize];
};

// Always true between two operations:
//   C1  The links of the list agree in both directions, and it has cacheCount descriptors.
//   C2  The address of a listed page is a multiple of 1024 and not negative.
//   C3  The map holds each listed page under its address, and nothing else: so no page is listed twice.
//   C4  A slot of the table is empty or holds a listed page that belongs in it, with its address.
//   C5  A clean page has the bytes of the swap file, or zeros where the file does not reach.
class Cache {
public:
    Cache() = default;
    ~Cache();
    Cache(Cache const&) = delete;
    Cache& operator=(Cache const&) = delete;

    // Makes the tables; false for want of memory.
    bool Init();

    std::int32_t Count() const { return cacheCount; }
    CacheDesc* Newest() const { return newest; }
    CacheDesc* Oldest() const { return oldest; }

    // The page, if it has its slot.
    CacheDesc* InSlot(std::int32_t addr) const {
        Slot const& slot = hashTable[SlotOf(addr)];
        return slot.key == KeyOf(addr) ? slot.page : nullptr;
    }

    // The page, wherever it is listed. Moves nothing.
    CacheDesc* Find(std::int32_t addr) const {
        CacheDesc* const page = InSlot(addr);
        return page ? page : map.Find(addr);
    }

    // Puts a listed page at the head and gives it its slot.
    void Promote(CacheDesc& page);

    // Room for one page more than are listed. False for want of memory.
    bool ReserveOne() { return map.Reserve(cacheCount + 1); }

    // Lists a descriptor as the newest, holding the page at `addr`, and gives it the slot; takes one out of list,
    // map and slot.
    void Add(CacheDesc& page, std::int32_t addr);
    void Remove(CacheDesc& page);

    // Asks the processor for the page that leaves next: its memory has long been cold, and the next load needs it.
    void WarmOldest() const;

    // Frees all descriptors, the spare one too.
    void Clear();

    // Made with the VMem, so that one page can always be had. Idle, or listed like any other.
    CacheDesc* spareCache = nullptr;

private:
    friend struct VMemInspector;

    // The key, the address with its lowest bit set, stands beside the pointer, so that a slot with another page
    // is passed without touching that page. A slot of zeros is empty.
    struct Slot {
        std::uint32_t key;
        CacheDesc* page;
    };
    static constexpr std::uint32_t kSlots = 16384;

    static std::uint32_t KeyOf(std::int32_t addr) { return static_cast<std::uint32_t>(addr) | 1; }
    static std::uint32_t SlotOf(std::int32_t addr) {
        return static_cast<std::uint32_t>(addr) / kPageSize % kSlots;
    }

    void Link(CacheDesc& page);
    void Unlink(CacheDesc& page);
    void TakeSlot(CacheDesc& page);
    void UnHashCachePtr(CacheDesc& page);

    Slot* hashTable = nullptr;  // kSlots of them, from calloc, which costs nothing for what is never touched
    CacheDesc* newest = nullptr;
    CacheDesc* oldest = nullptr;
    std::int32_t cacheCount = 0;
    PageMap map;
};

}  // namespace vfile
