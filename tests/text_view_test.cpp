// The view of a file as units: positions, reads, edits, and which of them a derived class sees.
#include <gtest/gtest.h>
#include <vfile.h>

#include <limits>
#include <sstream>

#include "support/cut_file.h"
#include "support/halts.h"

namespace vfile::test {
namespace {

// NOLINTNEXTLINE(google-readability-casting): the one cast that reaches a private base.
VFile& BytesOf(TCharVFile& file) { return (VFile&)file; }

template <class T>
concept TakenAsUnit = requires(TCharVFile& f, T x) {
    f.InsertTChar(x);
}
|| requires(TCharVFile& f, T x) { f.AppendTChar(x, 2); }
|| requires(TCharVFile& f, T x) { f.ReplaceTChar(0, x); }
|| requires(TCharVFile& f, T x) { f = x; };
template <class T>
concept Shown = requires(TCharVFile& f, T x) {
    f << x;
};
static_assert(TakenAsUnit<TChar> && Shown<TChar> && Shown<short> && Shown<unsigned long long> &&
              Shown<TString>);
enum Colour { kRed };
template <class... T>
constexpr int kTaken = ((TakenAsUnit<T> || Shown<T>)+...);
static_assert(kTaken<bool, char, unsigned char, char8_t, wchar_t, char32_t, Colour, std::nullptr_t, double> ==
              0);
static_assert(!TakenAsUnit<int> && !std::is_convertible_v<TCharVFile*, VFile*>);
template <class T>
concept OffersByteEdits = requires(T& f) {
    f.InsertByte(1);
}
|| requires(T& f) { f.ReplaceBuf(0, 0, "", 0); }
|| requires(T& f) { f.flags; };
static_assert(OffersByteEdits<VFile> && !OffersByteEdits<TCharVFile>);

// "result: text cursor-in-bytes[+ for eof] res", a byte that is no unit behind the text.
std::string StateOf(TCharVFile& file, std::int64_t result) {
    std::ostringstream state;
    state << result << ": ";
    std::int32_t const pos = file.GetPos();
    bool const eof = file.eof;
    FileRes const res = file.res;
    file.SetPos(0);
    for (TChar unit = 0; file.ReadTChar(unit), !file.eof;) state << static_cast<char>(unit);
    state << (file.Length() % 2 ? "| " : " ") << pos << (eof ? "+ " : " ") << res;
    return state.str();
}

constexpr struct {
    int (*run)(TCharVFile& f);
    char const* after;  // on the units of abcd and one byte more, the cursor at unit 1
} kSteps[] = {
    {[](TCharVFile& f) -> int { return f.SetTCharPos(3), f.GetTCharPos(); },                                "3: abcd| 6 0"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(-1), f.GetTCharPos(); },                               "4: abcd| 9 0"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(0x40000000), f.TCharLength(); },                       "4: abcd| 9 0"     },
    {[](TCharVFile& f) -> int { return f.SetPos(7), f.GetTCharPos(); },                                     "3: abcd| 7 0"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(2, 1), 0; },                                           "0: abcd| 6 0"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(-1, 1), 0; },                                          "0: abcd| 0 0"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(-2, 1), 0; },                                          "0: abcd| 2 2"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(-1, 2), 0; },                                          "0: abcd| 7 0"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(INT32_MIN, 2), 0; },                                   "0: abcd| 2 2"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(INT32_MAX, 1), 0; },                                   "0: abcd| 9 0"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(-1, 0), 0; },                                          "0: abcd| 9 0"     },
    {[](TCharVFile& f) -> int { return f.SetTCharPos(0, 3), 0; },                                           "0: abcd| 2 2"     },
    {[](TCharVFile& f) -> int {
         TChar u = 7;
         return f.ReadTChar(u), u;
     },                                                                                                "98: abcd| 4 0"    },
    {[](TCharVFile& f) -> int {
         TChar u = 7;
         return f.ReadPrevTChar(u), u;
     },                                                                                                "97: abcd| 0 0"    },
    {[](TCharVFile& f) -> int {
         TChar u = 7;
         return f.SetPos(0), f.ReadPrevTChar(u), u;
     },                                                                                                "0: abcd| 0+ 0"    },
    {[](TCharVFile& f) -> int {
         TChar u = 7;
         return f.SetPos(1), f.ReadPrevTChar(u), u;
     },                                                                                                "24832: abcd| 0+ 0"},
    {[](TCharVFile& f) -> int {
         TChar u = 0x707;
         return f.SetPos(8), f.ReadTChar(u), u;
     },                                                                                                "1912: abcd| 9+ 0" },
    {[](TCharVFile& f) -> int {
         TChar u = 7;
         return f.SetPos(9), f.ReadTChar(u), u;
     },                                                                                                "7: abcd| 9+ 0"    },
    {[](TCharVFile& f) -> int {
         TChar u[9];
         return f.ReadTChars(u, 2) * 1000 + u[1];
     },                                                                                                "2099: abcd| 6 0"  },
    {[](TCharVFile& f) -> int {
         TChar u[9];
         return f.ReadTChars(u, -1);
     },                                                                                                "3: abcd| 9+ 0"    },
    {[](TCharVFile& f) -> int { return f.ReadTChars(nullptr, 2); },                                         "0: abcd| 2 2"     },
    {[](TCharVFile& f) -> int { return f.ToString() == u"abcd"; },                                          "1: abcd| 8 0"     },
    {[](TCharVFile& f) -> int {
         TChar u[3];
         return f.ReadLine(u, 3) * 1000 + u[1];
     },                                                                                                "2099: abcd| 9+ 0" },
    {[](TCharVFile& f) -> int { return f.ReadLine(static_cast<TChar*>(nullptr), 3); },                      "0: abcd| 2 2"     },
    {[](TCharVFile& f) -> int {
         TChar u;
         return f.ReadLine(&u, 0);
     },                                                                                                "0: abcd| 2 2"     },
    {[](TCharVFile& f) -> int { return f.InsertTChar(u'u'), 0; },                                           "0: aubcd| 4 0"    },
    {[](TCharVFile& f) -> int { return f.InsertTChar(u'u', 3), 0; },                                        "0: auuubcd| 8 0"  },
    {[](TCharVFile& f) -> int { return f.eof = true, f.InsertTChar(u'u', 0), f.InsertTChar(u'u', -1), 0; },
     "0: abcd| 2+ 0"                                                                                                           },
    {[](TCharVFile& f) -> int { return f.eof = true, f.InsertTStr(u""), 0; },                               "0: abcd| 2 0"     },
    {[](TCharVFile& f) -> int { return f.InsertTStr(u"xy"), 0; },                                           "0: axybcd| 6 0"   },
    {[](TCharVFile& f) -> int { return f.InsertTChars(TString(u"xyz"), 2), 0; },                            "0: axybcd| 6 0"   },
    {[](TCharVFile& f) -> int {
         TString const two(u"xy");
         return f.TruncateTChars(), f.AppendTChars(two, 9), f.InsertTChars(two, INT32_MAX), 0;
     },                                                                                                "0: axyxy 10 0"    },
    {[](TCharVFile& f) -> int { return f.InsertTChars(u"xyz", -1), 0; },                                    "0: abcd| 2 2"     },
    {[](TCharVFile& f) -> int { return f.InsertTChars(u"xyz", INT32_MIN), 0; },                             "0: abcd| 2 2"     },
    {[](TCharVFile& f) -> int { return f.InsertTChars(u"xyz", 0x40000000), 0; },                            "0: abcd| 2 2"     },
    {[](TCharVFile& f) -> int { return f.InsertTChars(f, 2, 2), 0; },                                       "0: acdbcd| 6 0"   },
    {[](TCharVFile& f) -> int { return f.InsertTChars(f, -1, 2), 0; },                                      "0: abcd| 2 0"     },
    {[](TCharVFile& f) -> int { return f.InsertTChars(f, 3, 1), 0; },                                       "0: adbcd| 4 0"    },
    {[](TCharVFile& f) -> int { return f.DeleteTChars(1, 2), 0; },                                          "0: ad| 2 0"       },
    {[](TCharVFile& f) -> int { return f.DeleteTChars(1, -1), 0; },                                         "0: a 2 0"         },
    {[](TCharVFile& f) -> int { return f.SetPos(3), f.TruncateTChars(), 0; },                               "0: a| 3 0"        },
    {[](TCharVFile& f) -> int { return f.ReplaceTChar(2, u'u'), 0; },                                       "0: abud| 6 0"     },
    {[](TCharVFile& f) -> int {
         return f.TruncateTChars(), f.AppendTChar(u'x', 2), f.ReplaceTChar(9, u'y'), 0;
     },                                                                                                "0: axxy 8 0"      },
    {[](TCharVFile& f) -> int { return f << -12 << u'u' << u"v" << TString(u"w"), 0; },
     "0: a-12uvwbcd| 14 0"                                                                                                     },
    {[](TCharVFile& f) -> int { return f = u'u', 0; },                                                      "0: u 2 0"         },
    {[](TCharVFile& f) -> int { return f = u"uv", f << f, 0; },                                             "0: uvuv 8 0"      },
    {[](TCharVFile& f) -> int {
         TCharVFile& same = f;
         return f = same, 0;
     },                                                                                                "0: abcd| 9 0"     },
    {[](TCharVFile& f) -> int { return f.InclFlag(f.ReadOnly), f.InsertTChar(u'u', 2), 0; },                "0: abcd| 2 4"     },
};

