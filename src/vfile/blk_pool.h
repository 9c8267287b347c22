// The thread's free block records. A record keeps its page while it waits, so that the pool is also the
// thread's reserve of pages: cutting a block out and building another costs no allocation.
#pragma once

#include <cstddef>

#include "vfile/block.h"

namespace vfile {

class VMem;

class BlkPool {
public:
    explicit BlkPool(VMem* memory) : mem(memory) {}
    // Frees all records, those in use included. Their pages stay with the memory, which goes right behind.
    ~BlkPool();
    BlkPool(BlkPool const&) = delete;
    BlkPool& operator=(BlkPool const&) = delete;

    // The last record disposed of, with all it holds, or a fresh one without a page, whose other fields are
    // unset. Null when there is no memory.
    BlkDesc* New();

    void Dispose(BlkDesc* p);

    // Takes a whole chain in one step; no record between its ends is visited.
    void DisposeChain(BlkDesc* head, BlkDesc* tail);

    // Takes the page of a waiting record, which stays in the pool without one. kNoAddr when none has a page.
    std::int32_t TakePage();

    VMem* Memory() const { return mem; }

private:
    // Records come in slabs: a heap block of its own for each would cost half as much again, and neighbours
    // in the file would lie far apart.
    struct Slab;

    BlkDesc* NewFromSlab();

    VMem* mem;
    BlkDesc* free = nullptr;
    Slab* slabs = nullptr;     // the newest first; only the first has records not given out yet
    std::size_t slabUsed = 0;  // records given out from the first slab
};

}  // namespace vfile
