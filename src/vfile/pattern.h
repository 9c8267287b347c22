// A byte string to be found, in either direction and with or without regard to case: how its bytes compare, how
// it is found inside a run of bytes, and what a failed partial match leaves.
//
//   Memory    none beside the caller's string: no copy, no table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vfile {

using Byte = unsigned char;

// Under which bytes are equal. Folding goes by ASCII alone, so that the result is the same in every locale.
struct ExactBytes {
    static constexpr Byte Of(Byte b) { return b; }
};
struct FoldedBytes {
    static constexpr Byte Of(Byte b) {
        return static_cast<Byte>(static_cast<Byte>(b - 'a') < 26 ? b - ('a' - 'A') : b);
    }
};

// The order in which the bytes of file and pattern are read: byte k of a pattern of `len` is the one at Index, and the
// byte read next lies kStep further.
struct Upward {
    static constexpr std::int32_t Index(std::int32_t, std::int32_t k) { return k; }
    static constexpr std::ptrdiff_t kStep = 1;
};
struct Downward {
    static constexpr std::int32_t Index(std::int32_t len, std::int32_t k) { return len - 1 - k; }
    static constexpr std::ptrdiff_t kStep = -1;
};

template <class Direction, class Fold>
class BytePattern {
public:
    BytePattern(char const* text, std::int32_t length)
        : bytes(reinterpret_cast<Byte const*>(text)), len(length), first(At(0)), last(At(length - 1)) {}

    std::int32_t Length() const { return len; }

    // Whether `b` is the pattern's byte `k` in the order of reading.
    bool Has(Byte b, std::int32_t k) const { return Fold::Of(b) == At(k); }

    // By how much a partial match of `matched` bytes has to move on, before it can be one again: the smallest
    // shift under which the pattern's own bytes agree, `matched` itself when there is none. Equality is that of the
    // search, so that the pattern's repetitions are judged with case folded too.
    std::int32_t Shift(std::int32_t matched) const {
        std::int32_t shift = 1;
        while (!Repeats(shift, matched)) ++shift;
        return shift;
    }

    // The bytes of `run` that are read before the first whole match in it begins; if there is none, those before
    // the first place where one could begin that goes on behind the run.
    struct Place {
        std::size_t passed;
        bool whole;
    };
    Place FindIn(std::span<Byte const> run) const;

private:
    // Positions that are looked at together. The compiler makes vectors of them.
    static constexpr std::size_t kGroup = 32;

    Byte At(std::int32_t k) const { return Fold::Of(bytes[Direction::Index(len, k)]); }

    bool Repeats(std::int32_t shift, std::int32_t matched) const {
        for (std::int32_t k = shift; k < matched; ++k) {
            if (At(k) != At(k - shift)) return false;
        }
        return true;
    }

    // Byte `n` of the reading that starts at `from`.
    static Byte const* Read(Byte const* from, std::size_t n) {
        return from + Direction::kStep * static_cast<std::ptrdiff_t>(n);
    }

    bool MayBeginInGroup(Byte const* from) const;
    bool IsAt(Byte const* from) const;

    Byte const* bytes;
    std::int32_t len;
    Byte first;  // in the order of reading, folded; most candidates fail by them
    Byte last;
};

template <class Direction, class Fold>
bool BytePattern<Direction, Fold>::MayBeginInGroup(Byte const* from) const {
    Byte const* const low = Direction::kStep > 0 ? from : from - (kGroup - 1);
    Byte const* const end = Read(low, static_cast<std::size_t>(len - 1));
    Byte any = 0;
    for (std::size_t i = 0; i < kGroup; ++i) {
        any |= static_cast<Byte>(static_cast<Byte>(Fold::Of(low[i]) == first) &
                                 static_cast<Byte>(Fold::Of(end[i]) == last));
    }
    return any != 0;
}

template <class Direction, class Fold>
bool BytePattern<Direction, Fold>::IsAt(Byte const* from) const {
    for (std::int32_t k = 0; k < len; ++k) {
        if (!Has(*Read(from, static_cast<std::size_t>(k)), k)) return false;
    }
    return true;
}

template <class Direction, class Fold>
auto BytePattern<Direction, Fold>::FindIn(std::span<Byte const> run) const -> Place {
    Byte const* const from = Direction::kStep > 0 ? run.data() : run.data() + run.size() - 1;
    auto const m = static_cast<std::size_t>(len);
    std::size_t const wholes = run.size() >= m ? run.size() - m + 1 : 0;  // where a whole match may begin
    std::size_t at = 0;
    while (at < wholes) {
        std::size_t const n = wholes - at < kGroup ? wholes - at : kGroup;
        if (n == kGroup && !MayBeginInGroup(Read(from, at))) {
            at += kGroup;
            continue;
        }
        for (std::size_t const end = at + n; at < end; ++at) {
            if (IsAt(Read(from, at))) return {at, true};
        }
    }
    while (at < run.size() && !Has(*Read(from, at), 0)) ++at;
    return {at, false};
}

}  // namespace vfile
