// Saves a block from being split, where one shortly before it has room.
//
//   [pp....][qqqqqqqq][aaaaXXtt]     pp    the taker
//   [ppqqqq][qqqqaaaa][XXtt....]     XX    the range that goes, cursor at its start
//   [ppqqqq][qqqqaXX.][t.......]     or, where XX stands near the head, and what comes for it has room there
//
// The halves of a split block stay half empty until something is inserted into them. A replacement all over a file,
// which goes upward, splits one block and passes its room on from match to match, instead of doubling the blocks.

#include <algorithm>

#include "vfile/blk_index.h"
#include "vfile/change.h"
#include "vfile/engine.h"

namespace vfile {

namespace {

constexpr int kReach = 4;  // blocks that a head is passed through; beyond that a split is as cheap

}  // namespace

void Engine::MakeRoom(Change const& change) {
    std::int32_t const len = cur.ptr->len;
    std::int32_t const growth = change.insLen - change.delLen;
    std::int32_t const end = cur.ix + change.delLen;
    if (len + growth <= BlkSize || end > len) return;
    BlkDesc* const taker = TakerBefore(cur.ptr);
    if (!taker) return;

    std::int32_t const room = BlkSize - taker->len;
    bool const withRange = end <= room - growth;
    // One byte stays: the change may yet be refused, and no block is empty.
    std::int32_t const count = withRange ? room - growth : std::min({std::int32_t{cur.ix}, room, len - 1});
    if (!withRange && len + growth - count > BlkSize) return;

    LeaveBlock();
    HandOver();
    std::int32_t start = cur.start;
    for (BlkDesc const* p = cur.ptr->prev; p != taker; p = p->prev) start -= p->len;
    for (BlkDesc* p = taker->next; p != cur.ptr; p = p->next) {
        std::int16_t const had = p->len;
        PassHead(p, start, room);
        start += had;
    }
    PassHead(cur.ptr, cur.start, count);
    BlkDesc* const block = withRange ? cur.ptr->prev : cur.ptr;
    start = cur.start + count - (withRange ? block->len : 0);
    MoveTo({block, start, static_cast<std::int16_t>(pos - start)});
    LoadBlock();
}

// The nearest block before `block` that has room. Full ones in between are looked past only as long as they are in the
// cache, so that saving a split costs no transfer.
BlkDesc* Engine::TakerBefore(BlkDesc const* block) const {
    BlkDesc* p = block->prev;
    for (int i = 1; p && p->len == BlkSize; ++i, p = p->prev) {
        if (i == kReach || !mem->IsCached(p->addr)) return nullptr;
    }
    return p && p->len > 0 ? p : nullptr;
}

// Moves `count` bytes from the head of a block, which starts at `start` and is not in the buffer, to the end of the one
// before. The memory may stop at the first copy, when nothing has changed yet.
void Engine::PassHead(BlkDesc* block, std::int32_t start, std::int32_t count) {
    BlkDesc* const prev = block->prev;
    auto const n = static_cast<std::int16_t>(count);
    auto const rest = static_cast<std::int16_t>(block->len - n);
    mem->CopyBytes(prev->addr + prev->len, block->addr, n);
    mem->CopyBytes(block->addr, block->addr + n, rest);
    if (index) {
        index->Shift(start - prev->len, n);
        index->Shift(start + n, -n);
    }
    prev->len = static_cast<std::int16_t>(prev->len + n);
    block->len = rest;
    crCheck.block = nullptr;
}

}  // namespace vfile
