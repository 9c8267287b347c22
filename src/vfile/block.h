// The record of one block of a virtual file. Passive: the operations that link it belong to its engine.
#pragma once

#include <vfile/types.h>

#include "vmem/paged_memory.h"

namespace vfile {

inline constexpr TChar kModule[] = u"VFile";  // the label of this module's stops

inline constexpr std::int32_t kNoAddr = -1;

// A block owns one whole page of the thread's memory, however little of it is used, so that it never spans
// two.
struct BlkDesc {
    BlkDesc* prev;
    BlkDesc* next;      // also the link of the pool's free list
    std::int32_t addr;  // of its page, kNoAddr when it has none
    std::int16_t len;   // bytes in use, 0 to BlkSize
};
static_assert(BlkSize == kPageSize);
static_assert(sizeof(BlkDesc) <= 24, "a record and its share of an index are to stay within 40 bytes");

// A place in a chain of blocks: byte `ix` of the block `ptr`, whose first byte is byte `start` of the file. `ix` may
// equal the length of the block: the same position as the start of the next one.
struct BlkRdr {
    BlkDesc* ptr = nullptr;
    std::int32_t start = 0;
    std::int16_t ix = 0;
};

}  // namespace vfile
