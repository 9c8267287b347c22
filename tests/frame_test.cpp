// Stops with their words, bounded strings, and checked conversions.
#include <gtest/gtest.h>
#include <vfile/bounded_strings.h>
#include <vfile/numbers.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <limits>

#include "support/halts.h"

namespace vfile::test {
namespace {

TEST(Halt, SaysItWordByWordAndCutsItToItsBuffer) {
    NoteHalts halts;
    for (std::size_t length = 0; length < 300; ++length) {
        TString const text(length, u'\xD83D');
        Halt(text.c_str());
        Halt(u"HSys", text.c_str());
        Halt(u"VMem", text.c_str(), u"disk % full");
        HaltA(text.c_str(), SameLen);
        HaltA(u"Host", text.c_str(), 0);
        HaltA(nullptr, -12345);
        Fatal(text.c_str(), MaxLen);
        EXPECT_EQ(halts.Take(),
                  (std::vector{text, (u"HSys: " + text).substr(0, 255),
                               (u"VMem, " + text + u"():\ndisk % full").substr(0, 255),
                               (text + u", line -2147483648:\nAssertion failure").substr(0, 255),
                               (u"Host, " + text + u"(), line 0:\nAssertion failure").substr(0, 255),
                               TString(u", line -12345:\nAssertion failure"),
                               (u"Fatal Error 2147483647 in module " + text + u" ").substr(0, 255)}));
    }
}

TEST(HaltDeathTest, ShowsItAndAborts) {
    InstallHaltProc([](TChar const*) {});
    DeinstallHaltProc();
    EXPECT_EXIT(Halt(u"VMem", u"FindPage", u"no \x20AC"), testing::KilledBySignal(SIGABRT),
                "Program halted(.|\n)*VMem, FindPage\\(\\):\nno \xE2\x82\xAC");
}

template <class Unit>
using Operation = void (*)(Unit*, std::uint32_t, Unit const*);

// `text` at the start of a buffer, with marked units behind it and on either side.
template <class Unit>
struct Guarded {
    std::basic_string<Unit> units = std::basic_string<Unit>(20, Unit{'#'});

