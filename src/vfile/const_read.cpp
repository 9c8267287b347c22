// Reads by a place of the caller's own, which change nothing in the file. They see what still stands in the
// buffer only, so that a file can be read while it is being changed.
#include <vfile/halt.h>

#include <algorithm>
#include <cstring>

#include "vfile/engine.h"

namespace vfile {

namespace {

bool StepToNext(BlkRdr& rd) {
    if (!rd.ptr->next) return false;
    rd = {rd.ptr->next, rd.start + rd.ptr->len, 0};
    return true;
}

}  // namespace

void Engine::SetPosC(BlkRdr& rd, std::int32_t position) const {
    if (position < 0) return Halt(kModule, u"SetPosC", u"call error");
    rd = cur;
    SeekBlk(rd, std::min(position, length), false);
}

void Engine::ReadByteC(BlkRdr& rd, unsigned char& b) const {
    if (rd.start + rd.ix >= length) return Halt(kModule, u"ReadByteC", u"call error");
    while (rd.ix >= rd.ptr->len) {
        if (!StepToNext(rd)) return Halt(kModule, u"ReadByteC", u"rd.ptr->next==NIL");
    }
    CopyOutC(rd, &b, 1);
    ++rd.ix;
}

void Engine::ReadBytesC(BlkRdr& rd, void* dst, std::int32_t count) const {
    if (count < 0 || count > length - (rd.start + rd.ix) || !dst) {
        return Halt(kModule, u"ReadBytesC", u"call error");
    }
    auto* to = static_cast<unsigned char*>(dst);
    while (count > 0) {
        if (rd.ix >= rd.ptr->len) {
            if (!StepToNext(rd)) return Halt(kModule, u"ReadBytesC", u"rd.ptr->next==NIL");
            continue;
        }
        auto const n = static_cast<std::int16_t>(std::min<std::int32_t>(rd.ptr->len - rd.ix, count));
        CopyOutC(rd, to, n);
        to += n;
        count -= n;
        rd.ix = static_cast<std::int16_t>(rd.ix + n);
    }
}

// Copies `count` bytes that lie wholly in the block of `rd`, from the buffer when that holds the block.
void Engine::CopyOutC(BlkRdr const& rd, void* dst, std::int16_t count) const {
    if (rd.ptr == cur.ptr && bufValid) {
        std::memcpy(dst, buf + rd.ix, static_cast<std::size_t>(count));
    } else {
        mem->Get(rd.ptr->addr + rd.ix, dst, count);
    }
}

}  // namespace vfile
