#include "vmem/cache.h"

#include <cstdlib>

namespace vfile {
bool Cache::Init() {
    hashTable = static_cast<Slot*>(std::calloc(kSlots, sizeof(Slot)));
    return hashTable && ReserveOne();
}

Cache::~Cache() {
    Clear();
    std::free(hashTable);
}

void Cache::Link(CacheDesc& page) {
    page.prev = nullptr;
    page.next = newest;
    (newest ? newest->prev : oldest) = &page;
    newest = &page;
}

void Cache::Unlink(CacheDesc& page) {
    (page.prev ? page.prev->next : newest) = page.next;
    (page.next ? page.next->prev : oldest) = page.prev;
}

void Cache::TakeSlot(CacheDesc& page) { hashTable[SlotOf(page.addr)] = {KeyOf(page.addr), &page}; }

// A slot that has gone to another page is left alone.
void Cache::UnHashCachePtr(CacheDesc& page) {
    Slot& slot = hashTable[SlotOf(page.addr)];
    if (slot.page == &page) slot = {0, nullptr};
}

void Cache::Promote(CacheDesc& page) {
    if (newest != &page) {
        Unlink(page);
        Link(page);
    }
    TakeSlot(page);
}

void Cache::Add(CacheDesc& page, std::int32_t addr) {
    page.addr = addr;
    page.dirty = false;
    map.Insert(addr, &page);
    Link(page);
    TakeSlot(page);
    ++cacheCount;
}

void Cache::Remove(CacheDesc& page) {
    UnHashCachePtr(page);
    map.Erase(page.addr);
    Unlink(page);
    --cacheCount;
}

void Cache::WarmOldest() const {
#ifdef __GNUC__
    if (!oldest) return;
    constexpr std::int32_t kLine = 64;
    for (std::int32_t at = 0; at < kPageSize; at += kLine) __builtin_prefetch(oldest->data + at, 1);
    __builtin_prefetch(oldest->prev, 1);
#endif
}

void Cache::Clear() {
    while (CacheDesc* const page = newest) {
        Remove(*page);
        if (page != spareCache) std::free(page);
    }
    std::free(spareCache);
    spareCache = nullptr;
}

}  // namespace vfile
