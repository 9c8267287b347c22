// Reads by runs: the way to look at many bytes for the price of one read each block. They cross into the next
// block, and meet the ends of the file, just as the one-byte reads do.
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>

#include "vfile/block.h"

namespace vfile {

// The bytes from the cursor to the end of its block, none at the end of the file. Without memory for the buffer
// it is one byte, in `lone`.
std::span<unsigned char const> VFile::RunAhead(unsigned char& lone) {
    while (cur.ix >= cur.ptr->len) {
        if (!MoveToNextBlock()) return {};
    }
    if (LoadBlock()) return {buf + cur.ix, buf + cur.ptr->len};
    mem->Get(cur.ptr->addr + cur.ix, &lone, 1);
    return {&lone, 1};
}

// The bytes from the start of the block to the cursor, none at the start of the file.
std::span<unsigned char const> VFile::RunBehind(unsigned char& lone) {
    while (cur.ix <= 0) {
        if (!MoveToPrevBlock()) return {};
    }
    if (LoadBlock()) return {buf, buf + cur.ix};
    mem->Get(cur.ptr->addr + cur.ix - 1, &lone, 1);
    return {&lone, 1};
}

// Counts bytes of a run as read.
void VFile::MoveInBlock(std::ptrdiff_t bytes) {
    cur.ix = static_cast<std::int16_t>(cur.ix + bytes);
    pos += static_cast<std::int32_t>(bytes);
    eof = false;
}

}  // namespace vfile
