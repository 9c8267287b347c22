// Bounded copies, blanks, trims and comparison.
#include <gtest/gtest.h>
#include <vfile/bounded_strings.h>

#include <algorithm>

#include "support/halts.h"

namespace vfile::test {
namespace {

template <class Unit>
using Operation = void (*)(Unit*, std::uint32_t, Unit const*);

// A buffer of `size` units that holds `held`, with marked units behind its terminator and on either side.
template <class Unit>
class Guarded {
public:
    Guarded(std::size_t size, std::basic_string<Unit> const& held) : units(size + 2 * kGuard, Unit{'#'}) {
        Put(held);
    }
    void Put(std::basic_string<Unit> const& text) { std::copy_n(text.c_str(), text.size() + 1, Data()); }
    Unit* Data() { return units.data() + kGuard; }
    bool operator==(Guarded const&) const = default;

private:
    static constexpr std::size_t kGuard = 4;
    std::basic_string<Unit> units;
};

// Every small size, content and source, against the same done with strings.
template <class Unit>
void TrySmallSizes(Operation<Unit> operation, bool appends) {
    std::basic_string<Unit> const letters = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    for (std::uint32_t size = 1; size <= 6; ++size) {
        for (std::size_t held = 0; held < size; ++held) {
            for (std::size_t length = 0; length <= letters.size() + 1; ++length) {
                bool const null = length > letters.size();
                auto const before = letters.substr(0, held),
                           in = null ? before.substr(held) : letters.substr(0, length);
                Guarded<Unit> buffer(size, before), wanted(size, before);
                operation(buffer.Data(), size, null ? nullptr : in.c_str());
                wanted.Put(((appends ? before : before.substr(held)) + in).substr(0, size - 1));
                EXPECT_TRUE(buffer == wanted) << size << " units, " << held << " held, " << length << " in";
            }
        }
    }
}

// How often each broken contract stops when the halt procedure returns; nothing may be touched then.
template <class Unit>
void TryBroken(Operation<Unit> operation, bool appends, bool conditional) {
    NoteHalts halts;
    Unit const in[] = {'i', 'n', 0};
    for (std::uint32_t const size : {5u, 0u}) {
        operation(nullptr, size, in);
        EXPECT_EQ(halts.Take().size(), conditional ? 0u : size ? 1u : 2u);
    }
    Guarded<Unit> buffer(5, std::basic_string<Unit>(5, Unit{'h'}));
    Guarded<Unit> const before = buffer;
    for (std::uint32_t size = 0; size <= (appends ? 5 : 0); ++size) {
        operation(buffer.Data(), size, in);
        auto const noted = halts.Take();
        EXPECT_TRUE(noted.size() == 1 && noted[0].starts_with(u"HSys, line ")) << size;
    }
    EXPECT_TRUE(buffer == before);
}

TEST(BoundedStrings, EverySmallSizeAndBrokenContract) {
    for (bool const appends : {false, true}) {
        for (auto const operation : {appends ? AppendStr : AssignStr, appends ? AppendStrW : AssignStrW}) {
            TrySmallSizes(operation, appends), TryBroken(operation, appends, false);
        }
        auto const conditional = appends ? CondAppendStr : CondAssignStr;
        TrySmallSizes(conditional, appends), TryBroken(conditional, appends, true);
        auto const bytes = appends ? AppendStrA : AssignStrA;
        TrySmallSizes(bytes, appends), TryBroken(bytes, appends, false);
    }
    TChar text[8] = u"abcd";
    AppendStr(text, 8, text);
    EXPECT_EQ(TString(text), u"abcdabc") << "cut, from itself";
    AssignStr(text, 8, text + 2);
    EXPECT_EQ(TString(text), u"cdabc");
}

TEST(Blanks, AreFiveUnits) {
    for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
        TChar const one[] = {static_cast<TChar>(unit), 0};
        bool const isBlank = unit && TString(u" \r\n\t\f").find(one[0]) != TString::npos;
        ASSERT_EQ(IsBlank(one[0]), isBlank) << unit;
        ASSERT_EQ(IsBlank(one), isBlank || unit == 0) << unit;
    }
    EXPECT_TRUE(IsBlank(nullptr) && IsBlank(u" \f ") && !IsBlank(u" \f x"));
}

TEST(Trims, TakeBlanksInPlace) {
    for (std::size_t code = 0; code < 4096; ++code) {  // every string of up to six units of four kinds
        TString text;
        for (std::size_t rest = code; rest; rest /= 4) text += u"\v \na"[rest % 4];
        auto const expect = [&](void (*trim)(TChar*), bool left, bool right) {
            Guarded<TChar> buffer(8, text), wanted(8, text);
            trim(buffer.Data());
            std::size_t const start = left ? std::min(text.find_first_not_of(u" \n"), text.size()) : 0;
            std::size_t const end = right ? std::max(text.find_last_not_of(u" \n") + 1, start) : text.size();
            wanted.Put(text.substr(start, end - start));  // the units behind it keep what they held
            ASSERT_TRUE(buffer == wanted) << code;
        };
        expect(Trim, true, true), expect(TrimLeft, true, false), expect(TrimRight, false, true);
    }
    for (auto const trim : {Trim, TrimLeft, TrimRight, TrimZeroes}) trim(nullptr);
}

TEST(Trims, TakeZeroesOfAFraction) {
    TString const pairs[] = {u"1.500", u"1.5", u"1.000", u"1",  u"100",   u"100",  u"0.0",   u"0",  u".000",
                             u"0",     u".",   u"0",     u"",   u"0",     u"1.05", u"1.05",  u"1.", u"1",
                             u"0",     u"0",   u".50",   u".5", u"1.0.0", u"1.0",  u"-0.00", u"-0"};
    for (std::size_t i = 0; i < std::size(pairs); i += 2) {
        Guarded<TChar> buffer(6, pairs[i]), wanted(6, pairs[i]);
        TrimZeroes(buffer.Data());
        wanted.Put(pairs[i + 1]);
        EXPECT_TRUE(buffer == wanted) << i;
    }
}

TEST(Equality, FoldsAsciiAlone) {
    for (std::uint32_t a = 1; a < 0x250; ++a) {
        for (std::uint32_t const b : {a, a ^ 0x20, a + 1, a | 0x100, a ^ 0x2000, 0u}) {
            TChar const left[] = {u'x', static_cast<TChar>(a), 0}, right[] = {u'x', static_cast<TChar>(b), 0};
            bool const sameLetter = (a ^ b) == 0x20 && std::min(a, b) >= 'A' && std::min(a, b) <= 'Z';
            ASSERT_EQ(EqualStr(left, right), a == b) << a << ' ' << b;
            ASSERT_EQ(EqualStrI(left, right), a == b || sameLetter) << a << ' ' << b;
            ASSERT_EQ(EqualStrI(right, left), a == b || sameLetter) << a << ' ' << b;
        }
    }
    EXPECT_TRUE(EqualStrI(u"ReadMe.TXT", u"rEADmE.txt") && GetEolKind() == EolKind{0});
}

}  // namespace
}  // namespace vfile::test
