#include "text/codec.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "text/utf8_pieces.h"

namespace vfile {

namespace {

using CharsetForm = platform::AnsiCharset::Form;

constexpr std::size_t kUnits = 0x10000;

// Exchanges the two bytes of a unit.
constexpr TChar SwapBytes(TChar unit) { return static_cast<TChar>(unit << 8 | unit >> 8); }

// Eight at a time by way of arrays that cannot overlap, so that the compiler makes wide instructions of them.
void SwapCopy(void const* src, std::size_t count, void* dst) {
    constexpr std::size_t kRun = 8;
    auto const* from = static_cast<char const*>(src);
    auto* to = static_cast<char*>(dst);
    for (TChar run[kRun]; count > 0;) {
        std::size_t const n = std::min(count, kRun);
        std::memcpy(run, from, n * sizeof *run);
        for (TChar& unit : run) unit = SwapBytes(unit);
        std::memcpy(to, run, n * sizeof *run);
        from += n * sizeof *run;
        to += n * sizeof *run;
        count -= n;
    }
}

Converted UnitsByTable(char const* src, std::size_t len, char16_t const* table, TChar* dst,
                       std::size_t room) {
    std::size_t const count = std::min(len, room);
    for (std::size_t i = 0; i < count; ++i) dst[i] = table[static_cast<unsigned char>(src[i])];
    return {count, count};
}

}  // namespace

std::string_view MarkOf(TCharVFile::Encoding encoding) {
    switch (encoding) {
        case TCharVFile::EncodingUtf16:
            return "\xFF\xFE";
        case TCharVFile::EncodingUtf16BE:
            return "\xFE\xFF";
        case TCharVFile::EncodingUtf8:
            return "\xEF\xBB\xBF";
        default:
            return {};
    }
}

TCharVFile::Encoding EncodingByMark(std::string_view bytes) {
    for (auto const encoding :
         {TCharVFile::EncodingUtf16, TCharVFile::EncodingUtf16BE, TCharVFile::EncodingUtf8}) {
        if (bytes.starts_with(MarkOf(encoding))) return encoding;
    }
    return TCharVFile::EncodingAnsi;
}

TCharVFile::Encoding Known(TCharVFile::Encoding encoding) {
    return MarkOf(encoding).empty() ? TCharVFile::EncodingAnsi : encoding;
}

FileRes Decoder::Open() {
    return encoding != TCharVFile::EncodingAnsi || charset.OpenOfLocale() ? ResDone : GetFileRes();
}

Converted Decoder::Decode(char const* src, std::size_t len, bool last, TChar* dst, std::size_t room) {
    if (encoding == TCharVFile::EncodingUtf16BE) {
        std::size_t const count = std::min(len / sizeof *dst, room);
        SwapCopy(src, count, dst);
        bool const odd = len - count * sizeof *dst == 1;
        return {odd && last ? len : count * sizeof *dst, count};
    }
    if (encoding == TCharVFile::EncodingUtf8 || charset.GetForm() == CharsetForm::kUtf8)
        return UnitsOfUtf8(src, len, last, dst, room);
    if (charset.GetForm() == CharsetForm::kTable) return UnitsByTable(src, len, charset.Units(), dst, room);
    return charset.ToUnits(src, len, last, dst, room);
}

FileRes Encoder::Open() {
    if (encoding != TCharVFile::EncodingAnsi) return ResDone;
    if (!charset.OpenOfLocale()) return GetFileRes();
    if (charset.GetForm() != CharsetForm::kTable) return ResDone;
    bytes.reset(new (std::nothrow) char[kUnits]);
    if (!bytes) return ResHeapOverflow;
    std::memset(bytes.get(), '?', kUnits);
    for (unsigned byte = 256; byte-- > 0;) {  // where two bytes show the same, the lower one
        char16_t const unit = charset.Units()[byte];
        if (unit != unicode::kReplacement) bytes[unit] = static_cast<char>(byte);
    }
    return ResDone;
}

Converted Encoder::Encode(TChar const* src, std::size_t len, bool last, char* dst, std::size_t room) {
    if (encoding == TCharVFile::EncodingUtf8) return Utf8OfUnits(src, len, last, dst, room);
    if (encoding == TCharVFile::EncodingUtf16BE) {
        std::size_t const count = std::min(len, room / sizeof *src);
        SwapCopy(src, count, dst);
        return {count, count * sizeof *src};
    }
    if (charset.GetForm() == CharsetForm::kUtf8) return Utf8OfUnits(src, len, last, dst, room, U'?');
    if (charset.GetForm() == CharsetForm::kSystem) return charset.FromUnits(src, len, last, dst, room);
    std::size_t const count = std::min(len, room);
    for (std::size_t i = 0; i < count; ++i) dst[i] = bytes[src[i]];
    return {count, count};
}

}  // namespace vfile
