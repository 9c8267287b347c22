// Where in a run a match may begin: many places are looked at together.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <type_traits>

#include "vfile/unit_order.h"

namespace vfile {

template <class Unit, class Direction, class Fold>
class FirstUnits {
public:
    using Units = UnitsOfRun<Unit, Direction>;

    // `pattern` is at least one unit. It stays the caller's.
    explicit FirstUnits(std::span<Unit const> pattern)
        : text(pattern),
          reach(std::min(pattern.size() - 1, kReach)),
          anchors{RarestIn(0, reach / 3), RarestIn(reach / 3, 2 * reach / 3),
                  RarestIn(2 * reach / 3, reach)} {}

    // The next place from `at` on where as many of the pattern's first units stand as are looked at, or only its first
    // one, where the run ends too soon for the others; all that there are, when there is none.
    std::size_t Find(Units const& units, std::size_t at) const;

    // Whether a look from `back` units before a place on, which has `ahead` of them behind it, ends behind that place.
    bool SeesBeyond(std::size_t back, std::size_t ahead) const {
        return back <= reach && ahead >= kRowPlaces + reach;
    }

private:
    // Neighbouring units, looked at together; the compiler makes longer vectors of them.
    using Word = std::uint64_t;
    static constexpr std::size_t kLanes = sizeof(Word) / sizeof(Unit);
    static constexpr Word kOnes = ~Word{0} / static_cast<Unit>(-1);
    static constexpr std::size_t kGroup = 32;  // words; fewer are unrolled before they can become vectors
    static constexpr std::size_t kRow = 8;     // words that are looked at closely
    static constexpr std::size_t kGroupPlaces = kGroup * kLanes;
    static constexpr std::size_t kRowPlaces = kRow * kLanes;

    // No more than so many units behind the first one, so that at the end of a run few places are left that have to be
    // looked at one by one, however long the pattern.
    static constexpr std::size_t kReach = 15;
    static constexpr char kCommonest[] = "\0 etaoinsrhldcumfpgwybv0123456789.,\n";

    // What each unit of a word must be to fit, once the bits of `either` are set.
    struct Anchor {
        std::ptrdiff_t offset;  // from the first unit of the match, in bytes
        Word either;
        Word value;
        Word Misfit(Byte const* place) const {
            Word word;
            std::memcpy(&word, place + offset, sizeof word);
            return (std::is_same_v<Fold, Exact> ? word : word | either) ^ value;
        }
    };

    Unit At(std::size_t k) const { return Fold::Of(text[Direction::Index(text.size(), k)]); }
    static Word InEachLane(Unit unit);
    Anchor AnchorAt(std::size_t k) const;
    std::size_t Rarity(std::size_t k) const;
    Anchor RarestIn(std::size_t from, std::size_t to) const;

    // The lowest byte of a row of words whose first place in the order of reading is `at`.
    template <std::size_t kWords>
    static Byte const* LowOf(Units const& units, std::size_t at) {
        return units.Place(Direction::kStep > 0 ? at : at + kWords * kLanes - 1);
    }
    bool MayBeginIn(Byte const* low) const;
    std::size_t FitIn(Byte const* low, std::size_t n) const;
    std::size_t FindInGroup(Units const& units, std::size_t at, std::size_t end) const;

    std::span<Unit const> text;
    std::size_t reach;

