// Checked conversions at their limits, orders of halves and bytes.
#include <gtest/gtest.h>
#include <vfile/numbers.h>

#include <cmath>
#include <limits>
#include <tuple>

#include "support/halts.h"

namespace vfile::test {
namespace {

TEST(Conversions, StopOutsideTheirRange) {
    constexpr struct {
        std::int32_t x;
        int stopOfShort, stopOfShortC;  // number of the fatal stop, 0 for none
        std::int16_t low;
    } kCases[] = {
        {0,       0, 0, 0     },
        {32767,   0, 0, 32767 },
        {32768,   0, 0, -32768},
        {40000,   0, 0, -25536},
        {65535,   0, 0, -1    },
        {65536,   1, 3, 0     },
        {MaxLen,  1, 3, -1    },
        {-1,      0, 3, -1    },
        {-40000,  0, 3, 25536 },
        {-65536,  0, 3, 0     },
        {-65537,  2, 3, -1    },
        {SameLen, 2, 3, 0     },
    };
    NoteHalts halts;
    auto const expectStop = [&](int number) {
        std::vector<TString> wanted;
        if (number)
            wanted.push_back(u"Fatal Error " + TString(1, static_cast<TChar>(u'0' + number)) +
                             u" in module HSys ");
        EXPECT_EQ(halts.Take(), wanted);
    };
    for (auto const& c : kCases) {
        SCOPED_TRACE(c.x);
        EXPECT_EQ(Short(c.x), c.low);
        expectStop(c.stopOfShort);
        EXPECT_EQ(ShortC(c.x), static_cast<std::uint16_t>(c.low));
        expectStop(c.stopOfShortC);
    }
}

TEST(Conversions, LongTruncSaturatesAlikeAtBothEnds) {
    constexpr struct {
        double x;
        std::int32_t truncated;
    } kCases[] = {
        {0.0,                                       0         },
        {0.5,                                       0         },
        {9999.9999,                                 9999      },
        {10000.0,                                   10000     },
        {65536.75,                                  65536     },
        {2147483646.99,                             2147483646},
        {2147483647.0,                              MaxLen    },
        {2147483647.5,                              MaxLen    },
        {2147483648.0,                              MaxLen    },
        {1e300,                                     MaxLen    },
        {std::numeric_limits<double>::infinity(),   MaxLen    },
        {std::numeric_limits<double>::denorm_min(), 0         },
    };
    for (auto const& c : kCases) {
        EXPECT_EQ(LongTrunc(c.x), c.truncated) << c.x;
        EXPECT_EQ(LongTrunc(-c.x), -c.truncated) << -c.x;
    }
    EXPECT_EQ(LongTrunc(std::numeric_limits<double>::quiet_NaN()), 0);
    for (double multiple = 10'000; multiple < MaxLen; multiple *= 1.7) {  // just below whole numbers too
        double const below = std::nextafter(std::floor(multiple), 0);
        EXPECT_EQ(LongTrunc(below), static_cast<std::int32_t>(below)) << below;
    }
}

TEST(Numbers, MaximumMinimumSign) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::signbit(MaxR(0.0, -0.0)) && std::signbit(MinR(0.0, -0.0)) &&
                !std::signbit(MaxR(-0.0, 0.0)));
    EXPECT_TRUE(MaxR(nan, 1) == 1 && MinR(nan, 1) == 1 && std::isnan(MaxR(1, nan)) &&
                std::isnan(MinR(1, nan)));
    EXPECT_TRUE(MaxR(2, 1) == 2 && MaxR(1, 2) == 2 && MinR(2, 1) == 1 && MinR(1, 2) == 1);
    EXPECT_TRUE(SignR(nan) == 0 && !std::signbit(SignR(-0.0)) && SignR(-1e-300) == -1 && SignR(1e300) == 1);

    constexpr std::int64_t kWide = std::int64_t{1} << 32;
    EXPECT_TRUE(SignQ(kWide) == 1 && SignQ(-kWide) == -1 && SignQ(0) == 0);
    EXPECT_TRUE(MaxQ(kWide, 1) == kWide && MaxQ(-kWide, 1) == 1 && MinQ(-kWide, 1) == -kWide &&
                MinQ(kWide, 1) == 1);
    for (auto const& [max, min, sign] : {std::tuple(&MaxL, &MinL, &SignL), std::tuple(&Max, &Min, &Sign)}) {
        EXPECT_TRUE(max(SameLen, MaxLen) == MaxLen && max(MaxLen, SameLen) == MaxLen);
        EXPECT_TRUE(min(SameLen, MaxLen) == SameLen && min(MaxLen, SameLen) == SameLen);
        EXPECT_TRUE(sign(SameLen) == -1 && sign(MaxLen) == 1 && sign(0) == 0);
    }
    EXPECT_TRUE(MaxS(-32768, 32767) == 32767 && MinS(-32768, 32767) == -32768);
    EXPECT_TRUE(SignS(-32768) == -1 && SignS(32767) == 1 && SignS(0) == 0);
}

TEST(Numbers, PartsComeMostSignificantFirst) {
    EXPECT_EQ(Long2(0x0102, 0x0304), 0x01020304);
    EXPECT_EQ(Build4(1, 2, 3, 4), 0x01020304);
    EXPECT_EQ(Build2(1, 2), 0x0102);
    for (std::uint32_t const bits : {0u, 0x01020304u, 0x80FF7F01u, 0xFF800180u, 0xFFFFFFFFu}) {
        std::int32_t const x = Int(bits);
        std::uint16_t high, low;
        Short2(x, high, low);
        EXPECT_TRUE(high == bits >> 16 && low == (bits & 0xFFFF) && HI(x) == high && LO(x) == low) << bits;
        EXPECT_EQ(Long2(high, low), x);
        char b[4], h, l;
        Extract4(x, b[0], b[1], b[2], b[3]);
        for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(b[i], static_cast<char>(bits >> (24 - 8 * i))) << bits;
        EXPECT_EQ(Build4(b[0], b[1], b[2], b[3]), x);
        auto const half = static_cast<std::int16_t>(low);
        Extract2(half, h, l);
        EXPECT_TRUE(h == b[2] && l == b[3] && Build2(h, l) == half) << bits;
        EXPECT_TRUE(Card(x) == bits && LongC(bits) == x && Long(x) == x) << bits;
        EXPECT_EQ(static_cast<std::int64_t>(LongFloat(x)), x);
    }
}

}  // namespace
}  // namespace vfile::test