TEST(TextView, EveryStepLeavesItsState) {
    for (auto const& step : kSteps) {
        for (bool const insertMode : {false, true}) {
            SCOPED_TRACE(&step - kSteps);
            TCharVFile file;
            file << u"abcd";
            BytesOf(file).AppendByte('x');
            file.SetFlag(TCharVFile::InsertMode, insertMode);
            file.SetTCharPos(1);
            std::string const state = StateOf(file, step.run(file));
            EXPECT_EQ(state.substr(0, std::string(step.after).size()), step.after);
        }
    }
    TCharVFile none;
    none.eof = true;
    EXPECT_TRUE(none.ToString().empty() && none.eof);
}

// Notes the operations that an override sees, and what the hooks are told.
class Recording : public TCharVFile {
public:
    mutable std::string seen;
    void Track() { flags |= TrackModified; }

    void ReplaceBuf(std::int32_t, std::int32_t, void const*, std::int32_t) override { seen += 'b'; }
    void ReplaceTxt(std::int32_t, std::int32_t, vfile::VFile const&, std::int32_t, std::int32_t) override {
        seen += 't';
    }
    Recording& operator=(TString const& s) {
        TCharVFile::operator=(s);
        return *this;
    }

protected:
    std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) const override {
        seen += std::to_string(start) + std::to_string(delLen) + std::to_string(insLen);
        return ResDone;
    }
};

