// Text files where the fuzz target does not go: what a mark says, reads that fall short, refusals, and other character sets.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <vfile/char_file.h>

#include <cerrno>
#include <clocale>
#include <string>

#include "support/faults.h"
#include "support/temp_dir.h"
#include "text/codec.h"

namespace vfile::test {
namespace {

using enum TCharVFile::Encoding;
using Encoding = TCharVFile::Encoding;
using platform::AnsiCharset;

// A text whose hooks keep a record, and veto the `vetoed`th change.
class Text : public TCharVFile {
public:
    using TCharVFile::operator=;
    mutable std::string seen;
    mutable int vetoed = 0;

    void Set(std::int32_t bits) { type = 1, flags = bits; }

protected:
    std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) const override {
        for (std::int32_t const n : {start, delLen, insLen}) seen += std::to_string(n) + ' ';
        return --vetoed == 0 ? 77 : 0;
    }
};

TEST(TextTransfer, LoadsWhatTheMarkSays) {
    TString mixed;
    std::string utf8 = "\xEF\xBB\xBF";
    for (int i = 0; i < 9000; ++i) mixed += u"x \u0436 \u8A9E \U0001F600.", utf8 += "x ж 語 \U0001F600.";
    struct {
        std::string bytes;
        Encoding found;
        TString units;
    } const rows[] = {
        {"",                          EncodingAnsi,         u""                                                                          },
        {"\xFF",                      EncodingAnsi,         u"\u00FF"                                                                    },
        {"\xFF\xFE",                  EncodingUtf16,        u""                                                                          },
        {std::string("\xFE\xFF\0A\0", 5),                   EncodingUtf16BE,                                                               u"A"},
        {std::string("\xFF\xFE\0\0",                           4),                      EncodingUtf16,                                                                       TString(1, u'\0')},
        {"\xEF\xBB\x41",                  EncodingAnsi,                                u"\u00EF\u00BBA"                                      },
        {std::string("\xEF\xBB\xBF\xF0\x9F\x98\0\x80",8),EncodingUtf8,          u"\uFFFD"},
        {std::string("a\0b",                            3),                                                                  EncodingAnsi,                                                                                                                             u"a"},
        {utf8,          EncodingUtf8, mixed},
    };
    TempDir const dir;
    for (auto const& row : rows) {
        WriteWhole(dir.Bytes("file"), row.bytes);
        for (std::size_t const cut : {0u, 1u, 2u, 4099u}) {
            if (cut == 1 && row.bytes.size() > 100000) continue;
            SCOPED_TRACE(testing::Message() << "row " << &row - rows << ", reads of " << cut);
            Text text;
            text = u"old";
            text.seen.clear();
            Encoding found{};
            {
                Faults const faults({Fault::kCutAll, 1, 0, cut, Call::kRead});
                text.LoadText(dir.Name("file"), found, 1);
            }
            EXPECT_TRUE(text.res == ResDone && found == row.found && text.GetPos() == 0 && !text.eof);
            EXPECT_EQ(text.seen, row.units.empty()
                                     ? "0 6 0 "
                                     : "0 6 0 0 0 " + std::to_string(row.units.size() * 2) + ' ');
            EXPECT_TRUE(text.ToString() == row.units && text.TCharLength() == std::ssize(row.units));
        }
    }
    Text text;
    std::filesystem::resize_file(dir.Bytes("file"),
                                 std::uintmax_t{1} << 32);  // too long but for its zero byte
    text.LoadTextAs(dir.Name("file"), EncodingUtf8, 0);
    EXPECT_TRUE(text.ToString() == mixed && text.res == ResDone);
    text.Set(Text::EolWatchOn);
    WriteWhole(dir.Bytes("file"), "a\n");
    text.LoadText(dir.Name("file"), 0);
    EXPECT_TRUE(text.FlagOn(TCharVFile::EolSeen));
}

TEST(TextTransfer, AFailedLoadLeavesTheFileEmptyWithItsCode) {
    TempDir const dir;
    auto const load = [&](char const* name, int vetoed, std::int32_t flags) {
        Text text;
        Encoding told{};
        text = u"old";
        text.vetoed = vetoed;
        text.Set(flags);
        text.LoadText(dir.Name(name), told, 0);
        return std::to_string(text.res) + ' ' + std::to_string(told) + ' ' + std::to_string(text.Length());
    };
    WriteWhole(dir.Bytes("file"), "\xEF\xBB\xBF new");
    WriteWhole(dir.Bytes("large"), "\xFE\xFF");
    ASSERT_EQ(truncate(dir.Bytes("large").c_str(), off_t{2} << 30 | 2), 0);
    EXPECT_EQ(load("absent", 0, 0), "14 1 0");
    EXPECT_EQ(load("file", 0, Text::Locked) + load("file", 0, Text::ReadOnly), "3 1 64 1 6");
    EXPECT_EQ(load("file", 1, 0) + load("file", 2, 0), "77 1 677 3 0");
    EXPECT_EQ(load("large", 0, 0), "16 2 0");
    int seeks[2];
    for (int const more : {0, 1}) {  // a byte more than units fit: read twice, as going back tells
        WriteWhole(dir.Bytes("large"), "");
        ASSERT_EQ(truncate(dir.Bytes("large").c_str(), MaxLen / 2 + more), 0);
        Faults const counting({Fault::kFail, 99, EIO, 0, Call::kSeek});
        EXPECT_EQ(load("large", 0, 0), "0 0 0");
        seeks[more] = counting.Seen();
    }
    EXPECT_LT(seeks[0], seeks[1]);
}

// Converts a piece up to `cut`, and then the rest, with what the first did not take in front.
template <class Out, class In, class Convert>
std::basic_string<Out> Cut(std::basic_string<In> const& src, std::size_t cut, Convert convert) {
    std::basic_string<Out> all, some(AnsiCharset::kLeastRoom, Out{});
    std::size_t at = 0;
    for (std::size_t const end : {std::min(cut, src.size()), src.size()}) {
        for (Converted piece{1, 1}; piece.taken + piece.made > 0; at += piece.taken) {
            auto const left = src.substr(at, end - at);  // of its own, that no read goes beyond
            piece = convert(left.data(), left.size(), end == src.size(), some.data(), some.size());
            all.append(some, 0, piece.made);
        }
    }
    EXPECT_EQ(at, src.size());
    return all;
}

// clang-format off
// Sets by the system's names. `back` is what the units become again, where the system converts.
struct {
    char const* set;
    std::string bytes;
    TString units, back;
    std::string backBytes;
} const kSets[] = {
    {"ISO-8859-3", "a\xA5z", u"a\uFFFDz", u"", ""},  // a byte that is no character
    {"KOI8-R", "\xD7\xFF", u"\u0432\u042A", u"", ""},
    {"EUC-JP", "A\xA4\xA2\xFF\xA4!\x8F\xB0\xA1z\xA4", u"A\u3042\uFFFD\uFFFD!\u4E02z\uFFFD",
     u"A\u3042\u00FC\xD83D\xDE00\xDC00z\u20AC\xD83D", "A\xA4\xA2\x8F\xAB\xE4???z??"},
    {"GB18030", "\x94\x39\xFC\x36\x81\x30z\x81\x30\x81", u"\xD83D\xDE00\uFFFD0z\uFFFD0\uFFFD", u"\xD83D\xDE00z\xD83D", "\x94\x39\xFC\x36z?"},
    {"CP1255", "\xE0\xC7\xE0\xD9\xE0", u"\uFB2E\u05D0\uFFFD\u05D0", u"\u05D0z", "\xE0z"},  // joins a letter with the point behind it
};
// clang-format on

TEST(TextTransfer, AnsiInAnySetOfTheSystem) {
    for (auto const& row : kSets) {
        for (std::size_t cut = 0; cut <= 14; ++cut) {
            SCOPED_TRACE(testing::Message() << row.set << cut);
            AnsiCharset in, out;
            ASSERT_TRUE(in.Open(row.set) && out.Open(row.set));
            EXPECT_EQ(in.GetForm() == AnsiCharset::Form::kSystem, !row.back.empty());
            if (in.GetForm() == AnsiCharset::Form::kTable) {
                EXPECT_EQ(in.Units()[static_cast<unsigned char>(row.bytes[1])], row.units[1]);
                continue;
            }
            EXPECT_EQ(Cut<TChar>(row.bytes, cut, [&](auto... args) { return in.ToUnits(args...); }),
                      row.units);
            EXPECT_EQ(Cut<char>(row.back, cut, [&](auto... args) { return out.FromUnits(args...); }),
                      row.backBytes);
        }
    }
    AnsiCharset unknown;
    EXPECT_TRUE(!unknown.Open("no such set") && platform::LastError() == platform::kNotSupported);
}

TEST(TextTransfer, AnsiFollowsTheLocaleOfTheProcess) {
    TempDir const dir;
    for (bool const utf8 : {false, true}) {
        ASSERT_TRUE(std::setlocale(LC_CTYPE, utf8 ? "C.UTF-8" : "C"));
        WriteWhole(dir.Bytes("file"), "A\x80\x81\x8D\x9F\xC3\xA9");
        TCharVFile text;
        text.LoadText(dir.Name("file"), 0);
        EXPECT_EQ(text.ToString(),
                  utf8 ? u"A\uFFFD\uFFFD\uFFFD\uFFFD\u00E9" : u"A\u20AC\u0081\u008D\u0178\u00C3\u00A9");
        text = u"\u00E9\u20AC\u0101\uFFFD\xD83D\xDE00-\xDC00";
        text.SaveText(dir.Name("file"), true, static_cast<Encoding>(7), true);
        EXPECT_EQ(ReadWhole(dir.Bytes("file")),
                  utf8 ? "\u00E9\u20AC\u0101\uFFFD\U0001F600-?" : "\xE9\x80\?\?\?\?-?");
    }
    std::setlocale(LC_CTYPE, "C");
}

}  // namespace
}  // namespace vfile::test