    explicit Guarded(std::basic_string<Unit> const& text) { Put(text); }
    void Put(std::basic_string<Unit> const& text) { std::copy_n(text.c_str(), text.size() + 1, Data()); }
    Unit* Data() { return units.data() + 4; }
};

// Every small size, content and source, against the same done with strings. Without a terminator there is nothing
// to append to.
template <class Unit>
void TrySmallSizes(Operation<Unit> operation, bool appends, bool conditional) {
    NoteHalts halts;
    std::basic_string<Unit> const letters = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    for (std::uint32_t i = 0; i < 7 * 7 * 10; ++i) {
        std::uint32_t const size = i % 7, held = i / 7 % 7, length = i / 49;
        bool const stops = size == 0 || (appends && held >= size);
        auto const before = letters.substr(0, held), in = letters.substr(0, length % 9);
        Guarded<Unit> buffer(before), wanted(before);
        operation(buffer.Data(), size, length < 9 ? in.c_str() : nullptr);
        if (!stops) wanted.Put(((appends ? before : before.substr(held)) + in).substr(0, size - 1));
        EXPECT_EQ(buffer.units, wanted.units) << size << " units, " << held << " held, " << length << " in";
        EXPECT_EQ(halts.Take().size(), stops);
    }
    operation(nullptr, 0, letters.c_str());
    EXPECT_EQ(halts.Take().size(), conditional ? 0u : 2u);
}

TEST(BoundedStrings, EverySmallSizeAndBrokenContract) {
    for (bool const appends : {false, true}) {
        TrySmallSizes(appends ? AppendStr : AssignStr, appends, false);
        TrySmallSizes(appends ? AppendStrW : AssignStrW, appends, false);
        TrySmallSizes(appends ? AppendStrA : AssignStrA, appends, false);
        TrySmallSizes(appends ? CondAppendStr : CondAssignStr, appends, true);
    }
}

// Every string of up to six units of four kinds.
TEST(BoundedStrings, TrimsInPlace) {
    for (std::size_t code = 0; code < 4096; ++code) {
        TString text;
        for (std::size_t rest = code; rest; rest /= 4) text += u"0 \f."[rest % 4];
        auto const expect = [&](void (*trim)(TChar*), std::size_t start, std::size_t end,
                                TString const& blank) {
            Guarded<TChar> buffer(text), wanted(text);
            trim(buffer.Data());
            wanted.Put(start < end ? text.substr(start, end - start) : blank);
            ASSERT_EQ(buffer.units, wanted.units) << code;  // the units behind it keep what they held
        };
        std::size_t const first = text.find_first_not_of(u" \f"), last = text.find_last_not_of(u" \f") + 1;
        expect(Trim, first, last, u"");
        expect(TrimLeft, first, text.size(), u"");
        expect(TrimRight, 0, last, u"");
        ASSERT_EQ(IsBlank(text.c_str()), last == 0);
        bool const fraction = text.find(u'.') != TString::npos;
        std::size_t const digits = fraction ? text.find_last_not_of(u'0') + 1 : text.size();
        expect(TrimZeroes, 0, digits - (fraction && text[digits - 1] == u'.'), u"0");
    }
}

TEST(BoundedStrings, BlanksAndLettersOfEitherCase) {
    for (std::uint32_t a = 1; a < 0x10000; ++a) {
        TChar const left[] = {u'x', static_cast<TChar>(a), 0},
                    right[] = {u'x', static_cast<TChar>(a ^ 0x20), 0};
        ASSERT_EQ(IsBlank(left[1]), TString(u" \r\n\t\f").find(left[1]) != TString::npos) << a;
        ASSERT_EQ(EqualStrI(left, right), (a | 0x20) >= 'a' && (a | 0x20) <= 'z') << a;
        ASSERT_TRUE(EqualStr(left, left) && !EqualStr(left, right) && !EqualStr(left, u"x")) << a;
    }
}

TEST(Numbers, StopOutsideTheirRange) {
    NoteHalts halts;
    for (int const x : {0, 32768, 65535, 65536, MaxLen, -1, -32768, -65536, -65537, SameLen}) {
        auto const expectStop = [&](bool stops, TString const& number) {
            std::vector<TString> const wanted(stops, u"Fatal Error " + number + u" in module HSys ");
            EXPECT_EQ(halts.Take(), wanted) << x;
        };
        EXPECT_EQ(Short(x), static_cast<std::int16_t>(x));  // the low half, also where the stop returned
        expectStop(-65536 > x || x > 65535, x < 0 ? u"2" : u"1");
        EXPECT_EQ(ShortC(x), static_cast<std::uint16_t>(x));
        expectStop(x > 65535 || x < 0, u"3");
    }
    for (double const x : {0.0, 0.5, 9999.9999, 65536.75, MaxLen - 0.5, MaxLen + 0.5, MaxLen + 1.0, 1e300}) {
        double const wanted = std::min<double>(std::trunc(x), MaxLen);
        EXPECT_TRUE(LongTrunc(x) == wanted && LongTrunc(-x) == -wanted) << x;
    }
    EXPECT_EQ(LongTrunc(std::numeric_limits<double>::quiet_NaN()), 0);
}

// In every width, the outermost values among them.
template <class T>
void TryOrder(T (*max)(T, T), T (*min)(T, T), T (*sign)(T)) {
    using Limits = std::numeric_limits<T>;
    T const values[] = {Limits::lowest(), T(-2), T(-1), T(0), T(1), T(2), Limits::max()};
    for (T const a : values) {
        EXPECT_EQ(sign(a), a == 0 ? T(0) : a > 0 ? T(1) : T(-1));
        for (T const b : values) EXPECT_TRUE(max(a, b) == std::max(a, b) && min(a, b) == std::min(a, b));
    }
}

TEST(Numbers, OrderAndSign) {
    TryOrder<double>(MaxR, MinR, SignR);
    TryOrder<std::int64_t>(MaxQ, MinQ, SignQ);
    TryOrder<std::int32_t>(MaxL, MinL, SignL);
    TryOrder<std::int32_t>(Max, Min, Sign);
    TryOrder<std::int16_t>(MaxS, MinS, SignS);
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(MaxR(nan, 1) == 1 && MinR(nan, 1) == 1 && MaxR(1, nan) != 1 && MinR(1, nan) != 1);
    EXPECT_TRUE(std::signbit(MaxR(0.0, -0.0)) && std::signbit(MinR(0.0, -0.0)) && SignR(nan) == 0);
}

TEST(Numbers, PartsComeMostSignificantFirst) {
    char b[4];
    Extract4(Long2(0x80FF, 0x7F01), b[0], b[1], b[2], b[3]);
    EXPECT_EQ(std::string(b, 4), "\x80\xFF\x7F\x01");
    EXPECT_EQ(Card(Build4(b[0], b[1], b[2], b[3])), 0x80FF7F01u);
}

}  // namespace
}  // namespace vfile::test
