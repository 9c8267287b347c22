// Bytes and units into each other, apart from files. The codec of single sequences, which has its own tests, says
// what is right.
#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <string_view>

#include "text/codec.h"
#include "text/utf8_pieces.h"

namespace vfile {

namespace {

using platform::AnsiCharset;
using namespace unicode;

std::u16string UnitsByCodec(std::string_view bytes) {
    std::u16string units;
    for (std::size_t at = 0; at < bytes.size();) {
        Step const step = DecodeUtf8(bytes.data() + at, bytes.size() - at);
        char16_t made[kMaxUtf16Units];
        units.append(made, EncodeUtf16(step.codePoint, made));
        at += step.len;
    }
    return units;
}

std::string BytesByCodec(std::u16string_view units, char32_t substitute) {
    std::string bytes;
    for (std::size_t at = 0; at < units.size();) {
        Step const step = DecodeUtf16(units.data() + at, units.size() - at);
        char made[kMaxUtf8Bytes];
        bytes.append(made, EncodeUtf8(step.form == Form::kWhole ? step.codePoint : substitute, made));
        at += step.len;
    }
    return bytes;
}

// Converts a piece up to `cut`, and then the rest, with what the first did not take in front.
template <class Out, class In, class Convert>
std::basic_string<Out> Cut(std::basic_string<In> const& src, std::size_t cut, std::size_t room,
                           Convert convert) {
    std::basic_string<Out> all, some(room, Out{});
    std::size_t at = 0;
    for (std::size_t const end : {cut, src.size()}) {
        for (Converted piece{1, 1}; piece.taken + piece.made > 0; at += piece.taken) {
            std::basic_string<In> const left =
                src.substr(at, end - at);  // of its own, that no read goes beyond
            piece = convert(left.data(), left.size(), end == src.size(), some.data(), room);
            EXPECT_LE(piece.made, room);
            all.append(some, 0, piece.made);
        }
    }
    EXPECT_EQ(at, src.size());
    return all;
}

// In one go, and cut everywhere with rooms from the least on.
template <class Out, class In, class Convert>
void ExpectCut(std::basic_string<In> const& src, std::basic_string<Out> const& want, std::size_t least,
               Convert convert) {
    for (std::size_t cut = 0; cut <= src.size(); ++cut) {
        for (std::size_t const room : {least, least + 1, least + 2, least + 3, least + 40, least + 400})
            ASSERT_TRUE(Cut<Out>(src, cut, room, convert) == want) << "cut at " << cut << ", room " << room;
    }
}

constexpr auto kOut = [](auto... args) { return Utf8OfUnits(args...); };
constexpr auto kOutAsAnsi = [](auto... args) { return Utf8OfUnits(args..., U'?'); };

std::string const kAscii = "sixty-four characters of ASCII, so that the wide steps are taken.";

TEST(TextCodec, Utf8OfEveryThreeBytesAndEveryTwoUnitsOfASurrogate) {
    std::string bytes(std::size_t{0x10000} * 4, 'A');
    for (unsigned first = 0x80; first < 0x100; ++first) {
        for (std::size_t i = 0; i < 0x10000; ++i) {
            bytes[i * 4] = static_cast<char>(first);
            bytes[i * 4 + 1] = static_cast<char>(i >> 8);
            bytes[i * 4 + 2] = static_cast<char>(i);
        }
        ASSERT_TRUE(Cut<char16_t>(bytes, 0, bytes.size(), UnitsOfUtf8) == UnitsByCodec(bytes)) << first;
    }
    std::u16string units;
    for (char16_t u = 0xFFFF; u > 0; --u) units += {u, u'A', u, 0xDC00, 0xD800, u};
    ASSERT_TRUE(Cut<char>(units, 0, 4096, kOut) == BytesByCodec(units, kReplacement));
    ASSERT_TRUE(Cut<char>(units, 0, 4096, kOutAsAnsi) == BytesByCodec(units, U'?'));
    std::u16string all;
    for (char32_t c = 0; c < 0x110000; c += c == 0xD7FF ? 0x801 : 1) {
        char16_t made[kMaxUtf16Units];
        all.append(made, EncodeUtf16(c, made));
    }
    EXPECT_TRUE(Cut<char16_t>(Cut<char>(all, 0, 9999, kOut), 0, 9999, UnitsOfUtf8) == all);
}

TEST(TextCodec, AMixedTextCutAnywhere) {
    std::string const bytes = kAscii + "é€\U0001F600\xE2\x82\xF0\x9F\x98" + kAscii +
                              "\xC0\xED\xA0\x80ж語\xF4\x90\x80\x80\xF0\x9F\x98\x80\xF5" + kAscii +
                              "\xF0\x9F\x98";
    ExpectCut(bytes, UnitsByCodec(bytes), kMaxUtf16Units, UnitsOfUtf8);
    std::u16string const units = UnitsByCodec(bytes) + u"\xDC00\xD83D" + UnitsByCodec(kAscii) + u"\xD83D";
    ExpectCut(units, BytesByCodec(units, kReplacement), kMaxUtf8Bytes, kOut);

    std::string swapped;
    for (char16_t const u : units) swapped += {static_cast<char>(u >> 8), static_cast<char>(u)};
    ExpectCut(swapped + "x", units, 1,
              [](auto... args) { return Decoder(TCharVFile::EncodingUtf16BE).Decode(args...); });
    ExpectCut(units, swapped, 2,
              [](auto... args) { return Encoder(TCharVFile::EncodingUtf16BE).Encode(args...); });
}

// Sets by the system's names. `back` is what the units become again.
constexpr struct {
    char const* set;
    AnsiCharset::Form form;
    std::string_view bytes;
    std::u16string_view units, back;
    std::string_view backBytes;
} kSets[] = {
    {"ISO-8859-2", AnsiCharset::Form::kTable,  "\xA1z",                                 u"\u0104z",                  u"",                                             ""                  },
    {"ISO-8859-3", AnsiCharset::Form::kTable,  "a\xA5z",                                u"a\uFFFDz",                 u"",                                             ""                  }, // a byte that is no character
    {"KOI8-R",     AnsiCharset::Form::kTable,  "\xD7\xFF",                              u"\u0432\u042A",             u"",                                             ""                  },
    {"EUC-JP",     AnsiCharset::Form::kSystem, "A\xA4\xA2\xFF\xA4!\x8F\xB0\xA1z\xA4",
     u"A\u3042\uFFFD\uFFFD!\u4E02z\uFFFD",                                                                           u"A\u3042\u00FC\xD83D\xDE00\xDC00z\u20AC\xD83D",
     "A\xA4\xA2\x8F\xAB\xE4???z??"                                                                                                                                                        },
    {"GB18030",    AnsiCharset::Form::kSystem, "\x94\x39\xFC\x36\x81\x30z\x81\x30\x81",
     u"\xD83D\xDE00\uFFFD0z\uFFFD0\uFFFD",                                                                           u"\xD83D\xDE00z\xD83D",                          "\x94\x39\xFC\x36z?"},
    {"CP1255",     AnsiCharset::Form::kSystem, "\xE0\xC7\xE0\xD9\xE0",                  u"\uFB2E\u05D0\uFFFD\u05D0", u"\u05D0z",
     "\xE0z"                                                                                                                                                                              }, // joins a letter with the point behind it
};

TEST(TextCodec, AnsiInAnySetOfTheSystem) {
    for (auto const& row : kSets) {
        SCOPED_TRACE(row.set);
        AnsiCharset look;
        ASSERT_TRUE(look.Open(row.set));
        ASSERT_EQ(look.GetForm(), row.form);
        if (row.form == AnsiCharset::Form::kTable) {
            std::u16string units;
            for (char const byte : row.bytes) units += look.Units()[static_cast<unsigned char>(byte)];
            EXPECT_TRUE(units == row.units);
            continue;
        }
        for (std::size_t cut = 0; cut <= 40; ++cut) {
            std::string const fill(40, 'x'), bytes = fill + std::string(row.bytes), back(row.backBytes);
            std::u16string const wide(40, u'x'), units = wide + std::u16string(row.units);
            AnsiCharset in, out;
            ASSERT_TRUE(in.Open(row.set) && out.Open(row.set));
            EXPECT_TRUE(Cut<char16_t>(bytes, bytes.size() - std::min(cut, bytes.size()),
                                      AnsiCharset::kLeastRoom,
                                      [&](auto... args) { return in.ToUnits(args...); }) == units)
                << cut;
            std::u16string const src = wide + std::u16string(row.back);
            EXPECT_TRUE(Cut<char>(src, src.size() - std::min(cut, src.size()), AnsiCharset::kLeastRoom,
                                  [&](auto... args) { return out.FromUnits(args...); }) == fill + back)
                << cut;
        }
    }
    AnsiCharset unknown;
    EXPECT_FALSE(unknown.Open("no such set"));
    EXPECT_EQ(platform::LastError(), platform::kNotSupported);
}

TEST(TextCodec, AnsiFollowsTheLocaleOfTheProcess) {
    Decoder in(TCharVFile::EncodingAnsi);
    Encoder out(TCharVFile::EncodingAnsi);
    ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
    ASSERT_TRUE(in.Open() == ResDone && out.Open() == ResDone);
    Decoder inUtf8(TCharVFile::EncodingAnsi);
    Encoder outUtf8(TCharVFile::EncodingAnsi);
    ASSERT_TRUE(std::setlocale(LC_CTYPE, "C.UTF-8"));
    ASSERT_TRUE(inUtf8.Open() == ResDone && outUtf8.Open() == ResDone);
    std::setlocale(LC_CTYPE, "C");

    auto const decode = [](Decoder& decoder, std::string const& bytes) {
        return Cut<char16_t>(bytes, bytes.size() / 2, 64,
                             [&](auto... args) { return decoder.Decode(args...); });
    };
    auto const encode = [](Encoder& encoder, std::u16string const& units) {
        return Cut<char>(units, units.size() / 2, 64, [&](auto... args) { return encoder.Encode(args...); });
    };
    EXPECT_TRUE(decode(in, "A\x80\x81\x8D\x8F\x90\x9D\x9F\xFF") ==
                u"A\u20AC\u0081\u008D\u008F\u0090\u009D\u0178\u00FF");
    std::string every(256, '\0');
    for (std::size_t i = 0; i < 256; ++i) every[i] = static_cast<char>(i);
    EXPECT_TRUE(encode(out, decode(in, every)) == every);
    EXPECT_EQ(encode(out, u"\u0080\u2010\u0101\uFF21\uFFFD\xD83D\xDE00-\xD83D+\xDC00"),
              std::string(7, '?') + "-?+?");
    EXPECT_TRUE(decode(inUtf8, "\xC3\xA9\xE2\x82z") == u"\u00E9\uFFFDz");
    EXPECT_EQ(encode(outUtf8, u"\u00E9\xD83D\xDE00\xDC00"), "\u00E9\U0001F600?");
}

}  // namespace

}  // namespace vfile
