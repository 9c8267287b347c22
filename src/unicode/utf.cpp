#include "unicode/utf.h"

#include <cassert>

namespace vfile::unicode {

namespace {

// What a lead byte promises: the length of its sequence (0: no lead byte) and the range of the second byte,
// which is where overlong forms, surrogates and values past the last code point are told.
struct Lead {
    std::uint32_t len;
    unsigned char low, high;
};

Lead LeadOf(unsigned char first) {
    if (first < 0xC2) return {0, 0, 0};
    if (first < 0xE0) return {2, 0x80, 0xBF};
    if (first == 0xE0) return {3, 0xA0, 0xBF};
    if (first == 0xED) return {3, 0x80, 0x9F};
    if (first < 0xF0) return {3, 0x80, 0xBF};
    if (first == 0xF0) return {4, 0x90, 0xBF};
    if (first < 0xF4) return {4, 0x80, 0xBF};
    if (first == 0xF4) return {4, 0x80, 0x8F};
    return {0, 0, 0};
}

char Continuation(char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3F)); }

[[maybe_unused]] bool IsCharacter(char32_t codePoint) {
    return codePoint <= 0x10FFFF && !IsSurrogate(codePoint);
}

}  // namespace

Step DecodeUtf8(char const* src, std::size_t len) {
    assert(len > 0);
    auto const first = static_cast<unsigned char>(src[0]);
    if (first < 0x80) return {first, 1, Form::kWhole};

    Lead lead = LeadOf(first);
    if (lead.len == 0) return {kReplacement, 1, Form::kIllFormed};
    char32_t codePoint = first & (0x7Fu >> lead.len);
    for (std::uint32_t n = 1; n < lead.len; ++n) {
        if (n == len) return {kReplacement, n, Form::kIncomplete};
        auto const next = static_cast<unsigned char>(src[n]);
        if (next < lead.low || next > lead.high) return {kReplacement, n, Form::kIllFormed};
        codePoint = codePoint << 6 | (next & 0x3F);
        lead.low = 0x80;
        lead.high = 0xBF;
    }
    return {codePoint, lead.len, Form::kWhole};
}

Step DecodeUtf16(char16_t const* src, std::size_t len) {
    assert(len > 0);
    char32_t const first = src[0];
    if (!IsSurrogate(first)) return {first, 1, Form::kWhole};
    if (!IsHighSurrogate(first)) return {kReplacement, 1, Form::kIllFormed};
    if (len == 1) return {kReplacement, 1, Form::kIncomplete};
    char32_t const second = src[1];
    if (!IsLowSurrogate(second)) return {kReplacement, 1, Form::kIllFormed};
    return {0x10000 + ((first & 0x3FF) << 10 | (second & 0x3FF)), 2, Form::kWhole};
}

std::size_t EncodeUtf8(char32_t codePoint, char* dst) {
    assert(IsCharacter(codePoint));
    if (codePoint < 0x80) {
        dst[0] = static_cast<char>(codePoint);
        return 1;
    }
    if (codePoint < 0x800) {
        dst[0] = static_cast<char>(0xC0 | codePoint >> 6);
        dst[1] = Continuation(codePoint);
        return 2;
    }
    if (codePoint < 0x10000) {
        dst[0] = static_cast<char>(0xE0 | codePoint >> 12);
        dst[1] = Continuation(codePoint >> 6);
        dst[2] = Continuation(codePoint);
        return 3;
    }
    dst[0] = static_cast<char>(0xF0 | codePoint >> 18);
    dst[1] = Continuation(codePoint >> 12);
    dst[2] = Continuation(codePoint >> 6);
    dst[3] = Continuation(codePoint);
    return 4;
}

std::size_t EncodeUtf16(char32_t codePoint, char16_t* dst) {
    assert(IsCharacter(codePoint));
    if (codePoint < 0x10000) {
        dst[0] = static_cast<char16_t>(codePoint);
        return 1;
    }
    char32_t const offset = codePoint - 0x10000;
    dst[0] = static_cast<char16_t>(0xD800 | offset >> 10);
    dst[1] = static_cast<char16_t>(0xDC00 | (offset & 0x3FF));
    return 2;
}

}  // namespace vfile::unicode
