// A string of units, bytes or 16-bit ones, to be found in either direction and with or without regard to case: how
// units compare, where a match may begin, and what a failed partial match leaves.
//
//   Memory    none beside the caller's string: no copy, no table.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>
#include <type_traits>

namespace vfile {

using Byte = unsigned char;

// The order in which file and pattern are read. Unit k of a pattern of `len` is the one at Index; the unit read next
// lies kStep further.
struct Downward;
struct Upward {
    using Opposite = Downward;
    static constexpr std::ptrdiff_t kStep = 1;
    static constexpr std::size_t Index(std::size_t, std::size_t k) { return k; }
};
struct Downward {
    using Opposite = Upward;
    static constexpr std::ptrdiff_t kStep = -1;
    static constexpr std::size_t Index(std::size_t len, std::size_t k) { return len - 1 - k; }
};

// Under which units are equal. Folding goes by ASCII alone, so that the result is the same in every locale.
struct Exact {
    template <class Unit>
    static constexpr Unit Of(Unit unit) {
        return unit;
    }
    // The bits in which a unit and its equals differ.
    template <class Unit>
    static constexpr Unit Either(Unit) {
        return 0;
    }
};
struct Folded {
    template <class Unit>
    static constexpr Unit Of(Unit unit) {
        return static_cast<Unit>(unit >= 'a' && unit <= 'z' ? unit - kCaseBit : unit);
    }
    template <class Unit>
    static constexpr Unit Either(Unit unit) {
        return Of(unit) >= 'A' && Of(unit) <= 'Z' ? kCaseBit : 0;
    }
    static constexpr int kCaseBit = 'a' - 'A';
};

template <class Unit, class Direction, class Fold>
class Pattern {
public:
    // `units` are at least one. They stay the caller's.
    explicit Pattern(std::span<Unit const> units)
        : text(units),
          reach(std::min(units.size() - 1, kReach)),
          anchors{AnchorIn(0, reach / 3), AnchorIn(reach / 3, 2 * reach / 3),
                  AnchorIn(2 * reach / 3, reach)} {}

    std::size_t Length() const { return text.size(); }

    // Reads the units of `run`, the lower byte of each first, to the end of a match, or all of them; gives how many it
    // has read. Of a match that is under way, `matched` units have been read before, and afterwards.
    std::size_t ReadRun(std::span<Byte const> run, std::size_t& matched) const;

    // Reads one unit. What a failed partial match leaves is found in the pattern.
    void Read(Unit unit, std::size_t& matched) const {
        Unit const folded = Fold::Of(unit);
        while (matched > 0 && folded != At(matched)) matched -= Shift(matched);
        if (folded == At(matched)) ++matched;
    }

private:
    using Word = std::
        uint64_t;  // of neighbouring units, looked at together; the compiler makes longer vectors of them
    static constexpr std::size_t kLanes = sizeof(Word) / sizeof(Unit);
    static constexpr Word kOnes = ~Word{0} / static_cast<Unit>(-1);
    static constexpr std::size_t kGroup = 32;  // words; fewer are unrolled before they can become vectors

    // A match is looked for by three of its units, all so near to its first one that at the end of a run few places are
    // left that have to be looked at one by one, however long the pattern. They lie apart, and are rare ones if they
    // can be: each candidate that is none costs as much as passing some hundred places.
    static constexpr std::size_t kReach = 15;
    static constexpr char kCommonest[] = "\0 etaoinsrhldcumfpgwybv0123456789.,\n";

    // What each unit of a word must be to fit, once the bits of `either` are set.
    struct Anchor {
        std::ptrdiff_t offset;  // from the first unit of the match, in bytes
        Word either;
        Word value;
        Word Misfit(Byte const* place) const {
            Word word;
            std::memcpy(&word, place, sizeof word);
            return (std::is_same_v<Fold, Exact> ? word : word | either) ^ value;
        }
    };

    // The units of a run in the order of reading.
    struct Units {
        Byte const* first;
        std::size_t count;
        Byte const* Place(std::size_t n) const { return first + BytesTo(n); }
        Unit operator[](std::size_t n) const {
            Byte const* const at = Place(n);
            return static_cast<Unit>(sizeof(Unit) == 1 ? at[0] : at[0] | at[sizeof(Unit) - 1] << 8);
        }
    };
    static std::ptrdiff_t BytesTo(std::size_t n) {
        return Direction::kStep * static_cast<std::ptrdiff_t>(n * sizeof(Unit));
    }
    static Units UnitsOf(std::span<Byte const> run) {
        Byte const* const end = run.data() + run.size();
        return {Direction::kStep > 0 ? run.data() : end - sizeof(Unit), run.size() / sizeof(Unit)};
    }

