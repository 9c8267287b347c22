#include "support/test.h"
#include "unicode/utf.h"

namespace vfile::unicode {

namespace {

auto Told(Step const& step) { return std::tuple(step.codePoint, step.len, static_cast<int>(step.form)); }

}  // namespace

TEST(Utf, EveryCharacterThereAndBackAndEveryStartOfThreeBytes) {
    enum Start : char { kNone, kBegins, kWholeOne };
    std::vector<Start> starts[4];  // what so many bytes are, gathered from the characters themselves
    for (std::size_t n = 1; n <= 3; ++n) starts[n].resize(std::size_t{1} << 8 * n);
    for (char32_t c = 0; c < 0x110000; ++c) {
        if (c == 0xD800) c = 0xE000;
        std::filesystem::path const character(std::u32string(1, c));
        std::string const bytes = character.string();
        std::u16string const units = character.u16string();
        auto const len = static_cast<std::uint32_t>(bytes.size()),
                   unitCount = static_cast<std::uint32_t>(units.size());
        char utf8[kMaxUtf8Bytes];
        char16_t utf16[kMaxUtf16Units];
        ASSERT_EQ(std::string_view(utf8, EncodeUtf8(c, utf8)), bytes);
        ASSERT_EQ(std::u16string_view(utf16, EncodeUtf16(c, utf16)), units);
        ASSERT_EQ(Told(DecodeUtf16(utf16, unitCount)), Told({c, unitCount, Form::kWhole}));
        for (std::uint32_t n = 1, number = 0; n <= len; ++n) {
            Step const want = n < len ? Step{kReplacement, n, Form::kIncomplete} : Step{c, n, Form::kWhole};
            ASSERT_EQ(Told(DecodeUtf8(utf8, n)), Told(want));
            number = number << 8 | static_cast<unsigned char>(bytes[n - 1]);
            if (n < 4) starts[n][number] = n < len ? kBegins : kWholeOne;
        }
    }
    // A maximal subpart is the longest start that some character has too, or else one byte.
    for (std::size_t number = 0; number < 1 << 24; ++number) {
        char const bytes[] = {static_cast<char>(number >> 16), static_cast<char>(number >> 8),
                              static_cast<char>(number), '\x7F'};
        std::uint32_t len = 1;
        while (len < 3 && starts[len][number >> 8 * (3 - len)] == kBegins) ++len;
        Start const start = starts[len][number >> 8 * (3 - len)];
        std::uint32_t const steps = start == kNone && len > 1 ? len - 1 : len;
        Form const forms[] = {Form::kIllFormed, Form::kIncomplete, Form::kWhole};
        ASSERT_TRUE(DecodeUtf8(bytes, 3).len == steps && DecodeUtf8(bytes, 3).form == forms[start]) << number;
        if (start != kBegins) continue;
        ASSERT_EQ(Told(DecodeUtf8(bytes, 4)), Told({kReplacement, 3, Form::kIllFormed})) << number;
    }
}

}  // namespace vfile::unicode
