// Checked conversions at their limits, orders of halves and bytes.
#include <gtest/gtest.h>
#include <vfile/numbers.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/halts.h"

namespace vfile::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(Conversions, StopOutsideTheirRange) {
    NoteHalts halts;
    for (std::int32_t const x :
         {0, 32767, 32768, 40000, 65535, 65536, MaxLen, -1, -32768, -40000, -65536, -65537, SameLen}) {
        auto const expectStop = [&](int number) {
            std::string const text = "Fatal Error " + std::to_string(number) + " in module HSys ";
            std::vector<TString> const wanted(number ? 1 : 0, TString(text.begin(), text.end()));
            EXPECT_EQ(halts.Take(), wanted) << x;
        };
        EXPECT_EQ(Short(x), static_cast<std::int16_t>(x));  // the low half, also where the stop returned
        expectStop(x > 65535 ? 1 : x < -65536 ? 2 : 0);
        EXPECT_EQ(ShortC(x), static_cast<std::uint16_t>(x));
        expectStop(x > 65535 || x < 0 ? 3 : 0);
    }
}

TEST(Conversions, LongTruncSaturatesAlikeAtBothEnds) {
    std::vector<double> values = {
        0.0,          0.5,          9999.9999,    10000.0, 65536.75,
        2147483647.0, 2147483647.5, 2147483648.0, 1e300,   std::numeric_limits<double>::infinity()};
    for (double whole = 10'000; whole < MaxLen; whole = std::floor(whole * 1.7)) {
        values.push_back(std::nextafter(whole, 0));
    }
    for (double const x : values) {
        double const wanted = std::min<double>(std::trunc(x), MaxLen);
        EXPECT_EQ(LongTrunc(x), wanted) << x;
        EXPECT_EQ(LongTrunc(-x), -wanted) << -x;
    }
    EXPECT_EQ(LongTrunc(kNan), 0);
}

// The same three for every integer type, each at its limits.
template <class T>
void ExpectOrder(T (*max)(T, T), T (*min)(T, T), T (*sign)(T)) {
    for (T const large : {T{1}, std::numeric_limits<T>::max()}) {
        for (T const small : {T{-1}, std::numeric_limits<T>::lowest()}) {
            EXPECT_TRUE(max(small, large) == large && max(large, small) == large);
            EXPECT_TRUE(min(small, large) == small && min(large, small) == small);
            EXPECT_TRUE(sign(large) == 1 && sign(small) == -1 && sign(0) == 0);
        }
    }
}

TEST(Numbers, MaximumMinimumSign) {
    ExpectOrder(MaxS, MinS, SignS), ExpectOrder(Max, Min, Sign), ExpectOrder(MaxL, MinL, SignL);
    ExpectOrder(MaxQ, MinQ, SignQ), ExpectOrder(
                                        MaxR, MinR, +[](double x) { return x > -1 && x < 1 ? 0 : SignR(x); });
    EXPECT_TRUE(SignQ(std::int64_t{1} << 32) == 1 && SignQ(-(std::int64_t{1} << 32)) == -1);
    EXPECT_TRUE(std::signbit(MaxR(0.0, -0.0)) && std::signbit(MinR(0.0, -0.0)) &&
                !std::signbit(MaxR(-0.0, 0.0)));
    EXPECT_TRUE(MaxR(kNan, 1) == 1 && MinR(kNan, 1) == 1 && std::isnan(MaxR(1, kNan)) &&
                std::isnan(MinR(1, kNan)));
    EXPECT_TRUE(SignR(kNan) == 0 && SignR(-0.0) == 0 && !std::signbit(SignR(-0.0)) && SignR(-1e-300) == -1);
}

TEST(Numbers, PartsComeMostSignificantFirst) {
    for (std::uint32_t const bits : {0u, 0x01020304u, 0x80FF7F01u, 0xFF800180u, 0xFFFFFFFFu}) {
        std::int32_t const x = Int(bits);
        std::uint16_t high, low;
        Short2(x, high, low);
        EXPECT_TRUE(high == bits >> 16 && low == (bits & 0xFFFF) && HI(x) == high && LO(x) == low) << bits;
        char b[4], h, l;
        Extract4(x, b[0], b[1], b[2], b[3]);
        for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(b[i], static_cast<char>(bits >> (24 - 8 * i))) << bits;
        auto const half = static_cast<std::int16_t>(low);
        Extract2(half, h, l);
        EXPECT_TRUE(h == b[2] && l == b[3] && Build2(h, l) == half) << bits;
        EXPECT_TRUE(Long2(high, low) == x && Build4(b[0], b[1], b[2], b[3]) == x) << bits;
        EXPECT_TRUE(Card(x) == bits && LongC(bits) == x && Long(x) == x && LongFloat(x) == x) << bits;
    }
}

}  // namespace
}  // namespace vfile::test
