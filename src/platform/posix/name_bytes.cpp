#include "platform/posix/name_bytes.h"

#include <vfile/names.h>

#include <cerrno>
#include <cstring>

#include "unicode/utf.h"

namespace vfile {

namespace platform {

namespace {

using namespace unicode;

// A byte that is no UTF-8 is U+DC80 to U+DCFF: the low half of a pair without its high half, which no text
// can hold.
constexpr char32_t kByteEscape = 0xDC00;

bool IsByteEscape(TChar unit) { return unit >= kByteEscape + 0x80 && unit <= kByteEscape + 0xFF; }

// One step of a name from units to bytes.
struct NameStep {
    std::size_t units, bytes;  // no bytes: the unit is illegal
};

NameStep StepOfName(TChar const* src, std::size_t len, char* dst) {
    Step const step = DecodeUtf16(src, len);
    if (step.form == Form::kWhole) return {step.len, EncodeUtf8(step.codePoint, dst)};
    if (!IsByteEscape(*src)) return {step.len, 0};
    *dst = static_cast<char>(*src & 0xFF);
    return {step.len, 1};
}

// The units in `dst` that bytes which are no UTF-8 travel as; gives how many.
std::size_t Escape(std::string_view bytes, TChar* dst) {
    for (char const byte : bytes) *dst++ = static_cast<TChar>(kByteEscape + static_cast<unsigned char>(byte));
    return bytes.size();
}

}  // namespace

NameBytes::NameBytes(TChar const* name) : systemError_(ENOENT) {
    bytes_[0] = '\0';
    if (!name || !*name) return;
    std::size_t const units = std::char_traits<TChar>::length(name);
    std::size_t size = 0;
    for (std::size_t at = 0; at < units;) {
        char sequence[kMaxUtf8Bytes];
        auto const [taken, made] = StepOfName(name + at, units - at, sequence);
        systemError_ = made == 0 ? EILSEQ : ENAMETOOLONG;
        if (made == 0 || made >= sizeof bytes_ - size) return;
        std::memcpy(bytes_ + size, sequence, made);
        size += made;
        at += taken;
    }
    bytes_[size] = '\0';
    systemError_ = 0;
}

DirectoryOf::DirectoryOf(char const* path) {
    std::string_view const whole(path);
    std::size_t const slash = whole.find_last_of('/');
    std::string_view const directory = slash == whole.npos ? "." : whole.substr(0, slash == 0 ? 1 : slash);
    bytes_[directory.copy(bytes_, sizeof bytes_ - 1)] = '\0';
}

std::size_t UnitsOfBytes(std::string_view bytes, TChar* dst) {
    std::size_t units = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        Step const step = DecodeUtf8(bytes.data() + at, bytes.size() - at);
        TChar made[kMaxUtf8Bytes];
        std::size_t const count = step.form == Form::kWhole ? EncodeUtf16(step.codePoint, made)
                                                            : Escape(bytes.substr(at, step.len), made);
        if (dst) std::memcpy(dst + units, made, count * sizeof(TChar));
        units += count;
        at += step.len;
    }
    return units;
}

}  // namespace platform

TString NameFromBytes(std::string_view bytes) {
    TString name(platform::UnitsOfBytes(bytes, nullptr), u'\0');
    platform::UnitsOfBytes(bytes, name.data());
    return name;
}

std::string BytesFromName(TChar const* name) {
    std::string bytes;
    std::size_t const units = name ? std::char_traits<TChar>::length(name) : 0;
    for (std::size_t at = 0; at < units;) {
        char sequence[unicode::kMaxUtf8Bytes];
        auto const step = platform::StepOfName(name + at, units - at, sequence);
        if (step.bytes == 0) return {};
        bytes.append(sequence, step.bytes);
        at += step.units;
    }
    return bytes;
}

}  // namespace vfile
