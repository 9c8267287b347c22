#include "vfile/blk_pool.h"

#include <new>

namespace vfile {

namespace {
constexpr std::size_t kSlabRecords = 168;  // a little below 4 KiB with the link
}

struct BlkPool::Slab {
    Slab* next;
    BlkDesc records[kSlabRecords];
};

BlkPool::~BlkPool() {
    while (slabs) {
        Slab* const slab = slabs;
        slabs = slab->next;
        delete slab;
    }
}

BlkDesc* BlkPool::New() {
    if (!free) return NewFromSlab();
    BlkDesc* const p = free;
    free = p->next;
    return p;
}

BlkDesc* BlkPool::NewFromSlab() {
    if (!slabs || slabUsed == kSlabRecords) {
        Slab* const slab = new (std::nothrow) Slab;
        if (!slab) return nullptr;
        slab->next = slabs;
        slabs = slab;
        slabUsed = 0;
    }
    BlkDesc* const p = &slabs->records[slabUsed++];
    p->addr = kNoAddr;
    return p;
}

void BlkPool::Dispose(BlkDesc* p) { DisposeChain(p, p); }

void BlkPool::DisposeChain(BlkDesc* head, BlkDesc* tail) {
    tail->next = free;
    free = head;
}

std::int32_t BlkPool::TakePage() {
    for (BlkDesc* p = free; p; p = p->next) {
        if (p->addr == kNoAddr) continue;
        std::int32_t const addr = p->addr;
        p->addr = kNoAddr;
        return addr;
    }
    return kNoAddr;
}

}  // namespace vfile