    Unit At(std::size_t k) const { return Fold::Of(text[Direction::Index(text.size(), k)]); }

    // By how much a partial match of `matched` units has to move on, before it can be one again: the smallest shift
    // under which the pattern's own units agree, `matched` itself when there is none. Equality is that of the search, so
    // that the pattern's repetitions are judged with case folded too.
    std::size_t Shift(std::size_t matched) const {
        std::size_t shift = 1;
        while (!Repeats(shift, matched)) ++shift;
        return shift;
    }
    bool Repeats(std::size_t shift, std::size_t matched) const {
        for (std::size_t k = shift; k < matched; ++k) {
            if (At(k) != At(k - shift)) return false;
        }
        return true;
    }

    static Word InEachLane(Unit unit);
    std::size_t Rarity(std::size_t k) const;
    Anchor AnchorIn(std::size_t from, std::size_t to) const;
    template <std::size_t kWords>
    bool MayBeginIn(Byte const* low) const;
    template <std::size_t kWords>
    std::size_t Pass(Units const& units, std::size_t at) const;

    std::span<Unit const> text;
    std::size_t reach;
    Anchor anchors[3];
};

template <class Unit, class Direction, class Fold>
auto Pattern<Unit, Direction, Fold>::InEachLane(Unit unit) -> Word {
    Byte bytes[sizeof(Word)];
    for (std::size_t i = 0; i < sizeof bytes; ++i)
        bytes[i] = static_cast<Byte>(unit >> 8 * (i % sizeof unit));
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

template <class Unit, class Direction, class Fold>
std::size_t Pattern<Unit, Direction, Fold>::Rarity(std::size_t k) const {
    auto const unit = static_cast<Unit>(At(k) | Fold::Either(At(k)));
    return static_cast<std::size_t>(std::find(std::begin(kCommonest), std::end(kCommonest), unit) -
                                    kCommonest);
}

// The rarest unit from `from` to `to`.
template <class Unit, class Direction, class Fold>
auto Pattern<Unit, Direction, Fold>::AnchorIn(std::size_t from, std::size_t to) const -> Anchor {
    std::size_t best = from;
    for (std::size_t k = from + 1; k <= to; ++k) {
        if (Rarity(k) > Rarity(best)) best = k;
    }
    Unit const either = Fold::Either(At(best));
    return {BytesTo(best), InEachLane(either), InEachLane(static_cast<Unit>(At(best) | either))};
}

// Whether a match may begin at one of the places in a row of words, of which `low` is the lowest.
template <class Unit, class Direction, class Fold>
template <std::size_t kWords>
bool Pattern<Unit, Direction, Fold>::MayBeginIn(Byte const* low) const {
    Anchor const a = anchors[0], b = anchors[1], c = anchors[2];
    Byte const* const pa = low + a.offset;
    Byte const* const pb = low + b.offset;
    Byte const* const pc = low + c.offset;
    Word any = 0;
    for (std::size_t i = 0; i < kWords * sizeof(Word); i += sizeof(Word)) {
        Word const misfit = a.Misfit(pa + i) | b.Misfit(pb + i) | c.Misfit(pc + i);
        any |= (misfit - kOnes) & ~misfit;  // the top bit of the lowest lane without a misfit
    }
    return (any & kOnes << (8 * sizeof(Unit) - 1)) != 0;
}

// Passes rows of words as long as no match may begin in them. All the anchors of a row lie in the run, so that the last
// row may overlap the one before.
template <class Unit, class Direction, class Fold>
template <std::size_t kWords>
std::size_t Pattern<Unit, Direction, Fold>::Pass(Units const& units, std::size_t at) const {
    constexpr std::size_t kPlaces = kWords * kLanes;
    if (units.count < kPlaces + reach) return at;
    std::size_t const lastRow = units.count - reach - kPlaces;
    while (at < lastRow + kPlaces) {
        std::size_t const row = std::min(at, lastRow);
        if (MayBeginIn<kWords>(units.Place(Direction::kStep > 0 ? row : row + kPlaces - 1))) break;
        at = row + kPlaces;
    }
    return at;
}

template <class Unit, class Direction, class Fold>
std::size_t Pattern<Unit, Direction, Fold>::ReadRun(std::span<Byte const> run, std::size_t& matched) const {
    Units const units = UnitsOf(run);
    Unit const first = At(0);
    std::size_t at = 0;
    while (at < units.count && matched < text.size()) {
        if (matched == 0) {
            at = Pass<1>(units, Pass<kGroup>(units, at));
            while (at < units.count && Fold::Of(units[at]) != first) ++at;
            if (at == units.count) break;
        }
        Read(units[at++], matched);
    }
    return at;
}

}  // namespace vfile
