// Units and bytes of a text.
#pragma once

#include <vfile/types.h>

#include <bit>
#include <cstdint>
#include <cstring>

namespace vfile {

// Bytes for a position or a count in units. What is negative or too great for any text becomes MaxLen, which
// every operation clips.
constexpr std::int32_t TCharsToBytes(std::int32_t n) {
    return static_cast<std::uint32_t>(n) > 0x3FFFFFFF ? MaxLen : n * 2;
}

// The unit in the two bytes at `at`, low byte first.
inline TChar UnitAt(unsigned char const* at) {
    TChar unit;
    std::memcpy(&unit, at, sizeof unit);
    if constexpr (std::endian::native == std::endian::big) unit = static_cast<TChar>(unit << 8 | unit >> 8);
    return unit;
}

}  // namespace vfile
