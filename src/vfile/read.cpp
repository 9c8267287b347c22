// Reads that move the cursor. Byte reads load the block, bulk reads go straight to the pages.
#include <vfile/result.h>
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>

#include <algorithm>

#include "vfile/block.h"

namespace vfile {

void VFile::ReadByte(unsigned char& b) {
    while (cur.ix >= cur.ptr->len) {
        if (!MoveToNextBlock()) {
            b = 0;
            eof = true;
            return;
        }
    }
    if (LoadBlock()) {
        b = buf[cur.ix];
    } else {
        mem->Get(cur.ptr->addr + cur.ix, &b, 1);
    }
    ++cur.ix;
    ++pos;
    eof = false;
}

void VFile::ReadPrevByte(unsigned char& b) {
    while (cur.ix <= 0) {
        if (!MoveToPrevBlock()) {
            b = 0;
            eof = true;
            return;
        }
    }
    if (LoadBlock()) {
        b = buf[cur.ix - 1];
    } else {
        mem->Get(cur.ptr->addr + cur.ix - 1, &b, 1);
    }
    --cur.ix;
    --pos;
    eof = false;
}

std::int32_t VFile::ReadBytes(void* dst, std::int32_t count) {
    if (count < 0 || (!dst && count > 0)) {
        res = ResCallError;
        return 0;
    }
    auto* to = static_cast<unsigned char*>(dst);
    std::int32_t left = count;
    while (left > 0) {
        if (cur.ix >= cur.ptr->len) {
            if (MoveToNextBlock()) continue;
            eof = true;
            return count - left;
        }
        auto const n = static_cast<std::int16_t>(std::min<std::int32_t>(cur.ptr->len - cur.ix, left));
        CopyOutC(cur, to, n);
        to += n;
        left -= n;
        cur.ix = static_cast<std::int16_t>(cur.ix + n);
        pos += n;
    }
    eof = false;
    return count;
}

std::int32_t VFile::ReadTxt(char* dst, std::int32_t size, std::int32_t start, std::int32_t count) {
    if (!dst || size <= 0 || start < 0 || count < 0) {
        res = ResCallError;
        return 0;
    }
    start = std::min(start, length);
    count = std::min({count, length - start, size - 1});
    SetPos(start);
    std::int32_t const n = ReadBytes(dst, count);
    dst[n] = 0;
    return n;
}

}  // namespace vfile
