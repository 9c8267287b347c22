// In which order units are read, under which they are equal, and where those of a run lie.
#pragma once

#include <cstddef>
#include <span>

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

// How far apart, in bytes, a unit and the one that is read `n` later lie.
template <class Unit, class Direction>
constexpr std::ptrdiff_t BytesTo(std::size_t n) {
    return Direction::kStep * static_cast<std::ptrdiff_t>(n * sizeof(Unit));
}

// The units of a run in the order of reading, the lower byte of each first.
template <class Unit, class Direction>
struct UnitsOfRun {
    Byte const* first;
    std::size_t count;

    explicit UnitsOfRun(std::span<Byte const> run)
        : first(Direction::kStep > 0 ? run.data() : run.data() + run.size() - sizeof(Unit)),
          count(run.size() / sizeof(Unit)) {}
    Byte const* Place(std::size_t n) const { return first + BytesTo<Unit, Direction>(n); }
    Unit operator[](std::size_t n) const {
        Byte const* const at = Place(n);
        return static_cast<Unit>(sizeof(Unit) == 1 ? at[0] : at[0] | at[sizeof(Unit) - 1] << 8);
    }
};

}  // namespace vfile
