// Bounded copies, blanks, trims and comparison.
#include <gtest/gtest.h>
#include <vfile/bounded_strings.h>

#include <algorithm>

#include "support/halts.h"

namespace vfile::test {
namespace {

template <class Unit>
using Operation = void (*)(Unit*, std::uint32_t, Unit const*);

// A buffer of `size` units that holds `held`, between guards, with marked units behind what it holds.
template <class Unit>
struct Guarded {
    static constexpr std::size_t kGuard = 4;
    std::basic_string<Unit> units;

    Guarded(std::size_t size, std::basic_string<Unit> const& held) : units(size + 2 * kGuard, Unit{'#'}) {
        units.replace(kGuard, held.size() + 1, held.c_str(), held.size() + 1);
    }
    Unit* Data() { return units.data() + kGuard; }
};

// Every small size, content and source, against the same done with strings.
template <class Unit>
void TrySmallSizes(Operation<Unit> operation, bool appends) {
    std::basic_string<Unit> source(9, Unit{0});
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<Unit>('a' + i);
    for (std::size_t size = 1; size <= 7; ++size) {
        for (std::size_t heldLength = 0; heldLength < size; ++heldLength) {
            for (std::size_t length = 0; length <= source.size(); ++length) {
                SCOPED_TRACE(testing::Message()
                             << size << " units, " << heldLength << " held, " << length << " in");
                std::basic_string<Unit> const held(heldLength, Unit{'h'});
                std::basic_string<Unit> const in = source.substr(0, length);
                Guarded<Unit> buffer(size, held), wanted(size, held);
                operation(buffer.Data(), static_cast<std::uint32_t>(size), in.c_str());
                auto const result = ((appends ? held : held.substr(0, 0)) + in).substr(0, size - 1);
                std::copy_n(result.c_str(), result.size() + 1, wanted.Data());
                EXPECT_TRUE(buffer.units == wanted.units);
            }
            Guarded<Unit> buffer(size, std::basic_string<Unit>(heldLength, Unit{'h'}));
            operation(buffer.Data(), static_cast<std::uint32_t>(size), nullptr);
            EXPECT_EQ(buffer.Data()[0], appends && heldLength ? Unit{'h'} : Unit{0});
        }
    }
}

// How often each broken contract stops when the halt procedure returns; nothing may be touched then.
template <class Unit>
void TryBroken(Operation<Unit> operation, bool appends, bool conditional) {
    NoteHalts halts;
    Unit const in[] = {'i', 'n', 0};
    std::size_t const stopsOfNull = conditional ? 0 : 1;
    operation(nullptr, 5, in);
    EXPECT_EQ(halts.Take().size(), stopsOfNull);
    operation(nullptr, 0, in);
    EXPECT_EQ(halts.Take().size(), 2 * stopsOfNull);
    Guarded<Unit> buffer(5, std::basic_string<Unit>(5, Unit{'h'}));
    auto const before = buffer.units;
    operation(buffer.Data(), 0, in);
    auto const noted = halts.Take();
    ASSERT_EQ(noted.size(), 1u);
    EXPECT_EQ(noted[0].find(u"HSys, line "), 0u);
    for (std::uint32_t size = 1; appends && size <= 5; ++size) {
        operation(buffer.Data(), size, in);
        EXPECT_EQ(halts.Take().size(), 1u) << size;
    }
    EXPECT_TRUE(buffer.units == before);
}

TEST(BoundedStrings, EverySmallSizeAndBrokenContract) {
    struct {
        Operation<TChar> operation;
        bool appends, conditional;
    } const kWide[] = {
        {AssignStr,     false, false},
        {AssignStrW,    false, false},
        {AppendStr,     true,  false},
        {AppendStrW,    true,  false},
        {CondAssignStr, false, true },
        {CondAppendStr, true,  true }
    };
    for (auto const& c : kWide) {
        TrySmallSizes(c.operation, c.appends);
        TryBroken(c.operation, c.appends, c.conditional);
    }
    TrySmallSizes(AssignStrA, false), TryBroken(AssignStrA, false, false);
    TrySmallSizes(AppendStrA, true), TryBroken(AppendStrA, true, false);
}

TEST(BoundedStrings, SourceMayLieInTheDestination) {
    TChar text[8] = u"abcd";
    AppendStr(text, 8, text);
    EXPECT_EQ(TString(text), u"abcdabc") << "cut";
    AssignStr(text, 8, text + 2);
    EXPECT_EQ(TString(text), u"cdabc");
}

TEST(Blanks, AreFiveUnits) {
    TString const blanks = u" \r\n\t\f";
    for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
        TChar const one[] = {static_cast<TChar>(unit), 0};
        bool const isBlank = unit != 0 && blanks.find(one[0]) != TString::npos;
        ASSERT_EQ(IsBlank(one[0]), isBlank) << unit;
        ASSERT_EQ(IsBlank(one), isBlank || unit == 0) << unit;
    }
    EXPECT_TRUE(IsBlank(nullptr));
    EXPECT_TRUE(IsBlank(blanks.c_str()));
    EXPECT_FALSE(IsBlank((blanks + u"x").c_str()));
}

TEST(Trims, TakeBlanksInPlace) {
    constexpr struct {
        TChar const *before, *trimmed, *left, *right;
    } kCases[] = {
        {u"",               u"",          u"",             u""         },
        {u"x",              u"x",         u"x",            u"x"        },
        {u" \t\f ",         u"",          u"",             u""         },
        {u"  a \n b\t\r\n", u"a \n b",    u"a \n b\t\r\n", u"  a \n b" },
        {u"\va\x00A0",      u"\va\x00A0", u"\va\x00A0",    u"\va\x00A0"},
        {u" a",             u"a",         u"a",            u" a"       },
        {u"a ",             u"a",         u"a ",           u"a"        },
    };
    for (auto const& c : kCases) {
        auto const expect = [&](void (*trim)(TChar*), TString const& wanted) {
            Guarded<TChar> buffer(20, c.before), after(20, c.before);
            trim(buffer.Data());
            std::copy_n(wanted.c_str(), wanted.size() + 1,
                        after.Data());  // units behind it keep what they held
            EXPECT_TRUE(buffer.units == after.units) << &c - kCases;
        };
        expect(Trim, c.trimmed), expect(TrimLeft, c.left), expect(TrimRight, c.right);
    }
    for (auto const trim : {Trim, TrimLeft, TrimRight, TrimZeroes}) trim(nullptr);
}

TEST(Trims, TakeZeroesOfAFraction) {
    constexpr TChar const* kCases[][2] = {
        {u"1.500", u"1.5" },
        {u"1.000", u"1"   },
        {u"100",   u"100" },
        {u"0.0",   u"0"   },
        {u".000",  u"0"   },
        {u".",     u"0"   },
        {u"",      u"0"   },
        {u"1.05",  u"1.05"},
        {u"1.",    u"1"   },
        {u"0",     u"0"   },
        {u".50",   u".5"  },
        {u"1.0.0", u"1.0" },
        {u"-0.00", u"-0"  },
        {u"00",    u"00"  },
    };
    for (auto const& [before, wanted] : kCases) {
        Guarded<TChar> buffer(12, before);
        TrimZeroes(buffer.Data());
        EXPECT_EQ(TString(buffer.Data()), wanted);
        EXPECT_EQ(buffer.units.substr(16), u"####");
    }
}

TEST(Equality, FoldsAsciiAlone) {
    for (std::uint32_t a = 0; a < 0x250; ++a) {
        for (std::uint32_t const b : {a, a ^ 0x20, a + 1, a | 0x100, a ^ 0x2000}) {
            TString const left{u'x', static_cast<TChar>(a)}, right{u'x', static_cast<TChar>(b)};
            std::uint32_t const upper = std::min(a, b);
            bool const sameLetter = (a ^ b) == 0x20 && upper >= 'A' && upper <= 'Z';
            ASSERT_EQ(EqualStr(left.c_str(), right.c_str()), a == b) << a << ' ' << b;
            ASSERT_EQ(EqualStrI(left.c_str(), right.c_str()), a == b || sameLetter) << a << ' ' << b;
        }
    }
    EXPECT_FALSE(EqualStrI(u"abc", u"ABCD"));
    EXPECT_FALSE(EqualStr(u"abcd", u"abc"));
    EXPECT_TRUE(EqualStrI(u"ReadMe.TXT", u"rEADmE.txt"));
    EXPECT_EQ(static_cast<int>(GetEolKind()), 0);
}

}  // namespace
}  // namespace vfile::test
