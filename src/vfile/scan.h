// The search of a virtual file, for bytes and for 16-bit units. The file is read in one direction and never again:
// while nothing is matched, whole runs of the buffer are scanned, and what is matched is carried from block to block.
#pragma once

#include <vfile/result.h>

#include <algorithm>

#include "vfile/pattern.h"
#include "vfile/runs.h"

namespace vfile {

// The next unit in the order of reading, 0 with `eof` set where there is no whole one.
template <class Unit, class Direction>
Unit ReadUnit(VFile& file) {
    unsigned unit = 0;
    for (std::size_t i = 0; i < sizeof(Unit); ++i) {
        Byte b;
        Direction::kStep > 0 ? file.ReadByte(b) : file.ReadPrevByte(b);
        if (file.eof) return 0;
        unit = Direction::kStep > 0 ? unit | unsigned{b} << (8 * i) : unit << 8 | b;
    }
    return static_cast<Unit>(unit);
}

// Reads from the cursor on until a match has been read whole. False: the end of the file has been met, and `eof`
// is set.
template <class Unit, class Direction, class Fold>
bool Scan(VFile& file, Pattern<Unit, Direction, Fold> const& pattern) {
    Engine& e = EngineOf(file);
    PartialMatch match;
    while (match.matched < pattern.Length()) {
        auto const run = Direction::kStep > 0 ? e.RunAhead(Engine::kInPlace) : e.RunBehind(Engine::kInPlace);
        if (run.size() >= sizeof(Unit)) {
            auto const bytes = static_cast<std::ptrdiff_t>(pattern.ReadRun(run, match) * sizeof(Unit));
            e.MoveInBlock(Direction::kStep * bytes);
            continue;
        }
        Unit const unit = ReadUnit<Unit, Direction>(file);  // lies across a border, or is none
        if (file.eof) return false;
        pattern.Read(unit, match);
    }
    return true;
}

// Whether the unit that is read next from `position` on belongs to a word. The ends of the file do not.
template <class Unit, class Direction>
bool WordNext(VFile& file, std::int32_t position, bool (*isWord)(Unit)) {
    file.SetPos(position * static_cast<std::int32_t>(sizeof(Unit)));
    return isWord(ReadUnit<Unit, Direction>(file));
}

// Finds the next match from `position` on, which is left where the one after it may begin. Positions are in units.
template <class Direction, class Unit>
bool Search(VFile& file, std::int32_t& position, std::span<Unit const> text, bool ignoreCase, bool wholeWord,
            bool (*isWord)(Unit)) {
    using Opposite = typename Direction::Opposite;
    if (position < 0) {
        file.res = ResCallError;
        return false;
    }
    if (text.empty()) return true;
    constexpr auto kUnit = static_cast<std::int32_t>(sizeof(Unit));
    auto const matchLen =
        static_cast<std::int32_t>(Direction::kStep) * static_cast<std::int32_t>(text.size());
    do {
        file.SetPos(std::min(position, file.Length() / kUnit) * kUnit);
        bool const found = ignoreCase ? Scan(file, Pattern<Unit, Direction, Folded>(text))
                                      : Scan(file, Pattern<Unit, Direction, Exact>(text));
        if (!found) {
            std::int32_t const end = std::max(position, file.Length() / kUnit);
            position = Direction::kStep < 0 ? -1 : end < MaxLen ? end + 1 : MaxLen;
            return false;
        }
        position = file.GetPos() / kUnit;
        ReadUnit<Unit, Direction>(file);  // looks beyond the match, as the cursor tells
    } while (wholeWord && (WordNext<Unit, Direction>(file, position, isWord) ||
                           WordNext<Unit, Opposite>(file, position - matchLen, isWord)));
    return true;
}

}  // namespace vfile
