// Text files of any bytes in every encoding: what is loaded is what a plain decoder makes of them, and what is saved and
// loaded again is what was there.
#include <sys/mman.h>
#include <unistd.h>
#include <vfile/char_file.h>

#include <string>

#include "fuzz/fuzz.h"

namespace vfile::test {
namespace {

using enum TCharVFile::Encoding;

// A file that has no name but the one by its descriptor.
class Scratch {
public:
    Scratch() : descriptor_(memfd_create("text", MFD_CLOEXEC)) { FUZZ_CHECK(descriptor_ != -1); }
    ~Scratch() { close(descriptor_); }
    Scratch(Scratch const&) = delete;
    Scratch& operator=(Scratch const&) = delete;

    TString Name() const {
        std::string const name = "/proc/self/fd/" + std::to_string(descriptor_);
        return {name.begin(), name.end()};
    }
    void Put(std::string const& bytes) const {
        FUZZ_CHECK(ftruncate(descriptor_, 0) == 0 &&
                   pwrite(descriptor_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    }
    std::string Get() const {
        std::string bytes(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)), '\0');
        FUZZ_CHECK(pread(descriptor_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
        return bytes;
    }

private:
    int descriptor_;
};

// The length of the longest beginning of a well-formed sequence at `at`, and whether it is whole.
std::size_t SequenceAt(std::string const& s, std::size_t at, bool& whole) {
    auto const byte = [&](std::size_t i) { return i < s.size() ? static_cast<unsigned char>(s[i]) : 0; };
    unsigned const lead = static_cast<unsigned>(byte(at));
    std::size_t const len = lead < 0x80                   ? 1
                            : lead >= 0xC2 && lead < 0xE0 ? 2
                            : lead >= 0xE0 && lead < 0xF0 ? 3
                            : lead >= 0xF0 && lead < 0xF5 ? 4
                                                          : 0;
    whole = len > 0;
    for (std::size_t i = 1; i < len; ++i) {
        int const least = i > 1 ? 0x80 : lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        int const most = i > 1 ? 0xBF : lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        if (byte(at + i) >= least && byte(at + i) <= most) continue;
        whole = false;
        return i;
    }
    return std::max<std::size_t>(len, 1);
}

TString FromUtf8(std::string const& s) {
    TString units;
    for (std::size_t at = 0, len; at < s.size(); at += len) {
        bool whole;
        len = SequenceAt(s, at, whole);
        char32_t c = static_cast<unsigned char>(s[at]);
        if (len > 1) c &= 0x7Fu >> len;
        for (std::size_t i = 1; i < len; ++i) c = c << 6 | (static_cast<unsigned char>(s[at + i]) & 0x3F);
        if (!whole) c = 0xFFFD;
        if (c >= 0x10000) units += static_cast<TChar>(0xD7C0 + (c >> 10)), c = 0xDC00 | (c & 0x3FF);
        units += static_cast<TChar>(c);
    }
    return units;
}

TString FromUtf16(std::string const& s, bool highFirst) {
    TString units;
    for (std::size_t at = 0; at + 1 < s.size(); at += 2) {
        int const a = static_cast<unsigned char>(s[at]), b = static_cast<unsigned char>(s[at + 1]);
        units += static_cast<TChar>(highFirst ? a << 8 | b : b << 8 | a);
    }
    return units;
}

TString UnitsOf(TCharVFile& text) {
    TString units(static_cast<std::size_t>(text.TCharLength()), u'\0');
    text.SetPos(0);
    text.ReadBytes(units.data(), static_cast<std::int32_t>(units.size() * 2));
    return units;
}

bool IsWellFormed(TString const& units) {
    for (std::size_t i = 0; i < units.size(); ++i) {
        bool const pair =
            (units[i] & 0xFC00) == 0xD800 && i + 1 < units.size() && (units[i + 1] & 0xFC00) == 0xDC00;
        if (!pair && (units[i] & 0xF800) == 0xD800) return false;
        i += pair;
    }
    return true;
}

}  // namespace
}  // namespace vfile::test

// The bytes stand where they meet the border of a step: behind a filling of one letter.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace vfile::test;
    using vfile::TCharVFile, vfile::TString;
    if (size == 0) return 0;
    auto const encoding = static_cast<TCharVFile::Encoding>(data[0] % 4);
    bool const wide = encoding == EncodingUtf16 || encoding == EncodingUtf16BE;
    std::size_t const filling = data[0] & 4 ? 65536 - (data[0] >> 3) : 0;
    std::string bytes(wide ? filling & ~std::size_t{1} : filling, 'x');
    bytes.append(reinterpret_cast<char const*>(data + 1), size - 1);
    static Scratch const source, target;
    source.Put(bytes);

    TCharVFile text;
    text.LoadTextAs(source.Name(), encoding, 1);
    FUZZ_CHECK(text.res == vfile::ResDone);
    TString const units = UnitsOf(text);
    constexpr std::string_view kMarks[] = {"", "\xFF\xFE", "\xEF\xBB\xBF", "\xFE\xFF"};
    std::string_view const mark = encoding == EncodingUtf8      ? kMarks[2]
                                  : encoding == EncodingUtf16   ? kMarks[1]
                                  : encoding == EncodingUtf16BE ? kMarks[3]
                                                                : kMarks[0];
    std::string const body = bytes.starts_with(mark) ? bytes.substr(mark.size()) : bytes;
    if (encoding == EncodingUtf8)
        FUZZ_CHECK(units == FromUtf8(body.substr(0, body.find('\0'))));  // where such a text ends
    if (wide) FUZZ_CHECK(units == FromUtf16(body, encoding == EncodingUtf16BE));

    text.SaveText(target.Name(), true, encoding, true);
    FUZZ_CHECK(text.res == vfile::ResDone);
    TCharVFile again;
    again.LoadTextAs(target.Name(), encoding, 1);
    FUZZ_CHECK(again.res == vfile::ResDone);
    if (wide || IsWellFormed(units)) FUZZ_CHECK(UnitsOf(again) == units);
    return 0;
}
