// The editing forms of a text: every one a change of bytes.
#include <vfile/char_file.h>
#include <vfile/halt.h>

#include <algorithm>
#include <string_view>

#include "frame/number_text.h"
#include "text/units.h"
#include "vfile/block.h"

namespace vfile {

namespace {

// Bytes of a count that came with a pointer: one that no text can have becomes negative, a bad call, so that the
// caller's units are never read past what was asked.
constexpr std::int32_t BytesOfUnits(std::int32_t units) {
    return units < 0 || units > 0x3FFFFFFF ? -1 : units * 2;
}

// Bytes of a whole string, MaxLen + 1 and more for one longer than any text.
std::size_t BytesIn(std::u16string_view s) { return s.size() * sizeof(TChar); }

}  // namespace

// Whether a string of so many bytes can be part of a text; where not, it is too long like any other source.
bool TCharVFile::Fits(std::size_t bytes) {
    if (bytes <= static_cast<std::size_t>(MaxLen)) return true;
    if (res == ResDone) res = ResTooLong;
    return false;
}

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

void TCharVFile::InsertText(std::int32_t start, std::u16string_view s) {
    if (Fits(BytesIn(s))) ReplaceBuf(start, 0, s.data(), static_cast<std::int32_t>(BytesIn(s)));
}

void TCharVFile::InsertTStr(TChar const* s) { InsertText(GetPos(), s); }
void TCharVFile::AppendTStr(TChar const* s) { InsertText(Length(), s); }
void TCharVFile::InsertTStr(TString const& s) { InsertText(GetPos(), s); }
void TCharVFile::AppendTStr(TString const& s) { InsertText(Length(), s); }

void TCharVFile::DeleteTChars(std::int32_t from, std::int32_t count) {
    ReplaceBuf(TCharsToBytes(from), TCharsToBytes(count), nullptr, 0);
}

void TCharVFile::TruncateTChars() { ReplaceBuf(GetPos(), MaxLen, nullptr, 0); }

void TCharVFile::ReplaceTChar(std::int32_t position, TChar ch) {
    VFile::ReplaceBuf(TCharsToBytes(position), sizeof ch, &ch, sizeof ch);
}

TCharVFile& TCharVFile::AssignText(std::u16string_view s) {
    if (Fits(BytesIn(s))) VFile::ReplaceBuf(0, Length(), s.data(), static_cast<std::int32_t>(BytesIn(s)));
    return *this;
}

TCharVFile& TCharVFile::operator=(TChar ch) { return AssignText({&ch, 1}); }
TCharVFile& TCharVFile::operator=(TChar const* s) { return AssignText(s); }
TCharVFile& TCharVFile::operator=(TString const& s) { return AssignText(s); }

// A text assigned to itself is a source that overlaps, as good as any: its units stay.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
TCharVFile& TCharVFile::operator=(TCharVFile const& src) {
    VFile::ReplaceTxt(0, Length(), src, 0, MaxLen);
    return *this;
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

template <class T>
TCharVFile& TCharVFile::InsertDigits(T value) {
    if (!IsRadix(radix)) {
        Halt(kModule, u"operator<<", u"radix out of range");
        return *this;
    }
    NumberScratch scratch;
    auto const digits = NumberText(scratch, value, radix);
    TChar units[sizeof scratch.digits];
    std::copy(digits.begin(), digits.end(), units);
    InsertText(GetPos(), {units, digits.size()});
    return *this;
}

TCharVFile& TCharVFile::InsertNumber(std::int32_t value) { return InsertDigits(value); }
TCharVFile& TCharVFile::InsertNumber(std::uint32_t value) { return InsertDigits(value); }
TCharVFile& TCharVFile::InsertNumber(std::int64_t value) { return InsertDigits(value); }
TCharVFile& TCharVFile::InsertNumber(std::uint64_t value) { return InsertDigits(value); }

}  // namespace vfile
