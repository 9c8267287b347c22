// Text files in and out, written and read byte by byte by the test.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <vfile/char_file.h>

#include <cerrno>
#include <clocale>
#include <string>
#include <utility>
#include <vector>

#include "support/faults.h"
#include "support/temp_dir.h"

namespace vfile::test {

namespace {

using enum TCharVFile::Encoding;
using Encoding = TCharVFile::Encoding;

// A text whose hooks keep a record, and veto the `vetoed`th change.
class Text : public TCharVFile {
public:
    using TCharVFile::operator=;
    std::string seen;
    int vetoed = 0;

    void Set(std::int32_t bits) { flags = bits; }
    void Watch() { type = 1, flags = EolWatchOn; }
    std::string Bytes() {
        std::string bytes(static_cast<std::size_t>(Length()), '\0');
        SetPos(0);
        ReadBytes(bytes.data(), Length());
        return bytes;
    }

protected:
    std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) const override {
        int const left = --const_cast<Text*>(this)->vetoed;
        const_cast<Text*>(this)->seen +=
            '(' + std::to_string(start) + ' ' + std::to_string(delLen) + ' ' + std::to_string(insLen) + ')';
        return left == 0 ? 77 : 0;
    }
};

std::string operator""_s(char const* bytes, std::size_t len) { return {bytes, len}; }

std::string Stored(std::u16string const& units) {
    return {reinterpret_cast<char const*>(units.data()), units.size() * 2};
}

std::string Repeated(std::string const& part, int times) {
    std::string all;
    while (times-- > 0) all += part;
    return all;
}

std::string const kMixed = "ASCII \u00E9 \u0436\u0436 \u8A9E \U0001F600.";  // 27 bytes, no divisor of a step
std::u16string const kMixedUnits = u"ASCII \u00E9 \u0436\u0436 \u8A9E \U0001F600.";

struct Row {
    std::string bytes;
    Encoding found;
    std::string stored;
};

TEST(TextTransfer, LoadsWhatTheMarkSays) {
    std::string const stored = Repeated(Stored(kMixedUnits), 9000), odd = "x" + Repeated(kMixed, 9000);
    // clang-format off
    std::vector<Row> const rows = {
        {"", EncodingAnsi, ""},
        {"A", EncodingAnsi, "A\0"_s},
        {"\xFF", EncodingAnsi, "\xFF\0"_s},
        {"\xFF\xFE", EncodingUtf16, ""},
        {"\xFE\xFF", EncodingUtf16BE, ""},
        {"\xEF\xBB\xBF", EncodingUtf8, ""},
        {"\xEF\xBB\x41", EncodingAnsi, "\xEF\0\xBB\0A\0"_s},
        {"\xFE\xFF\0A\0"_s, EncodingUtf16BE, "A\0"_s},
        {"\xFF\xFE\x41\0\x42"_s, EncodingUtf16, "A\0B"_s},
        {"\xFF\xFE\0\0"_s, EncodingUtf16, "\0\0"_s},
        {"\xFE\xFF\0\0\xD8\0"_s, EncodingUtf16BE, "\0\0\0\xD8"_s},
        {"\xEF\xBB\xBF\x41\0\x42"_s, EncodingUtf8, "A\0"_s},
        {"\xEF\xBB\xBF\xF0\x9F\x98\0\x80"_s, EncodingUtf8, "\xFD\xFF"_s},
        {"\0A"_s, EncodingAnsi, ""},
        {"\x80\r\n", EncodingAnsi, "\xAC\x20\r\0\n\0"_s},
        {"\xEF\xBB\xBF" + Repeated(kMixed, 9000), EncodingUtf8, stored},
        {"\xEF\xBB\xBF" + odd + "\xE8\xAA\0"_s + odd, EncodingUtf8, "x\0"_s + stored + "\xFD\xFF"},
        {Repeated("a", 70000) + "\0b"_s, EncodingAnsi, Repeated("a\0"_s, 70000)},
        {"\xFF\xFE" + stored, EncodingUtf16, stored},
    };
    // clang-format on
    TempDir dir;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        WriteWhole(dir.Bytes("file"), rows[i].bytes);
        for (std::size_t const cut : {0u, 1u, 2u, 5u, 4099u}) {
            if (cut == 1 && rows[i].bytes.size() > 100000) continue;
            SCOPED_TRACE(testing::Message() << "row " << i << ", reads of " << cut);
            Text text;
            text = u"old";
            text.seen.clear();
            Encoding found{};
            {
                Faults faults({Fault::kCutAll, 1, 0, cut, Call::kRead});
                text.LoadText(dir.Name("file"), found, 1);
            }
            EXPECT_EQ(std::pair(text.res, found), std::pair(FileRes{ResDone}, rows[i].found));
            EXPECT_TRUE(text.GetPos() == 0 && !text.eof);
            std::string const size = std::to_string(rows[i].stored.size());
            EXPECT_EQ(text.seen, "(0 6 0)" + (rows[i].stored.empty() ? "" : "(0 0 " + size + ')'));
            EXPECT_TRUE(text.Bytes() == rows[i].stored);
            Text as;
            as.LoadTextAs(dir.Name("file"), rows[i].found, 0);
            EXPECT_TRUE(as.Bytes() == rows[i].stored);
        }
    }
    Text as;
    WriteWhole(dir.Bytes("file"), "\xEF\xBB\xBF\xC3\xA9");
    as.LoadTextAs(dir.Name("file"), static_cast<Encoding>(7), 0);
    EXPECT_TRUE(as.ToString() == u"\u00EF\u00BB\u00BF\u00C3\u00A9");
    as.LoadTextAs(dir.Name("file"), EncodingUtf16BE, 0);
    EXPECT_TRUE(as.ToString() == u"\xEFBB\xBFC3");
    WriteWhole(dir.Bytes("file"), "ab\0c"_s);  // far longer than a text may be, but for its zero byte
    std::filesystem::resize_file(dir.Bytes("file"), std::uintmax_t{1} << 32);
    as.LoadTextAs(dir.Name("file"), EncodingAnsi, 0);
    EXPECT_TRUE(as.ToString() == u"ab" && as.GetPos() == 4 && as.res == ResDone);
    as.Watch();
    WriteWhole(dir.Bytes("file"), "a\n");
    as.LoadText(dir.Name("file"), 0);
    EXPECT_TRUE(as.FlagOn(TCharVFile::EolSeen));
}

