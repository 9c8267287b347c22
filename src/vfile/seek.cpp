#include "vfile/seek.h"

#include "vfile/block.h"

namespace vfile {

namespace {

void StepBack(BlkRdr& rd) {
    rd.ptr = rd.ptr->prev;
    rd.start -= rd.ptr->len;
}

void WalkForward(BlkRdr& rd, std::int32_t position) {
    while (rd.ptr->next && rd.start + rd.ptr->len <= position) {
        rd.start += rd.ptr->len;
        rd.ptr = rd.ptr->next;
    }
}

void WalkBackward(BlkRdr& rd, std::int32_t position) {
    while (rd.ptr->prev && position < rd.start) StepBack(rd);
}

void SeekBefore(BlkRdr& rd, BlkDesc* first, std::int32_t position) {
    if (position < first->len) {
        rd = {first, 0, 0};
    } else if (position < rd.start / 2) {
        rd = {first, 0, 0};
        WalkForward(rd, position);
    } else {
        WalkBackward(rd, position);
    }
}

void SeekBehind(BlkRdr& rd, BlkDesc* last, std::int32_t length, std::int32_t position) {
    std::int32_t const lastStart = length - last->len;
    if (position >= lastStart) {
        rd = {last, lastStart, 0};
    } else if (position - rd.start < (length - rd.start) / 2) {
        WalkForward(rd, position);
    } else {
        rd = {last, lastStart, 0};
        WalkBackward(rd, position);
    }
}

bool PrevHasRoom(BlkRdr const& rd) { return rd.ptr->prev && rd.ptr->prev->len < BlkSize; }

}  // namespace

void SeekBlk(BlkRdr& rd, BlkDesc* first, BlkDesc* last, std::int32_t length, std::int32_t position,
             bool preferPrev) {
    if (position < rd.start) {
        SeekBefore(rd, first, position);
    } else if (position - rd.start >= rd.ptr->len) {
        SeekBehind(rd, last, length, position);
    }
    if (preferPrev && position == rd.start && PrevHasRoom(rd)) {
        do {
            StepBack(rd);
        } while (rd.ptr->len == 0 && PrevHasRoom(rd));
    }
    rd.ix = static_cast<std::int16_t>(position - rd.start);
}

}  // namespace vfile
