#include <vfile/bounded_strings.h>

#include <cstddef>
#include <string>

#include "frame/stop.h"

namespace vfile {
namespace {

constexpr TChar const* kModule = u"HSys";

std::size_t Length(TChar const* s) { return std::char_traits<TChar>::length(s); }

// The length of `s`, or `limit` when it is that long or longer. Looks at no unit from `limit` on.
template <class Unit>
std::size_t LengthWithin(Unit const* s, std::size_t limit) {
    std::size_t length = 0;
    while (length < limit && s[length]) ++length;
    return length;
}

template <class Unit>
bool Sound(Unit const* dst, std::uint32_t size) {
    VFILE_REQUIRE(kModule, dst);
    VFILE_REQUIRE(kModule, size > 0);
    return dst && size > 0;
}

template <class Unit>
void Copy(Unit* dst, std::size_t size, Unit const* src) {
    std::size_t const length = src ? LengthWithin(src, size - 1) : 0;
    std::char_traits<Unit>::move(dst, src, length);
    dst[length] = 0;
}

template <class Unit>
void Assign(Unit* dst, std::uint32_t size, Unit const* src) {
    if (Sound(dst, size)) Copy(dst, size, src);
}

template <class Unit>
void Append(Unit* dst, std::uint32_t size, Unit const* src) {
    if (!Sound(dst, size)) return;
    std::size_t const length = LengthWithin(dst, size);
    VFILE_REQUIRE(kModule, length < size);
    if (length < size) Copy(dst + length, size - length, src);
}

TChar Folded(TChar c) { return c >= u'A' && c <= u'Z' ? static_cast<TChar>(c - u'A' + u'a') : c; }

std::size_t StartWithoutBlanks(TChar const* s) {
    std::size_t start = 0;
    while (IsBlank(s[start])) ++start;
    return start;
}

std::size_t EndWithoutBlanks(TChar const* s, std::size_t start, std::size_t end) {
    while (end > start && IsBlank(s[end - 1])) --end;
    return end;
}

// Keeps the units from `start` to `end`. A terminator is written only where something goes, so that a string
// that needs no trimming may stand in memory that cannot be written.
void Keep(TChar* s, std::size_t start, std::size_t end) {
    if (start == 0 && !s[end]) return;
    std::char_traits<TChar>::move(s, s + start, end - start);
    s[end - start] = 0;
}

}  // namespace

void AssignStr(TChar* dst, std::uint32_t size, TChar const* src) { Assign(dst, size, src); }
void AssignStrW(TChar* dst, std::uint32_t size, TChar const* src) { Assign(dst, size, src); }
void AssignStrA(char* dst, std::uint32_t size, char const* src) { Assign(dst, size, src); }

void AppendStr(TChar* dst, std::uint32_t size, TChar const* src) { Append(dst, size, src); }
void AppendStrW(TChar* dst, std::uint32_t size, TChar const* src) { Append(dst, size, src); }
void AppendStrA(char* dst, std::uint32_t size, char const* src) { Append(dst, size, src); }

void CondAssignStr(TChar* dst, std::uint32_t size, TChar const* src) {
    if (dst) Assign(dst, size, src);
}

void CondAppendStr(TChar* dst, std::uint32_t size, TChar const* src) {
    if (dst) Append(dst, size, src);
}

bool IsBlank(TChar c) { return c == u' ' || c == u'\r' || c == u'\n' || c == u'\t' || c == u'\f'; }

bool IsBlank(TChar const* s) { return !s || !s[StartWithoutBlanks(s)]; }

void Trim(TChar* s) {
    if (!s) return;
    std::size_t const start = StartWithoutBlanks(s);
    Keep(s, start, EndWithoutBlanks(s, start, Length(s)));
}

void TrimLeft(TChar* s) {
    if (s) Keep(s, StartWithoutBlanks(s), Length(s));
}

void TrimRight(TChar* s) {
    if (s) Keep(s, 0, EndWithoutBlanks(s, 0, Length(s)));
}

void TrimZeroes(TChar* s) {
    if (!s) return;
    std::size_t len = Length(s);
    std::size_t dot = 0;
    while (dot < len && s[dot] != u'.') ++dot;
    while (len > dot && s[len - 1] == u'0') --len;
    if (len > dot && s[len - 1] == u'.') --len;
    if (len == 0) s[len++] = u'0';
    s[len] = 0;
}

bool EqualStr(TChar const* a, TChar const* b) {
    while (*a && *a == *b) ++a, ++b;
    return *a == *b;
}

bool EqualStrI(TChar const* a, TChar const* b) {
    while (*a && Folded(*a) == Folded(*b)) ++a, ++b;
    return Folded(*a) == Folded(*b);
}

EolKind GetEolKind() { return EolKind::Default; }

}  // namespace vfile
