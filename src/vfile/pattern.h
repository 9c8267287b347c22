// A string of units, bytes or 16-bit ones, to be found in either direction and with or without regard to case: how
// units compare, and what a failed partial match leaves.
//
//   Memory    none beside the caller's string: no copy, no table. What a match under way has found out about the
//             pattern are six numbers.
//   Cost      linear in what is read, whatever the pattern and the text; no run is asked for twice.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

#include "vfile/first_units.h"
#include "vfile/unit_order.h"

namespace vfile {

// A match that is under way.
struct PartialMatch {
    std::size_t matched = 0;  // units

    // Units of the pattern, `from` up to `held`, which the text is known to hold before its next unit, and which are to
    // be read again, before that one.
    std::size_t from = 0;
    std::size_t held = 0;

    // Of the first `repeats` + `more` units of the pattern: the suffix that is the greatest in their order begins at
    // `suffix`. It repeats its first `period` units up to `repeats`, and `more` units, fewer than a period, behind it.
    std::size_t suffix = 0;
    std::size_t repeats = 1;
    std::size_t more = 0;
    std::size_t period = 1;

    bool IsNone() const { return matched == 0 && from == held; }
    void ForgetSuffix() { suffix = more = 0, repeats = period = 1; }
};

template <class Unit, class Direction, class Fold>
class Pattern {
public:
    // `units` are at least one. They stay the caller's.
    explicit Pattern(std::span<Unit const> units) : text(units), firstUnits(units) {}

    std::size_t Length() const { return text.size(); }

    // Reads the units of `run`, the lower byte of each first, to the end of a match, or all of them; gives how many it
    // has read.
    std::size_t ReadRun(std::span<Byte const> run, PartialMatch& match) const;

    // Reads one unit, behind those that are to be read again.
    void Read(Unit unit, PartialMatch& match) const;

private:
    using Units = UnitsOfRun<Unit, Direction>;

    static constexpr std::size_t kTogether = 64;  // units that are compared in one go

    Unit At(std::size_t k) const { return Fold::Of(text[Direction::Index(text.size(), k)]); }
    void GrowSuffix(PartialMatch& match) const;
    bool RepeatsAtOnce(PartialMatch const& match) const;
    void Fail(Unit folded, PartialMatch& match) const;
    std::size_t PassRepeats(Units const& units, std::size_t at, std::size_t period,
                            PartialMatch& match) const;

    std::span<Unit const> text;
    FirstUnits<Unit, Direction, Fold> firstUnits;
};

template <class Unit, class Direction, class Fold>
void Pattern<Unit, Direction, Fold>::Read(Unit unit, PartialMatch& match) const {
    Unit const folded = Fold::Of(unit);
    for (;;) {
        bool const again = match.from < match.held;
        Unit const next = again ? At(match.from) : folded;
        if (next != At(match.matched) && match.matched > 0) {
            Fail(next, match);
            continue;
        }
        if (next == At(match.matched)) ++match.matched;
        if (!again) return;
        ++match.from;
    }
}

// Brings what is known of the greatest suffix up to the units that are matched. From none to all of them it takes two
// comparisons a unit at most.
template <class Unit, class Direction, class Fold>
void Pattern<Unit, Direction, Fold>::GrowSuffix(PartialMatch& match) const {
    while (match.repeats + match.more < match.matched) {
        Unit const next = At(match.repeats + match.more);
        Unit const expected = At(match.suffix + match.more);
        if (next > expected) {  // a greater suffix begins where the last repetition ended
            match.suffix = match.repeats++;
            match.more = 0;
            match.period = 1;
        } else if (next < expected) {  // it repeats nothing any more
            match.repeats += match.more + 1;
            match.more = 0;
            match.period = match.repeats - match.suffix;
        } else if (++match.more == match.period) {
            match.repeats += match.period;
            match.more = 0;
        }
    }
}

// Whether the matched units repeat with the period of their greatest suffix from the first one on.
template <class Unit, class Direction, class Fold>
bool Pattern<Unit, Direction, Fold>::RepeatsAtOnce(PartialMatch const& match) const {
    if (match.suffix > match.period) return false;
    for (std::size_t k = 0; k < match.suffix; ++k) {
        if (At(k) != At(k + match.period)) return false;
    }
    return true;
}

// Moves a match on that the unit `folded` does not continue, by no more than the smallest shift under which the matched
// units agree with themselves. With u v for them, v the greatest suffix, of period p:
//
//   u ends v's first period    that shift is p; the rest stays matched
//   it does not                the shift is larger than u, and than v or than u with the full repetitions of v. That
//                              is half of the matched units at least, so that the rest may well be read again: from
//                              the pattern, since that is what the text was equal to
//
// After M. Crochemore, String-matching on ordered alphabets, Theoretical Computer Science 92 (1992).
template <class Unit, class Direction, class Fold>
void Pattern<Unit, Direction, Fold>::Fail(Unit folded, PartialMatch& match) const {
    GrowSuffix(match);
    if (!RepeatsAtOnce(match)) {
        std::size_t const shift =
            std::max(match.suffix, std::min(match.matched - match.suffix, match.repeats)) + 1;
        if (match.from == match.held) match.from = match.held = match.matched;
        match.from -= match.matched - shift;
        match.matched = 0;
        match.ForgetSuffix();
        return;
    }
    bool const ends =
        folded != At(match.matched - match.period);  // so that it continues none of the repetitions
    if (ends && match.matched >= 2 * match.period) {
        match.matched = match.period + match.matched % match.period;
        match.ForgetSuffix();
        return;
    }
    match.matched -= match.period;
    if (match.repeats - match.suffix > match.period) {
        match.repeats -= match.period;
    } else {
        match.ForgetSuffix();
    }
}

// Once a unit has moved a match on by `period`, that many of the text's last units repeat. As long as it goes on with
// them the match will be moved on again and again, each time by as much, and nothing has to be asked.
template <class Unit, class Direction, class Fold>
std::size_t Pattern<Unit, Direction, Fold>::PassRepeats(Units const& units, std::size_t at,
                                                        std::size_t period, PartialMatch& match) const {
    std::size_t const from = at;
    auto const repeats = [&](std::size_t n) { return Fold::Of(units[n]) == Fold::Of(units[n - period]); };
    for (bool all = true; all && units.count - at >= kTogether;) {
        for (std::size_t n = at; n < at + kTogether; ++n) all &= repeats(n);
        if (all) at += kTogether;
    }
    while (at < units.count && repeats(at)) ++at;
    match.matched += (at - from) % period;
    return at;
}

// What little a failed match leaves is given up where many places can be looked at together instead.
template <class Unit, class Direction, class Fold>
std::size_t Pattern<Unit, Direction, Fold>::ReadRun(std::span<Byte const> run, PartialMatch& match) const {
    Units const units(run);
    std::size_t at = 0;
    while (at < units.count && match.matched < text.size()) {
        if (match.IsNone()) {
            at = firstUnits.Find(units, at);
            if (at == units.count) break;
        }
        std::size_t const before = match.matched;
        Read(units[at++], match);
        std::size_t const shift = before + 1 - match.matched;
        if (shift == 0 || match.matched == 0 || match.matched == text.size()) continue;
        if (match.matched <= at && firstUnits.SeesBeyond(match.matched, units.count - at)) {
            at -= match.matched;
            match = {};
        } else if (shift <= at) {
            at = PassRepeats(units, at, shift, match);
        }
    }
    return at;
}

}  // namespace vfile
