// What always holds between two operations of a virtual file:
//
//   1  The chain has a block. first->prev and last->next are null; a->next is b exactly when b->prev is a.
//   2  A block has 0 to BlkSize bytes, and 0 only as the only block of an empty file. There is no minimum
//      above that: a block of 1 byte between two full ones stays so until an edit happens to merge it.
//   3  The lengths add up to that of the file.
//   4  cur.ptr is in the chain, cur.start is the sum of the lengths before it, cur.ix lies in the block, and
//      pos is the sum of the two.
//   5  A block with bytes has a page of its own: an address of at least 0, a multiple of BlkSize, no other
//      block's.
//   6  A dirty buffer is valid, and a valid buffer exists. While it is clean it says the same as the page.
//   7  The marks of the index are blocks of the chain in its order, each with the sum of the lengths before it as its
//      start; what the current block has grown since the index was told is missing behind it.
#pragma once

#include "vfile/engine.h"

namespace vfile {

// Null when all of the above holds, else the rule that is broken. Walks the chain and reads the current page.
char const* BrokenRule(VFile const& file);

// Rules 1 to 6 for the blocks next to the cursor, at constant cost and without the memory; the rules of the
// whole chain too when it has at most 64 blocks.
char const* BrokenRuleAtCursor(VFile const& file);

// Looks at everything, for the checks and the tests, and changes nothing itself.
struct VFileInspector {
    static BlkDesc* First(VFile const& file) { return EngineOf(file).first; }
    static BlkDesc* Last(VFile const& file) { return EngineOf(file).last; }
    static BlkRdr& Cursor(VFile& file) { return EngineOf(file).cur; }
    static BlkRdr const& Cursor(VFile const& file) { return EngineOf(file).cur; }
    static std::int32_t& Length(VFile& file) { return EngineOf(file).length; }
    static std::int32_t& Flags(VFile& file) { return internal::Access::FlagsOf(file); }
    static std::int32_t& Type(VFile& file) { return internal::Access::TypeOf(file); }
    static std::int32_t& Pos(VFile& file) { return EngineOf(file).pos; }
    static bool& BufValid(VFile& file) { return EngineOf(file).bufValid; }
    static bool& BufDirty(VFile& file) { return EngineOf(file).bufDirty; }
    static unsigned char*& Buffer(VFile& file) { return EngineOf(file).buf; }
    static bool BufValid(VFile const& file) { return EngineOf(file).bufValid; }
    static bool BufDirty(VFile const& file) { return EngineOf(file).bufDirty; }
    static unsigned char const* Buffer(VFile const& file) { return EngineOf(file).buf; }
    static BlkIndex const* Index(VFile const& file) { return EngineOf(file).index; }
    static internal::PagedMemory& Memory(VFile const& file) { return *EngineOf(file).mem; }
    static BlkPool& Pool(VFile const& file) { return *EngineOf(file).pool; }
    static void SetPosC(VFile const& file, BlkRdr& rd, std::int32_t position) {
        EngineOf(file).SetPosC(rd, position);
    }
    static void ReadByteC(VFile const& file, BlkRdr& rd, unsigned char& b) {
        EngineOf(file).ReadByteC(rd, b);
    }
    static void ReadBytesC(VFile const& file, BlkRdr& rd, void* dst, std::int32_t count) {
        EngineOf(file).ReadBytesC(rd, dst, count);
    }

    static char const* BrokenBlock(VFile const& file, BlkDesc const& block);
    static char const* BrokenCursor(VFile const& file);
    static char const* BrokenMark(VFile const& file, BlkDesc const& block, std::int64_t start,
                                  std::size_t& marks);
    static char const* BrokenChain(VFile const& file);
    static char const* BrokenPages(VFile const& file);
    static char const* BrokenBuffer(VFile const& file);
};

}  // namespace vfile
