// Reads that move the cursor. Byte reads load the block, bulk reads go straight to the pages.
#include <vfile/result.h>

#include <algorithm>

#include "vfile/engine.h"

namespace vfile {

void VFile::ReadByte(unsigned char& b) {
    Engine& e = EngineOf(*this);
    while (e.cur.ix >= e.cur.ptr->len) {
        if (!e.MoveToNextBlock()) {
            b = 0;
            eof = true;
            return;
        }
    }
    if (e.bufValid || e.LoadBlock()) {
        b = e.buf[e.cur.ix];
    } else {
        e.mem->Get(e.cur.ptr->addr + e.cur.ix, &b, 1);
    }
    ++e.cur.ix;
    ++e.pos;
    eof = false;
}

void VFile::ReadPrevByte(unsigned char& b) {
    Engine& e = EngineOf(*this);
    while (e.cur.ix <= 0) {
        if (!e.MoveToPrevBlock()) {
            b = 0;
            eof = true;
            return;
        }
    }
    if (e.bufValid || e.LoadBlock()) {
        b = e.buf[e.cur.ix - 1];
    } else {
        e.mem->Get(e.cur.ptr->addr + e.cur.ix - 1, &b, 1);
    }
    --e.cur.ix;
    --e.pos;
    eof = false;
}

std::int32_t VFile::ReadBytes(void* dst, std::int32_t count) {
    if (count < 0 || (!dst && count > 0)) {
        res = ResCallError;
        return 0;
    }
    Engine& e = EngineOf(*this);
    auto* to = static_cast<unsigned char*>(dst);
    std::int32_t left = count;
    while (left > 0) {
        if (e.cur.ix >= e.cur.ptr->len) {
            if (e.MoveToNextBlock()) continue;
            eof = true;
            return count - left;
        }
        auto const n = static_cast<std::int16_t>(std::min<std::int32_t>(e.cur.ptr->len - e.cur.ix, left));
        e.CopyOutC(e.cur, to, n);
        to += n;
        left -= n;
        e.cur.ix = static_cast<std::int16_t>(e.cur.ix + n);
        e.pos += n;
    }
    eof = false;
    return count;
}

std::int32_t VFile::ReadTxt(char* dst, std::int32_t size, std::int32_t start, std::int32_t count) {
    if (!dst || size <= 0 || start < 0 || count < 0) {
        res = ResCallError;
        return 0;
    }
    start = std::min(start, Length());
    count = std::min({count, Length() - start, size - 1});
    SetPos(start);
    std::int32_t const n = ReadBytes(dst, count);
    dst[n] = 0;
    return n;
}

}  // namespace vfile
