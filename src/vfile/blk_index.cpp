#include "vfile/blk_index.h"

#include <algorithm>
#include <new>

namespace vfile {

std::size_t BlkIndex::CountUpTo(std::int32_t position) const {
    std::size_t low = 0;
    std::size_t high = count;
    while (low < high) {
        std::size_t const middle = low + (high - low) / 2;
        if (Start(middle) <= position) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

// The marks between the old place of the step and the new one get, or give back, what is put off.
void BlkIndex::MoveStep(std::size_t to) {
    Offset const had = step;
    for (std::size_t i = stepFrom; i < to; ++i) starts[i] += had;
    for (std::size_t i = to; i < stepFrom; ++i) starts[i] -= had;
    stepFrom = to;
}

void BlkIndex::Shift(std::int32_t position, std::int32_t growth) {
    MoveStep(CountUpTo(position));
    step += static_cast<Offset>(growth);
}

void BlkIndex::Replace(std::int32_t from, std::int32_t to, std::int32_t growth) {
    std::size_t const begin = CountUpTo(from);
    Erase(begin, std::max(begin, CountUpTo(to - 1)));
    MoveStep(begin);
    step += static_cast<Offset>(growth);
}

void BlkIndex::Forget(BlkDesc const* block, std::int32_t start) {
    for (std::size_t i = CountUpTo(start); i > 0 && Start(i - 1) == start; --i) {
        if (Block(i - 1) == block) return Erase(i - 1, i);
    }
}

void BlkIndex::Erase(std::size_t from, std::size_t to) {
    if (from == to) return;
    std::copy(starts.get() + to, starts.get() + count, starts.get() + from);
    std::copy(blocks.get() + to, blocks.get() + count, blocks.get() + from);
    count -= to - from;
    if (stepFrom > from) stepFrom = stepFrom > to ? stepFrom - (to - from) : from;
}

bool BlkIndex::Fill(std::size_t at, BlkDesc* block, std::int32_t start, BlkDesc const* end) {
    std::size_t passed = 0;
    for (BlkDesc const* p = block->next; p != end; p = p->next) ++passed;
    std::size_t const more = passed / kDistance;
    if (!MakeRoom(at, more)) return false;
    for (std::size_t i = 0; i < more; ++i) {
        for (std::size_t n = 0; n < kDistance; ++n) {
            start += block->len;
            block = block->next;
        }
        starts[at + i] = static_cast<Offset>(start);
        blocks[at + i] = block;
    }
    return true;
}

// Opens a gap for marks that need no step.
bool BlkIndex::MakeRoom(std::size_t at, std::size_t more) {
    if (count + more > capacity) {
        std::size_t const wanted = std::max(count + more, capacity + capacity / 2);
        std::unique_ptr<Offset[]> newStarts(new (std::nothrow) Offset[wanted]);
        std::unique_ptr<BlkDesc*[]> newBlocks(new (std::nothrow) BlkDesc*[wanted]);
        if (!newStarts || !newBlocks) return false;
        std::copy_n(starts.get(), count, newStarts.get());
        std::copy_n(blocks.get(), count, newBlocks.get());
        starts = std::move(newStarts);
        blocks = std::move(newBlocks);
        capacity = wanted;
    }
    MoveStep(at);
    std::copy_backward(starts.get() + at, starts.get() + count, starts.get() + count + more);
    std::copy_backward(blocks.get() + at, blocks.get() + count, blocks.get() + count + more);
    count += more;
    stepFrom = at + more;
    return true;
}

}  // namespace vfile
