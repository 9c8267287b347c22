/// Numbers: checked and plain conversions, maximum, minimum and sign by width, halves and bytes.
///
///   Names     a letter tells the type: R is `double`, Q 64-bit, L and no letter 32-bit, S 16-bit, all
///             signed
///   Order     where a number is cut into parts or put together, the most significant part comes first.
///   Stops     Short and ShortC alone; nothing else checks anything.
///   Threads   any; nothing is shared.
#pragma once

#include <vfile/export.h>
#include <vfile/types.h>

namespace vfile {

/// The low half of `x`. Stops with `Fatal("HSys", 1)` when `x` is not negative and has bits in its high half,
/// and with `Fatal("HSys", 2)` when `x` is negative and its high half is not all ones. What passes is thus
/// -65536 to 65535, wider than the result: 40000 passes and comes back as -25536. Should the halt procedure
/// return, the low half is the result all the same.
VFILE_EXPORT std::int16_t Short(std::int32_t x);

/// The low half of `x`, from 0 to 65535. Anything else, every negative value included, stops with
/// `Fatal("HSys", 3)`; should the halt procedure return, the low half is the result.
VFILE_EXPORT std::uint16_t ShortC(std::int32_t x);

/// `x` cut toward zero and kept within -2147483647 and 2147483647, both ends alike. A NaN gives 0.
VFILE_EXPORT std::int32_t LongTrunc(double x);

/// `x` as it is; its 32 bits as a signed, as an unsigned number; its exact value as a `double`.
constexpr std::int32_t Long(std::int32_t x) { return x; }
constexpr std::int32_t LongC(std::uint32_t x) { return static_cast<std::int32_t>(x); }
constexpr std::uint32_t Card(std::int32_t x) { return static_cast<std::uint32_t>(x); }
constexpr std::int32_t Int(std::uint32_t x) { return static_cast<std::int32_t>(x); }
constexpr double LongFloat(std::int32_t x) { return x; }

/// `a` when it is strictly larger, else `b`. MaxR gives `a` when `b` is below it, so a NaN on either side
/// gives `b`, and so do two zeros.
constexpr double MaxR(double a, double b) { return b < a ? a : b; }
constexpr std::int64_t MaxQ(std::int64_t a, std::int64_t b) { return a > b ? a : b; }
constexpr std::int32_t MaxL(std::int32_t a, std::int32_t b) { return a > b ? a : b; }
constexpr std::int32_t Max(std::int32_t a, std::int32_t b) { return a > b ? a : b; }
constexpr std::int16_t MaxS(std::int16_t a, std::int16_t b) { return a > b ? a : b; }

/// `a` when it is strictly smaller, else `b`; MinR likewise gives `b` for a NaN on either side and for two
/// zeros.
constexpr double MinR(double a, double b) { return b > a ? a : b; }
constexpr std::int64_t MinQ(std::int64_t a, std::int64_t b) { return a < b ? a : b; }
constexpr std::int32_t MinL(std::int32_t a, std::int32_t b) { return a < b ? a : b; }
constexpr std::int32_t Min(std::int32_t a, std::int32_t b) { return a < b ? a : b; }
constexpr std::int16_t MinS(std::int16_t a, std::int16_t b) { return a < b ? a : b; }

/// 1, -1 or 0 for a positive, a negative value and zero; SignR gives 0.0 for a NaN and for zero of either
/// sign.
constexpr double SignR(double x) { return x > 0 ? 1.0 : x < 0 ? -1.0 : 0.0; }
constexpr std::int64_t SignQ(std::int64_t x) { return x > 0 ? 1 : x < 0 ? -1 : 0; }
constexpr std::int32_t SignL(std::int32_t x) { return x > 0 ? 1 : x < 0 ? -1 : 0; }
constexpr std::int32_t Sign(std::int32_t x) { return x > 0 ? 1 : x < 0 ? -1 : 0; }
constexpr std::int16_t SignS(std::int16_t x) { return x > 0 ? 1 : x < 0 ? -1 : 0; }

/// Halves of a 32-bit number: bits 0 to 15, bits 16 to 31.
constexpr std::uint16_t LO(std::int32_t x) { return static_cast<std::uint16_t>(Card(x)); }
constexpr std::uint16_t HI(std::int32_t x) { return static_cast<std::uint16_t>(Card(x) >> 16); }

constexpr void Short2(std::int32_t x, std::uint16_t& high, std::uint16_t& low) {
    high = HI(x);
    low = LO(x);
}
constexpr std::int32_t Long2(std::uint16_t high, std::uint16_t low) {
    return Int(std::uint32_t{high} << 16 | low);
}

/// The bytes of a 16-bit and of a 32-bit number.
constexpr void Extract2(std::int16_t x, char& high, char& low) {
    high = static_cast<char>(Card(x) >> 8 & 0xFF);
    low = static_cast<char>(Card(x) & 0xFF);
}
constexpr std::int16_t Build2(char high, char low) {
    return static_cast<std::int16_t>(static_cast<unsigned char>(high) << 8 | static_cast<unsigned char>(low));
}
constexpr void Extract4(std::int32_t x, char& b3, char& b2, char& b1, char& b0) {
    Extract2(static_cast<std::int16_t>(HI(x)), b3, b2);
    Extract2(static_cast<std::int16_t>(LO(x)), b1, b0);
}
constexpr std::int32_t Build4(char b3, char b2, char b1, char b0) {
    return Long2(static_cast<std::uint16_t>(Build2(b3, b2)), static_cast<std::uint16_t>(Build2(b1, b0)));
}

}  // namespace vfile