TEST(TextTransfer, AFailedLoadLeavesTheFileEmptyWithItsCode) {
    TempDir dir;
    WriteWhole(dir.Bytes("file"), "\xEF\xBB\xBF" + Repeated(kMixed, 9000));
    std::string const old = "o\0l\0d\0"_s;
    auto const load = [&](char const* name, FileRes res, Encoding found, std::string const& left,
                          Text& text) {
        text = u"old";
        Encoding told{};
        text.LoadText(dir.Name(name), told, 0);
        EXPECT_EQ(text.res, res) << name;
        EXPECT_EQ(told, found) << name;
        text.Reset();
        EXPECT_TRUE(text.Bytes() == left) << name;
    };
    Text text;
    load("absent", ResNotFound, EncodingUtf16, "", text);
    for (bool const locked : {false, true}) {
        Text barred;
        barred = u"old";
        barred.Set(locked ? TCharVFile::Locked : TCharVFile::ReadOnly);
        Encoding told{};
        barred.LoadText(dir.Name("file"), told, 0);
        EXPECT_EQ(barred.res, locked ? ResContextError : ResReadOnly);
        EXPECT_TRUE(told == EncodingUtf16 && barred.Bytes() == old);
    }
    text.vetoed = 2;
    load("file", 77, EncodingUtf16, old, text);
    text.vetoed = 3;
    load("file", 77, EncodingUtf8, "", text);
    for (int nth : {1, 2, 3}) {  // the first look, the first step, a later one
        Faults faults({Fault::kFail, nth, EIO, 0, Call::kRead});
        load("file", ResDiskParityError, EncodingUtf16, "", text);
    }
    std::string const large = dir.Bytes("large");
    WriteWhole(large, "\xFE\xFF");
    ASSERT_EQ(truncate(large.c_str(), off_t{2} << 30 | 2), 0);
    load("large", ResTooLong, EncodingUtf16BE, "", text);
    int seeks[2];
    for (int const more : {0, 1}) {  // a byte more than units fit: read twice, as going back tells
        WriteWhole(large, "");
        ASSERT_EQ(truncate(large.c_str(), MaxLen / 2 + more), 0);
        Faults counting({Fault::kFail, 99, EIO, 0, Call::kSeek});
        load("large", ResDone, EncodingAnsi, "", text);
        seeks[more] = counting.Seen();
    }
    EXPECT_LT(seeks[0], seeks[1]);
}

