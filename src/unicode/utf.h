// One sequence at a time between UTF-8, UTF-16 and code points. Nothing here looks past the units it is given,
// and nothing fails: what is no character comes back as a step over it, and the caller decides what stands in
// its place.
//
//   Ill-formed  overlong forms, surrogates in UTF-8, values past U+10FFFF, lone surrogates in UTF-16. A step
//               over one covers its maximal subpart: as many units as begin some well-formed sequence, at
//               least one.
//   Incomplete  the units end inside a sequence that is well-formed so far. In a piece of a longer text they
//               wait for the next piece; at the end of the whole text they are one ill-formed subpart.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vfile::unicode {

inline constexpr char32_t kReplacement = 0xFFFD;
inline constexpr std::size_t kMaxUtf8Bytes = 4;
inline constexpr std::size_t kMaxUtf16Units = 2;

constexpr bool IsHighSurrogate(char32_t c) { return (c & ~char32_t{0x3FF}) == 0xD800; }
constexpr bool IsLowSurrogate(char32_t c) { return (c & ~char32_t{0x3FF}) == 0xDC00; }
constexpr bool IsSurrogate(char32_t c) { return (c & ~char32_t{0x7FF}) == 0xD800; }

enum class Form { kWhole, kIllFormed, kIncomplete };

// `codePoint` is the character of a whole sequence, else kReplacement; `len` is the units stepped over.
struct Step {
    char32_t codePoint;
    std::uint32_t len;
    Form form;
};

// The step at `src`, where `len` units, at least one, can be seen.
Step DecodeUtf8(char const* src, std::size_t len);
Step DecodeUtf16(char16_t const* src, std::size_t len);

// Encodes `codePoint`, which must be a character, to `dst` and gives the units written; `dst` has room for
// the longest form.
std::size_t EncodeUtf8(char32_t codePoint, char* dst);
std::size_t EncodeUtf16(char32_t codePoint, char16_t* dst);

}  // namespace vfile::unicode
