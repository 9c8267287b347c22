#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "unicode/utf.h"

namespace vfile::unicode {

namespace {

constexpr char32_t kCodePoints = 0x110000;

bool IsCharacter(char32_t c) { return c < 0xD800 || (c > 0xDFFF && c < kCodePoints); }

// Told by arithmetic alone, with nothing of the codec's.
std::string Utf8Of(char32_t c) {
    int const tail = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    char32_t const marks[] = {0, 192, 224, 240};
    char32_t unit = 1;
    for (int i = 0; i < tail; ++i) unit *= 64;
    std::string bytes(1, static_cast<char>(marks[tail] + c / unit));
    for (; unit > 1; unit /= 64) bytes += static_cast<char>(128 + c % unit / (unit / 64));
    return bytes;
}

bool Same(Step const& a, Step const& b) {
    return a.form == b.form && a.len == b.len && a.codePoint == b.codePoint;
}

// Decoded from the last bytes of a heap block, so that a sanitizer sees a look past the end.
Step DecodeAtTheEnd(std::string const& bytes, std::size_t len) {
    static auto const block = std::make_unique<char[]>(kMaxUtf8Bytes);
    char* const start = block.get() + kMaxUtf8Bytes - len;
    bytes.copy(start, len);
    return DecodeUtf8(start, len);
}

// Which bytes are a character and which begin one, gathered from the characters themselves.
class WellFormed {
public:
    WellFormed() {
        for (std::size_t len = 1; len <= 3; ++len) starts_[len].resize(std::size_t{1} << 8 * len);
        for (char32_t c = 0; c < kCodePoints; ++c) {
            if (!IsCharacter(c)) continue;
            std::string const bytes = Utf8Of(c);
            std::size_t number = 0;
            for (std::size_t len = 1; len <= bytes.size() && len <= 3; ++len) {
                number = number << 8 | static_cast<unsigned char>(bytes[len - 1]);
                starts_[len][number] = len == bytes.size() ? kWholeOne : kBegins;
            }
        }
    }

    // A maximal subpart is the longest start that some character has too, or else one byte.
    Step StepAt(std::size_t threeBytes) const {
        for (std::uint32_t len = 1; len <= 3; ++len) {
            Start const start = starts_[len][threeBytes >> 8 * (3 - len)];
            if (start == kNone) return {kReplacement, len == 1 ? 1 : len - 1, Form::kIllFormed};
            if (start == kWholeOne) return {0, len, Form::kWhole};
        }
        return {kReplacement, 3, Form::kIncomplete};
    }

private:
    enum Start : char { kNone, kBegins, kWholeOne };
    std::vector<Start> starts_[4];
};

}  // namespace

TEST(Utf, EveryCharacterThereAndBackAndEveryPieceOfIt) {
    for (char32_t c = 0; c < kCodePoints; ++c) {
        if (!IsCharacter(c)) continue;
        std::string bytes(kMaxUtf8Bytes, '\0');
        bytes.resize(EncodeUtf8(c, bytes.data()));
        char16_t units[kMaxUtf16Units];
        std::size_t const count = EncodeUtf16(c, units);
        bool right = bytes == Utf8Of(c) && count == (c < 0x10000 ? 1u : 2u);
        for (std::uint32_t n = 1; n < bytes.size(); ++n) {
            right = right && Same(DecodeAtTheEnd(bytes, n), {kReplacement, n, Form::kIncomplete});
        }
        right = right && Same(DecodeAtTheEnd(bytes, bytes.size()),
                              {c, static_cast<std::uint32_t>(bytes.size()), Form::kWhole});
        right =
            right && Same(DecodeUtf16(units, count), {c, static_cast<std::uint32_t>(count), Form::kWhole});
        ASSERT_TRUE(right) << "code point " << static_cast<std::uint32_t>(c);
    }
}

TEST(Utf, EveryStartOfThreeBytesStepsOverItsMaximalSubpart) {
    WellFormed const wellFormed;
    // Where the first bytes decide already, some third bytes are enough.
    for (std::size_t number = 0, step = 1; number < 1 << 24; number += step) {
        Step const want = wellFormed.StepAt(number);
        step = want.len < (want.form == Form::kWhole ? 3u : 2u) ? 16 : 1;
        char bytes[] = {static_cast<char>(number >> 16), static_cast<char>(number >> 8),
                        static_cast<char>(number), '\0'};
        Step got = DecodeUtf8(bytes, 3);
        if (got.form == Form::kWhole) got.codePoint = 0;  // that it is the right one, the test above shows
        ASSERT_TRUE(Same(got, want)) << std::hex << number << " gave " << got.len << " bytes";
        if (want.form != Form::kIncomplete) continue;
        for (int last : {0x00, 0x7F, 0xC0, 0xFF}) {
            bytes[3] = static_cast<char>(last);
            ASSERT_TRUE(Same(DecodeUtf8(bytes, 4), {kReplacement, 3, Form::kIllFormed}))
                << std::hex << number;
        }
    }
}

TEST(Utf, LoneSurrogatesAreIllFormedAndAHighOneAtTheEndWaits) {
    for (unsigned first = 0xD800; first <= 0xDFFF; ++first) {
        bool const high = first <= 0xDBFF;
        for (unsigned second : {0u, 0x41u, 0xD7FFu, 0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu, 0xE000u}) {
            SCOPED_TRACE(testing::Message() << std::hex << first << ' ' << second);
            char16_t const units[] = {static_cast<char16_t>(first), static_cast<char16_t>(second)};
            bool const pair = high && second >= 0xDC00 && second <= 0xDFFF;
            EXPECT_EQ(DecodeUtf16(units, 2).form, pair ? Form::kWhole : Form::kIllFormed);
            EXPECT_EQ(DecodeUtf16(units, 2).len, pair ? 2u : 1u);
            EXPECT_EQ(DecodeUtf16(units, 1).form, high ? Form::kIncomplete : Form::kIllFormed);
        }
    }
}

}  // namespace vfile::unicode