    // Three of the units that are looked at. They lie apart, and are rare ones if they can be.
    Anchor anchors[3];
};

template <class Unit, class Direction, class Fold>
auto FirstUnits<Unit, Direction, Fold>::InEachLane(Unit unit) -> Word {
    if constexpr (sizeof unit > 1 && std::endian::native == std::endian::big) {
        unit = static_cast<Unit>(unit << 8 | unit >> 8);
    }
    return unit * kOnes;
}

template <class Unit, class Direction, class Fold>
auto FirstUnits<Unit, Direction, Fold>::AnchorAt(std::size_t k) const -> Anchor {
    Unit const either = Fold::Either(At(k));
    return {BytesTo<Unit, Direction>(k), InEachLane(either), InEachLane(static_cast<Unit>(At(k) | either))};
}

template <class Unit, class Direction, class Fold>
std::size_t FirstUnits<Unit, Direction, Fold>::Rarity(std::size_t k) const {
    auto const unit = static_cast<Unit>(At(k) | Fold::Either(At(k)));
    return static_cast<std::size_t>(std::find(std::begin(kCommonest), std::end(kCommonest), unit) -
                                    kCommonest);
}

template <class Unit, class Direction, class Fold>
auto FirstUnits<Unit, Direction, Fold>::RarestIn(std::size_t from, std::size_t to) const -> Anchor {
    std::size_t best = from;
    for (std::size_t k = from + 1; k <= to; ++k) {
        if (Rarity(k) > Rarity(best)) best = k;
    }
    return AnchorAt(best);
}

// Whether a match may begin at one of the places in a group of words, of which `low` is the lowest byte.
template <class Unit, class Direction, class Fold>
bool FirstUnits<Unit, Direction, Fold>::MayBeginIn(Byte const* low) const {
    Anchor const a = anchors[0], b = anchors[1], c = anchors[2];
    Word any = 0;
    for (std::size_t i = 0; i < kGroup * sizeof(Word); i += sizeof(Word)) {
        Word const misfit = a.Misfit(low + i) | b.Misfit(low + i) | c.Misfit(low + i);
        any |= (misfit - kOnes) & ~misfit;  // the top bit of the lowest lane without a misfit
    }
    return (any & kOnes << (8 * sizeof(Unit) - 1)) != 0;
}

// The first place in a row, from its place `n` on in the order of reading, where all that is looked at fits; the number
// of its places when there is none.
template <class Unit, class Direction, class Fold>
std::size_t FirstUnits<Unit, Direction, Fold>::FitIn(Byte const* low, std::size_t n) const {
    Word misfit[kRow] = {};
    for (std::size_t k = 0; k <= reach; ++k) {
        Anchor const anchor = AnchorAt(k);
        for (std::size_t i = 0; i < kRow; ++i) misfit[i] |= anchor.Misfit(low + i * sizeof(Word));
    }
    Unit lanes[kRowPlaces];
    std::memcpy(lanes, misfit, sizeof lanes);
    while (n < kRowPlaces && lanes[Direction::kStep > 0 ? n : kRowPlaces - 1 - n] != 0) ++n;
    return n;
}

template <class Unit, class Direction, class Fold>
std::size_t FirstUnits<Unit, Direction, Fold>::FindInGroup(Units const& units, std::size_t at,
                                                           std::size_t end) const {
    while (at < end) {
        std::size_t const row = std::min(at, end - kRowPlaces);
        std::size_t const fit = row + FitIn(LowOf<kRow>(units, row), at - row);
        if (fit < row + kRowPlaces) return fit;
        at = fit;
    }
    return end;
}

// All that is looked at lies in the run, so that the last group may overlap the one before.
template <class Unit, class Direction, class Fold>
std::size_t FirstUnits<Unit, Direction, Fold>::Find(Units const& units, std::size_t at) const {
    if (at > 0 && units.count - at >= kRowPlaces + reach) {  // behind a false start the next one may be near
        std::size_t const fit = at + FitIn(LowOf<kRow>(units, at), 0);
        if (fit < at + kRowPlaces) return fit;
        at = fit;
    }
    for (std::size_t const places : {kGroupPlaces, kRowPlaces}) {
        if (units.count < places + reach) continue;
        std::size_t const last = units.count - reach;  // one past the last place with all of them in the run
        while (at < last) {
            std::size_t const from = std::min(at, last - places);
            bool const close = places == kRowPlaces || MayBeginIn(LowOf<kGroup>(units, from));
            std::size_t const fit = close ? FindInGroup(units, at, from + places) : from + places;
            if (fit < from + places) return fit;
            at = fit;
        }
    }
    Unit const first = At(0);
    while (at < units.count && Fold::Of(units[at]) != first) ++at;
    return at;
}

}  // namespace vfile