TEST(TextTransfer, SavesInEveryEncoding) {
    TempDir dir;
    std::u16string units;
    for (int i = 0; i < 9000; ++i) units += kMixedUnits;
    struct {
        std::string stored;
        Encoding to;
        bool mark;
        std::string bytes;
    } const rows[] = {
  // clang-format off
        {"", EncodingUtf8, true, "\xEF\xBB\xBF"},
        {"", EncodingUtf8, false, ""},
        {"A\0"_s, EncodingAnsi, true, "A"},
        {"A\0\x80\0\xAC\x20\0\0\0\xD8"_s, static_cast<Encoding>(7), true, "A?\x80\0?"_s},
        {"A\0\xAC\x20"_s, EncodingUtf16BE, true, "\xFE\xFF\0A\x20\xAC"_s},
        {"A\0\0\0\0\xDCx"_s, EncodingUtf8, false, "A\0\xEF\xBF\xBD"_s},
        {"A\0\0\xD8"_s, EncodingUtf8, false, "A\xEF\xBF\xBD"},
        {"A\0x"_s, EncodingUtf16, true, "\xFF\xFE\x41\0x"_s},
        {"x", EncodingUtf16, false, "x"},
        {"x", EncodingUtf16BE, true, "\xFE\xFF"},
        {Stored(units), EncodingUtf8, false, Repeated(kMixed, 9000)},
        {Stored(u'x' + units), EncodingUtf8, true, "\xEF\xBB\xBFx" + Repeated(kMixed, 9000)},
  // clang-format on
    };
    for (auto const& row : rows) {
        WriteWhole(dir.Bytes("raw"), row.stored);
        Text text;
        text.Load(dir.Name("raw").c_str(), 0);
        text.res = ResDiskFull;
        text.SaveText(dir.Name("out"), true, row.to, row.mark);
        std::size_t const i = static_cast<std::size_t>(&row - rows);
        std::int32_t const end = row.to == EncodingUtf16 ? text.Length() : text.TCharLength() * 2;
        EXPECT_TRUE(ReadWhole(dir.Bytes("out")) == row.bytes) << i;
        EXPECT_EQ(std::pair(text.res, text.GetPos()), std::pair(FileRes{ResDone}, end)) << i;
        text.SaveText(dir.Name("out"), false, row.to, row.mark);
        EXPECT_EQ(std::pair(text.res, text.GetPos()), std::pair(FileRes{ResAlreadyExists}, 0)) << i;
        for (int nth = 1; row.bytes.size() > 100000 && nth <= 3; ++nth) {
            Faults faults({Fault::kFailOnward, nth, ENOSPC, 0, Call::kWrite});
            text.SaveText(dir.Name("out"), true, row.to, row.mark);
            EXPECT_EQ(std::pair(text.res, text.GetPos()), std::pair(FileRes{ResDiskFull}, end)) << nth;
        }
    }
}

}  // namespace

}  // namespace vfile::test
