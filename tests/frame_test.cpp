// Stops with their words, bounded strings, and checked conversions.
#include "support/halts.h"
#include "support/test.h"

namespace vfile::test {
namespace {

TEST(Halt, SaysItWordByWordAndCutsItToItsBuffer) {
    NoteHalts halts;
    for (std::size_t const length : {0u, 7u, 240u, 300u}) {
        TString const text(length, u'\xD83D');
        Halt(text.c_str());
        Halt(u"VMem", text.c_str(), u"disk % full");
        HaltA(u"Host", text.c_str(), 0);
        Fatal(text.c_str(), MaxLen);
        TString const all[] = {u"VMem, " + text + u"():\ndisk % full",

                               u"Host, " + text + u"(), line 0:\nAssertion failure",
                               u"Fatal Error 2147483647 in module " + text + u" "};
        std::vector<TString> want{text};
        for (TString const& one : all) want.push_back(one.substr(0, 255));
        EXPECT_EQ(halts.Take(), want);
    }
}

TEST(HaltDeathTest, ShowsItAndAborts) {
    InstallHaltProc([](TChar const*) {});
    DeinstallHaltProc();
    EXPECT_EXIT(Halt(u"VMem", u"FindPage", u"no \x20AC"), testing::KilledBySignal(SIGABRT),
                "Program halted(.|\n)*VMem, FindPage\\(\\):\nno \xE2\x82\xAC");
}

// Every small size, content and source, against the same done with strings, and the units behind. Without a terminator
// there is nothing to append to.
template <class Unit>
void TrySmallSizes(void (*operation)(Unit*, std::uint32_t, Unit const*), bool appends, bool conditional) {
    NoteHalts halts;
    using String = std::basic_string<Unit>;
    String const letters = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    for (std::uint32_t i = 0; i < 7 * 7 * 10; ++i) {
        std::uint32_t const size = i % 7, held = i / 7 % 7, length = i / 49;
        bool const stops = size == 0 || (appends && held >= size);
        String const before = letters.substr(0, held), in = letters.substr(0, length % 9);
        String buffer = before + String(12, Unit{}), wanted = buffer;
        operation(buffer.data(), size, length < 9 ? in.c_str() : nullptr);
        String const result = ((appends ? before : String()) + in).substr(0, size ? size - 1 : 0) + Unit{};
        if (!stops) wanted.replace(0, result.size(), result);
        EXPECT_TRUE(buffer == wanted) << size << " units, " << held << " held, " << length << " in";
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
            TString trimmed = text;
            trim(trimmed.data());
            ASSERT_EQ(TString(trimmed.c_str()), start < end ? text.substr(start, end - start) : blank)
                << code;
        };
        std::size_t const first = text.find_first_not_of(u" \f"), last = text.find_last_not_of(u" \f") + 1;
        expect(Trim, first, last, u"");
        expect(TrimLeft, first, text.size(), u"");
        expect(TrimRight, 0, last, u"");
        ASSERT_TRUE(IsBlank(text.c_str()) == (last == 0) && EqualStr(text.c_str(), text.c_str()) &&
                    !EqualStrI((text + u'a').c_str(), (text + u'!').c_str()));
        bool const fraction = text.find(u'.') != TString::npos;
        std::size_t const digits = fraction ? text.find_last_not_of(u'0') + 1 : text.size();
        if (code > 0) expect(TrimZeroes, 0, digits - (fraction && text[digits - 1] == u'.'), u"0");
    }
}

TEST(Numbers, StopOutsideTheirRange) {
    NoteHalts halts;
    for (int const x : {0, 32768, 65535, 65536, MaxLen, -1, -32768, -65536, -65537, SameLen}) {
        EXPECT_EQ(Short(x), static_cast<std::int16_t>(x));  // the low half, also where the stop returned
        EXPECT_EQ(halts.Take().size(), x < -65536 || x > 65535) << x;
        EXPECT_EQ(ShortC(x), static_cast<std::uint16_t>(x));
        EXPECT_EQ(halts.Take().size(), x < 0 || x > 65535) << x;
    }
    EXPECT_TRUE(LongTrunc(9999.9999) == 9999 && LongTrunc(-0.5) == 0 && LongTrunc(1e300) == MaxLen &&
                LongTrunc(-1e300) == -MaxLen);
}

TEST(Numbers, OrderSignAndParts) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(MaxR(nan, 1) == 1 && MinR(nan, 1) == 1 && MaxR(2, 1) == 2 && MinR(2, 1) == 1 &&
                SignR(nan) == 0);
    EXPECT_TRUE(MaxQ(-5, 3) == 3 && MinQ(-5, 3) == -5 && SignQ(-5) == -1 && Max(-5, 3) == 3 &&
                MinS(-5, 3) == -5);
    char b[4];
    Extract4(Long2(0x80FF, 0x7F01), b[0], b[1], b[2], b[3]);
    EXPECT_EQ(Card(Build4(b[0], b[1], b[2], b[3])), 0x80FF7F01u);
}

}  // namespace
}  // namespace vfile::test
