// The editing forms of a text: every one a change of bytes.
#include <vfile/char_file.h>
#include <vfile/halt.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "frame/number_text.h"
#include "text/units.h"
#include "vfile/take_over.h"

namespace vfile {

namespace {

// Bytes of a count that came with a pointer: one that no text can have becomes negative, a bad call, so that the
// caller's units are never read past what was asked.
constexpr std::int32_t BytesOfUnits(std::int32_t units) {
    return units < 0 || units > 0x3FFFFFFF ? -1 : units * 2;
}

// Bytes of a whole string, MaxLen + 1 and more for one longer than any text.
std::size_t BytesIn(std::u16string_view s) { return s.size() * sizeof(TChar); }

// Puts a string in the place of `delLen` bytes, by the operation that the base has or by what a derived class makes of
// it. One longer than any text is too long like any other source.
enum Road { kOfBase, kOfClass };
void ReplaceText(VFile& file, Road road, std::int32_t start, std::int32_t delLen, std::u16string_view s) {
    std::size_t const bytes = BytesIn(s);
    if (bytes > static_cast<std::size_t>(MaxLen)) {
        if (file.res == ResDone) file.res = ResTooLong;
    } else if (road == kOfBase) {
        file.VFile::ReplaceBuf(start, delLen, s.data(), static_cast<std::int32_t>(bytes));
    } else {
        file.ReplaceBuf(start, delLen, s.data(), static_cast<std::int32_t>(bytes));
    }
}

}  // namespace

void TCharVFile::InsertTChar(TChar ch) { ReplaceBuf(GetPos(), 0, &ch, sizeof ch); }
void TCharVFile::AppendTChar(TChar ch) { ReplaceBuf(Length(), 0, &ch, sizeof ch); }

void TCharVFile::InsertTChar(TChar ch, std::int32_t n) {
    while (n-- > 0) InsertTChar(ch);
}

void TCharVFile::AppendTChar(TChar ch, std::int32_t n) {
    while (n-- > 0) AppendTChar(ch);
}

void TCharVFile::InsertTChars(TChar const* data, std::int32_t n) {
    ReplaceBuf(GetPos(), 0, data, BytesOfUnits(n));
}
void TCharVFile::AppendTChars(TChar const* data, std::int32_t n) {
    ReplaceBuf(Length(), 0, data, BytesOfUnits(n));
}

void TCharVFile::InsertTChars(TCharVFile const& src, std::int32_t from, std::int32_t count) {
    ReplaceTxt(GetPos(), 0, src, TCharsToBytes(from), TCharsToBytes(count));
}

void TCharVFile::AppendTChars(TCharVFile const& src, std::int32_t from, std::int32_t count) {
    ReplaceTxt(Length(), 0, src, TCharsToBytes(from), TCharsToBytes(count));
}

void TCharVFile::InsertTStr(TChar const* s) { ReplaceText(*this, kOfClass, GetPos(), 0, s); }
void TCharVFile::AppendTStr(TChar const* s) { ReplaceText(*this, kOfClass, Length(), 0, s); }
void TCharVFile::InsertTStr(TString const& s) { ReplaceText(*this, kOfClass, GetPos(), 0, s); }
void TCharVFile::AppendTStr(TString const& s) { ReplaceText(*this, kOfClass, Length(), 0, s); }

void TCharVFile::DeleteTChars(std::int32_t from, std::int32_t count) {
    ReplaceBuf(TCharsToBytes(from), TCharsToBytes(count), nullptr, 0);
}

void TCharVFile::TruncateTChars() { ReplaceBuf(GetPos(), MaxLen, nullptr, 0); }

void TCharVFile::ReplaceTChar(std::int32_t position, TChar ch) {
    VFile::ReplaceBuf(TCharsToBytes(position), sizeof ch, &ch, sizeof ch);
}

TCharVFile& TCharVFile::operator=(TChar ch) {
    ReplaceText(*this, kOfBase, 0, Length(), {&ch, 1});
    return *this;
}

TCharVFile& TCharVFile::operator=(TChar const* s) {
    ReplaceText(*this, kOfBase, 0, Length(), s);
    return *this;
}

TCharVFile& TCharVFile::operator=(TString const& s) {
    ReplaceText(*this, kOfBase, 0, Length(), s);
    return *this;
}

// A text assigned to itself is a source that overlaps, as good as any: its units stay.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
TCharVFile& TCharVFile::operator=(TCharVFile const& src) {
    VFile::ReplaceTxt(0, Length(), src, 0, MaxLen);
    return *this;
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor): see the header.
TCharVFile& TCharVFile::operator=(TCharVFile&& src) {
    if (this == &src) return *this;
    Giving const giving(src, *this);
    return *this = std::as_const(src);
}

TCharVFile& TCharVFile::operator<<(TChar ch) {
    InsertTChar(ch);
    return *this;
}

TCharVFile& TCharVFile::operator<<(TChar const* s) {
    InsertTStr(s);
    return *this;
}

TCharVFile& TCharVFile::operator<<(TString const& s) {
    InsertTStr(s);
    return *this;
}

TCharVFile& TCharVFile::operator<<(TCharVFile const& src) {
    ReplaceTxt(GetPos(), 0, src, 0, MaxLen);
    return *this;
}

namespace internal {

namespace {

template <class T>
TCharVFile& InsertDigits(TCharVFile& text, T value) {
    if (!IsRadix(text.radix)) {
        Halt(kModule, u"operator<<", u"radix out of range");
        return text;
    }
    NumberScratch scratch;
    auto const digits = NumberText(scratch, value, text.radix);
    TChar units[sizeof scratch.digits];
    std::copy(digits.begin(), digits.end(), units);
    text.InsertTChars(units, static_cast<std::int32_t>(digits.size()));
    return text;
}

}  // namespace

TCharVFile& InsertNumber(TCharVFile& text, std::int32_t value) { return InsertDigits(text, value); }
TCharVFile& InsertNumber(TCharVFile& text, std::uint32_t value) { return InsertDigits(text, value); }
TCharVFile& InsertNumber(TCharVFile& text, std::int64_t value) { return InsertDigits(text, value); }
TCharVFile& InsertNumber(TCharVFile& text, std::uint64_t value) { return InsertDigits(text, value); }

}  // namespace internal

}  // namespace vfile