TEST(TextView, OverridesSeeTheVirtualCallsAlone) {
    TCharVFile const other;
    struct {
        void (*run)(Recording& f, TCharVFile const& other);
        char const* seen;
    } const rows[] = {
        {[](Recording& f, TCharVFile const&) { f.InsertTChar(u'a'), f.AppendTChar(u'a', 2), f << u"a" << 5; },
         "bbbbb"                                                                                                       },
        {[](Recording& f, TCharVFile const&) { f.DeleteTChars(0, 1), f.TruncateTChars(), f.AppendTStr(u""); },
         "bbb"                                                                                                         },
        {[](Recording& f, TCharVFile const& o) { f.InsertTChars(o, 0, 1), f.AppendTChars(o, 0, 1), f << o; },
         "ttt"                                                                                                         },
        {[](Recording& f, TCharVFile const&) { f = TString(u"ab"); },                                          "004"   },
        {[](Recording& f, TCharVFile const&) { f.ReplaceTChar(0, u'a'); },                                     "002"   },
        {[](Recording& f, TCharVFile const&) {
             f = TString(u"xax"), f.ReplaceGlobalTChars(u"a", u"bc", false, false);
         },                                                                           "006224"},
    };
    for (auto const& row : rows) {
        Recording file;
        row.run(file, other);
        EXPECT_EQ(file.seen, row.seen) << &row - rows;
    }
    Recording file;
    file.Track();
    file = TString(u"ab");
    EXPECT_TRUE(file.FlagOn(TCharVFile::Modified));
}

