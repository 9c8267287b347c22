// Block records: taking and giving them back, and the only two operations that link or unlink a block of the
// file.
#include <vfile/halt.h>

#include "vfile/blk_pool.h"
#include "vfile/engine.h"

namespace vfile {

namespace {

// Returns a record to the pool unless it was kept: the memory may stop, and a halt procedure may throw.
class TakenRecord {
public:
    explicit TakenRecord(BlkPool& from) : pool(from), record(from.New()) {}
    ~TakenRecord() {
        if (record) pool.Dispose(record);
    }
    TakenRecord(TakenRecord const&) = delete;
    TakenRecord& operator=(TakenRecord const&) = delete;

    BlkDesc* Get() const { return record; }
    BlkDesc* Keep() {
        BlkDesc* const kept = record;
        record = nullptr;
        return kept;
    }

private:
    BlkPool& pool;
    BlkDesc* record;
};

}  // namespace

// A record of `len` bytes, with a page unless `len` is 0, linked to its neighbours on its own side only. Null
// when there is no memory for a record, or no page left.
BlkDesc* Engine::NewBlkPtr(BlkDesc* prev, BlkDesc* next, std::int16_t len) {
    TakenRecord record(*pool);
    BlkDesc* const p = record.Get();
    if (!p) return nullptr;
    p->prev = prev;
    p->next = next;
    p->len = len;
    if (len < 0) Halt(kModule, u"NewBlkPtr", u"len<0");
    if (len > BlkSize) Halt(kModule, u"NewBlkPtr", u"len>BlkSize");
    if (len > 0 && p->addr == kNoAddr && !AllocBuf(p->addr)) return nullptr;
    return record.Keep();
}

// Gives a page to a record without one: a new page, or, when the address range is full, that of a record
// waiting in the pool. False when there is none either.
bool Engine::AllocBuf(std::int32_t& addr) {
    if (mem->CanAllocPage()) {
        mem->AllocPage(addr);
    } else {
        addr = pool->TakePage();
    }
    return addr != kNoAddr;
}

void Engine::DisposeBlkPtr(BlkDesc*& p) {
    if (!p) return Halt(kModule, u"DisposeBlkPtr", u"p==NIL");
    pool->Dispose(p);
    p = nullptr;
}

// Gives back a chain of records in one step; an empty one is no error.
void Engine::DisposeBlkPtrList(BlkDesc*& head, BlkDesc* tail) {
    if (head) pool->DisposeChain(head, tail);
    head = nullptr;
}

// Puts the chain from `head` to `tail` behind `block`.
void Engine::LinkBehind(BlkDesc* block, BlkDesc* head, BlkDesc* tail) {
    BlkDesc* const next = block->next;
    block->next = head;
    head->prev = block;
    tail->next = next;
    (next ? next->prev : last) = tail;
}

// Takes the blocks from `head` to `tail` out of the file; they stay linked to each other.
void Engine::Unlink(BlkDesc* head, BlkDesc* tail) {
    BlkDesc* const before = head->prev;
    BlkDesc* const behind = tail->next;
    (before ? before->next : first) = behind;
    (behind ? behind->prev : last) = before;
}

}  // namespace vfile
