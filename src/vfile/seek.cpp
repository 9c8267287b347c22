// The one search for the block that holds a position: at the place where the search begins, a few blocks beside it, or
// between the two marks around the position.
#include "vfile/seek.h"

#include <new>

#include "vfile/blk_index.h"
#include "vfile/engine.h"

namespace vfile {

namespace {

constexpr std::size_t kNearby = 4;  // blocks that are passed without a look at the marks
constexpr std::size_t kNoLimit = ~std::size_t{0};

void StepBack(BlkRdr& rd) {
    rd.ptr = rd.ptr->prev;
    rd.start -= rd.ptr->len;
}

// Walks to the block that holds `position`, the later of two, over `limit` blocks at most. False: it is further away.
bool Walk(BlkRdr& rd, std::int32_t position, std::size_t limit) {
    for (; rd.ptr->next && rd.start + rd.ptr->len <= position; --limit) {
        if (limit == 0) return false;
        rd.start += rd.ptr->len;
        rd.ptr = rd.ptr->next;
    }
    for (; rd.ptr->prev && position < rd.start; --limit) {
        if (limit == 0) return false;
        StepBack(rd);
    }
    return true;
}

bool PrevHasRoom(BlkRdr const& rd) { return rd.ptr->prev && rd.ptr->prev->len < BlkSize; }

}  // namespace

// Puts `rd`, which comes in at any valid place of the chain, on `position`, 0 to `length`. A local or sequential
// move looks at nothing but the blocks it passes.
//
// A position on the border of two blocks gives the later one; with `preferPrev` the end of the earlier one if
// that has room, so that an insertion there fills it and splits nothing.
void Engine::SeekBlk(BlkRdr& rd, std::int32_t position, bool preferPrev) const {
    if (!Walk(rd, position, kNearby)) SeekFar(rd, position);
    if (preferPrev && position == rd.start && PrevHasRoom(rd)) {
        do {
            StepBack(rd);
        } while (rd.ptr->len == 0 && PrevHasRoom(rd));
    }
    rd.ix = static_cast<std::int16_t>(position - rd.start);
}

// Where the marks lie too far apart for a short walk, the stretch between them is filled.
void Engine::SeekFar(BlkRdr& rd, std::int32_t position) const {
    HandOver();
    if (!index) index = new (std::nothrow) BlkIndex;
    Neighbours const around = NeighboursOf(position);
    rd = around.Nearest(position);
    if (Walk(rd, position, index ? BlkIndex::kReach : kNoLimit)) return;
    bool const filled = index->Fill(around.marksBelow, around.below.ptr, around.below.start, around.end);
    if (filled) rd = NeighboursOf(position).Nearest(position);
    Walk(rd, position, kNoLimit);
}

// The blocks with known starts around a position: marked ones, or the ends of the chain.
Neighbours Engine::NeighboursOf(std::int32_t position) const {
    BlkRdr const head{first, 0, 0};
    BlkRdr const tail{last, length - last->len, 0};
    if (!index) return {head, tail, nullptr, 0};
    std::size_t const i = index->CountUpTo(position);
    bool const hasNext = i < index->Count();
    return {
        i > 0 ? BlkRdr{index->Block(i - 1), index->Start(i - 1), 0}
            : head,
        hasNext ? BlkRdr{index->Block(i),     index->Start(i),     0}
            : tail, hasNext ? index->Block(i) : nullptr, i
    };
}

// Tells the marks how much the current block has grown. Until then its edits cost them nothing.
void Engine::HandOver() const {
    if (carried != 0 && index) index->Shift(cur.start, carried);
    carried = 0;
}

}  // namespace vfile