TEST(TextView, LinesFromBlocksOfAnyLength) {
    BlockCutter cutter;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        std::mt19937 random(seed);
        TString text;
        for (std::size_t i = random() % 400; i > 0; --i)
            text += u"\r\n\u0D0A\u0A0Da\u010D\u000Eb"[random() % (seed % 2 ? 8 : 3)];
        std::string bytes(reinterpret_cast<char const*>(text.data()), text.size() * 2);
        if (seed % 3 == 0) bytes += '\r';  // a lone byte is no unit
        TCharVFile file;
        cutter.Fill(BytesOf(file), bytes, seed % 5 == 0 ? 1 : 9, random);
        file.SetPos(0);
        for (std::size_t at = 0;;) {
            std::size_t const end = std::min(text.find_first_of(u"\r\n", at), text.size());
            std::size_t const eol = end == text.size() ? 0 : text.compare(end, 2, u"\r\n") == 0 ? 2 : 1;
            TString const want = text.substr(at, end - at);
            TChar line[500];
            auto const size = static_cast<std::int32_t>(1 + random() % 12);
            auto const kept = std::min<std::int32_t>(static_cast<std::int32_t>(want.size()), size - 1);
            file.res = ResDiskFull;
            ASSERT_EQ(file.ReadLine(line, size), kept);
            ASSERT_EQ(TString(line), want.substr(0, static_cast<std::size_t>(kept)));
            at = end + eol;
            bool const looked = eol == 1 && text[end] == u'\r';  // behind a lone CR the position is set back
            EXPECT_EQ(file.res, looked ? ResDone : ResDiskFull);
            EXPECT_EQ(file.eof, eol == 0);
            ASSERT_EQ(file.GetPos(), eol == 0 ? file.Length() : static_cast<std::int32_t>(2 * at));
            if (eol == 0) break;
        }
    }
}

template <class T>
void ExpectSameDigits(std::int32_t radix) {
    for (T const value :
         {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), T{0}, static_cast<T>(-1)}) {
        VFile bytes;
        TCharVFile units;
        bytes.radix = units.radix = radix;
        bytes << value;
        units << value;
        ASSERT_EQ(units.TCharLength(), bytes.Length());
        std::string digits(static_cast<std::size_t>(bytes.Length()), '\0');
        bytes.SetPos(0);
        bytes.ReadBytes(digits.data(), bytes.Length());
        EXPECT_EQ(units.ToString(), TString(digits.begin(), digits.end()));
    }
}

TEST(TextView, NumbersAreThoseOfBytes) {
    for (std::int32_t const radix : {2, 10, 16, 36}) {
        ExpectSameDigits<short>(radix);
        ExpectSameDigits<unsigned short>(radix);
        ExpectSameDigits<int>(radix);
        ExpectSameDigits<unsigned>(radix);
        ExpectSameDigits<long>(radix);
        ExpectSameDigits<unsigned long long>(radix);
    }
    TCharVFile file;
    file.radix = 37;
    for (auto const print : {+[](TCharVFile& f) { f << 5; }, +[](TCharVFile& f) { BytesOf(f) << 5; }}) {
        EXPECT_EQ(HaltOf([&] { print(file); }), "VFile, operator<<():\nradix out of range");
        NoteHalts const goOn;
        print(file);
        EXPECT_EQ(file.Length(), 0);
    }
}

TEST(TextView, ComparesCopiesAndMoves) {
    TString const rows[] = {
        u"", u"A", u"ABCD", u"ABCE", u"B", u"\u0100", u"\u0100A", u"\uFFFF", TString(700, u'\uFFFF')};
    for (std::size_t a = 0; a < std::size(rows); ++a) {
        for (std::size_t b = 0; b < std::size(rows); ++b) {
            TCharVFile left, right;
            left << rows[a];
            right << rows[b];
            EXPECT_TRUE((left <=> right) == (a <=> b) && (left == right) == (a == b));
            BytesOf(right).AppendByte(0);
            EXPECT_TRUE((left < right) == (a <= b) && left != right) << "a lone byte makes it longer";
            BytesOf(left).AppendByte(1);
            EXPECT_EQ(left < right, a < b) << "and decides last";
        }
    }
    TCharVFile text;
    text << u"abcd";
    text.radix = 16;
    TCharVFile const part(text, 1, 2), rest(text, 2), none(text, -1, 2), all(text, 0, -1);
    EXPECT_TRUE(TCharVFile(part).ToString() == u"bc" && TCharVFile(rest).ToString() == u"cd" &&
                none.Length() == 0 && all == text);
    TCharVFile moved(std::move(text));
    EXPECT_TRUE(moved == all && moved.radix == 16 && moved.GetTCharPos() == 4);
    swap(moved, text);
    EXPECT_TRUE(text == all && moved.Length() == 0);
}

}  // namespace
}  // namespace vfile::test
