// Finds the units of line ends, CR and LF, in a run of bytes at any alignment.
#pragma once

#include <cstddef>

#include "text/units.h"

namespace vfile {

inline bool IsEolUnit(TChar unit) { return unit == u'\r' || unit == u'\n'; }

// The units before the first one of a line end, `count` when there is none.
inline std::size_t UnitsBeforeEol(unsigned char const* run, std::size_t count) {
    constexpr std::size_t kGroup = 16;  // looked at together: the compiler makes vectors of them
    std::size_t at = 0;
    for (; count - at >= kGroup; at += kGroup) {
        TChar any = 0;
        for (std::size_t i = at; i < at + kGroup; ++i) {
            TChar const unit = UnitAt(run + 2 * i);
            any |= static_cast<TChar>(static_cast<TChar>(unit == u'\r') | static_cast<TChar>(unit == u'\n'));
        }
        if (any != 0) break;
    }
    while (at < count && !IsEolUnit(UnitAt(run + 2 * at))) ++at;
    return at;
}

}  // namespace vfile
