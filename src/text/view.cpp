// The text view: positions in units, and reads.
#include <vfile/char_file.h>

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "text/units.h"

namespace vfile {

TCharVFile::Encoding const TCharVFile::DefaultEncoding = EncodingUtf16;

TCharVFile::TCharVFile() = default;

TCharVFile::TCharVFile(TCharVFile const& src, std::int32_t start, std::int32_t count)
    : VFile(src, TCharsToBytes(start), TCharsToBytes(count)) {}

TCharVFile::TCharVFile(TCharVFile&& other) noexcept : VFile(std::move(other)) {}

TCharVFile::~TCharVFile() = default;

void TCharVFile::SetTCharPos(std::int32_t position) { SetPos(TCharsToBytes(position)); }

// The sum is made in bytes: no two operands overflow 64 bits, and a cursor that stands odd stays so.
void TCharVFile::SetTCharPos(std::int32_t offset, int whence) {
    bool const fromStart = whence == 0;
    std::int64_t const bytes = fromStart ? TCharsToBytes(offset) : std::int64_t{offset} * 2;
    SetPos(static_cast<std::int32_t>(std::clamp<std::int64_t>(bytes, -MaxLen, MaxLen)), whence);
}

void TCharVFile::ReadTChar(TChar& ch) { ReadBytes(&ch, 2); }

void TCharVFile::ReadPrevTChar(TChar& ch) {
    unsigned char high;
    unsigned char low;
    ReadPrevByte(high);
    ReadPrevByte(low);
    ch = static_cast<TChar>(high << 8 | low);
}

std::int32_t TCharVFile::ReadTChars(TChar* dst, std::int32_t count) {
    return ReadBytes(dst, TCharsToBytes(count)) / 2;
}

// NUL units of the text stay in the string, so its length is told.
TString TCharVFile::ToString() {
    std::int32_t const units = TCharLength();
    if (units == 0) return {};
    auto const count = static_cast<std::size_t>(units);
    std::unique_ptr<TChar[]> const text(new (std::nothrow) TChar[count]);
    if (!text) {
        res = ResHeapOverflow;
        return {};
    }
    SetPos(0);
    ReadBytes(text.get(), units * 2);
    return {text.get(), count};
}

}  // namespace vfile
