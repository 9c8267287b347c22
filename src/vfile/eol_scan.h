// Finds the bytes of line ends, CR and LF, in a run.
#pragma once

#include <cstddef>
#include <cstring>
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

// The bytes before the first `byte`, all when there is none.
inline std::size_t BytesBefore(unsigned char byte, std::span<unsigned char const> run) {
    void const* const found = std::memchr(run.data(), byte, run.size());
    return found ? static_cast<std::size_t>(static_cast<unsigned char const*>(found) - run.data())
                 : run.size();
}

// The bytes before the first byte of a line end, all when there is none. Two library scans, the second over what is
// left of the first: a line is short, and they are faster than any loop here.
inline std::size_t BytesBeforeEol(std::span<unsigned char const> run) {
    return BytesBefore('\r', run.first(BytesBefore('\n', run)));
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
