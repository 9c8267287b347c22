// The cursor and the one block that stands in the buffer.
//
//   state      bufValid  bufDirty  what is true of the current block
//   detached   no        no        the page
//   clean      yes       no        page and buffer agree
//   dirty      yes       yes       the buffer; nothing may read the page
//
// The buffer goes back to the page once, when the cursor leaves the block.
#include <vfile/halt.h>
#include <vfile/result.h>

#include <algorithm>
#include <new>

#include "vfile/engine.h"

namespace vfile {

void VFile::SetPos(std::int32_t position) {
    Engine* const e = OwnEngine(*this);
    if (!e) return HaltA(kModule, __LINE__);
    if (position < 0) {
        res = ResCallError;
        return;
    }
    BlkRdr place{e->cur.ptr, e->cur.start, 0};
    e->SeekBlk(place, std::min(position, e->length), false);
    e->MoveTo(place);
    res = ResDone;
    eof = false;
}

void VFile::SetPos(std::int32_t offset, int whence) {
    Engine const* const e = OwnEngine(*this);
    if (!e) return HaltA(kModule, __LINE__);
    if (whence < 0 || whence > 2) {
        res = ResCallError;
        return;
    }
    std::int64_t const base = whence == 0 ? 0 : whence == 1 ? e->pos : e->length;
    SetPos(static_cast<std::int32_t>(std::clamp<std::int64_t>(base + offset, -1, MaxLen)));
}

void VFile::Flush() {
    Engine* const e = OwnEngine(*this);
    if (!e) return HaltA(kModule, __LINE__);
    e->LeaveBlock();
    delete[] e->buf;
    e->buf = nullptr;
}

void Engine::MoveTo(BlkRdr const& place) {
    if (place.ptr != cur.ptr) {
        LeaveBlock();
        if (carried != 0) HandOver();
    }
    cur.ptr = place.ptr;
    cur.start = place.start;
    cur.ix = place.ix;
    pos = place.start + place.ix;
}

// To the first byte of the next block, or behind the last one of the block before. False, and nothing moved,
// at the end of the chain.
bool Engine::MoveToNextBlock() {
    if (!cur.ptr->next) return false;
    MoveTo({cur.ptr->next, cur.start + cur.ptr->len, 0});
    return true;
}

bool Engine::MoveToPrevBlock() {
    BlkDesc* const prev = cur.ptr->prev;
    if (!prev) return false;
    MoveTo({prev, cur.start - prev->len, prev->len});
    return true;
}

// The one rule of writing back.
void Engine::LeaveBlock() {
    if (bufDirty) mem->Set(cur.ptr->addr, buf, cur.ptr->len);
    bufDirty = false;
    bufValid = false;
}

// Brings the current block into the buffer. False when there is no memory for the buffer.
bool Engine::LoadBlock() {
    if (bufValid) return true;
    if (!buf) buf = new (std::nothrow) unsigned char[BlkSize];
    if (!buf) return false;
    mem->Get(cur.ptr->addr, buf, cur.ptr->len);
    bufValid = true;
    return true;
}

}  // namespace vfile
