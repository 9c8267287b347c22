// Finds the bytes of line ends, CR and LF, in a run.
#pragma once

#include <cstddef>
#include <span>

namespace vfile {

namespace eol_scan {

// Bytes that are looked at together. The compiler makes vectors of them.
inline constexpr std::size_t kGroup = 32;

inline bool IsEol(unsigned char b) { return b == '\r' || b == '\n'; }

inline bool GroupHasEol(unsigned char const* group) {
    unsigned char any = 0;
    for (std::size_t i = 0; i < kGroup; ++i) {
        any |= static_cast<unsigned char>(static_cast<unsigned char>(group[i] == '\r') |
                                          static_cast<unsigned char>(group[i] == '\n'));
    }
    return any != 0;
}

}  // namespace eol_scan

// The bytes before the first byte of a line end, all when there is none.
inline std::size_t BytesBeforeEol(std::span<unsigned char const> run) {
    using namespace eol_scan;
    std::size_t n = 0;
    while (run.size() - n >= kGroup && !GroupHasEol(run.data() + n)) n += kGroup;
    while (n < run.size() && !IsEol(run[n])) ++n;
    return n;
}

// The bytes behind the last byte of a line end, all when there is none.
inline std::size_t BytesBehindEol(std::span<unsigned char const> run) {
    using namespace eol_scan;
    std::size_t left = run.size();
    while (left >= kGroup && !GroupHasEol(run.data() + left - kGroup)) left -= kGroup;
    while (left > 0 && !IsEol(run[left - 1])) --left;
    return run.size() - left;
}

}  // namespace vfile
