// Reads by runs: the way to look at many bytes for the price of one read each block. They cross into the next
// block, and meet the ends of the file, just as the one-byte reads do.
#pragma once

#include "vfile/engine.h"

namespace vfile {

// The bytes from the cursor to the end of its block, none at the end of the file.
inline std::span<unsigned char const> Engine::RunAhead(BlockUse use) {
    while (cur.ix >= cur.ptr->len) {
        if (!MoveToNextBlock()) return {};
    }
    unsigned char const* const block = BlockBytes(use);
    return {block + cur.ix, block + cur.ptr->len};
}

// The bytes from the start of the block to the cursor, none at the start of the file.
inline std::span<unsigned char const> Engine::RunBehind(BlockUse use) {
    while (cur.ix <= 0) {
        if (!MoveToPrevBlock()) return {};
    }
    unsigned char const* const block = BlockBytes(use);
    return {block, block + cur.ix};
}

// The bytes of the current block. Whoever comes back to it loads it into the buffer; whoever reads all of it once looks
// at them where they lie, until the memory is used again. So does one who has no memory for the buffer.
inline unsigned char const* Engine::BlockBytes(BlockUse use) {
    return bufValid || (use == kLoaded && LoadBlock()) ? buf : mem->PageAt(cur.ptr->addr);
}

// Counts bytes of a run as read.
inline void Engine::MoveInBlock(std::ptrdiff_t bytes) {
    cur.ix = static_cast<std::int16_t>(cur.ix + bytes);
    pos += static_cast<std::int32_t>(bytes);
    file->eof = false;
}

}  // namespace vfile
