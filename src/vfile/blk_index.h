// Where some of the blocks of a file begin: marks, so that a seek walks over a few blocks of the chain and not over
// all before it.
//
//   The marks say nothing that a walk would not find out, and no rule demands one: where a walk was long it leaves
//   some behind, and where there is no memory for them walks stay long. What they say is always true.
//
//   starts   of the marked blocks, ascending. A change moves all marks behind it; that is put off: `step` is still to be
//            added to the starts from `stepFrom` on. The next change at the same place adds to `step` alone, one at
//            another place brings the starts between the two up to date.
//   blocks   the marked blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "vfile/block.h"

namespace vfile {

class BlkIndex {
public:
    // A mark is set every so many blocks where a walk was longer than kReach. So a file of a million blocks has some
    // 15,000, and no walk that finds marks on both its sides passes many more than kReach.
    static constexpr std::size_t kDistance = 64;
    static constexpr std::size_t kReach = 2 * kDistance;

    std::size_t Count() const { return count; }
    BlkDesc* Block(std::size_t i) const { return blocks[i]; }
    std::int32_t Start(std::size_t i) const {
        return static_cast<std::int32_t>(starts[i] + (i < stepFrom ? 0 : step));
    }

    // How many marked blocks start at `position` or before it.
    std::size_t CountUpTo(std::int32_t position) const;

    // The blocks that start behind `position` now start `growth` further on.
    void Shift(std::int32_t position, std::int32_t growth);

    // The blocks that start behind `from` and before `to` are out of the file or start elsewhere; those behind move.
    void Replace(std::int32_t from, std::int32_t to, std::int32_t growth);

    // Takes the mark off a block that starts at `start`, if it has one.
    void Forget(BlkDesc const* block, std::int32_t start);

    // Sets marks between the block at `start` and `end`, a later one or null for the end of the chain, before the mark
    // number `at`. False: there is no memory.
    bool Fill(std::size_t at, BlkDesc* block, std::int32_t start, BlkDesc const* end);

private:
    // 32 bits that wrap: a start that waits for its step may be no position.
    using Offset = std::uint32_t;

    void MoveStep(std::size_t to);
    void Erase(std::size_t from, std::size_t to);
    bool MakeRoom(std::size_t at, std::size_t more);

    std::size_t count = 0;
    std::size_t capacity = 0;
    std::size_t stepFrom = 0;
    Offset step = 0;
    std::unique_ptr<Offset[]> starts;
    std::unique_ptr<BlkDesc*[]> blocks;
};

}  // namespace vfile
