// Text files where the fuzz target does not go: huge ones, and other character sets.
#include <sys/stat.h>

#include "support/faults.h"
#include "support/temp_dir.h"
#include "support/test.h"
#include "text/codec.h"

namespace vfile::test {
namespace {

using enum TCharVFile::Encoding;
using Encoding = TCharVFile::Encoding;
using platform::AnsiCharset;

TEST(TextTransfer, SizesBesideTheFuzzers) {
    TempDir const dir;
    TCharVFile text;
    Encoding found{};
    auto const load = [&](std::string const& begin, std::int64_t size) {
        WriteWhole(dir.Bytes("file"), begin);
        std::filesystem::resize_file(dir.Bytes("file"), static_cast<std::uintmax_t>(size));
        text.LoadText(dir.Name("file"), found, 0);
        return text.res;
    };
    EXPECT_TRUE(load("\xFE\xFF", (std::int64_t{2} << 30) + 2) == ResTooLong && found == EncodingUtf16BE &&
                text.Length() == 0);
    EXPECT_TRUE(load("\xEF\xBB\xBFxy", std::int64_t{1} << 32) == ResDone && found == EncodingUtf8 &&
                text.ToString() == u"xy");
    int seeks[2];
    for (int const more : {0, 1}) {  // a byte more than units fit: read twice, as going back tells
        Faults const counting({Fault::kFail, 99, EIO, 0, Call::kSeek});
        EXPECT_TRUE(load("", MaxLen / 2 + more) == ResDone && text.Length() == 0);
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
