// Text files of any bytes in every encoding: what is loaded and what is saved is what the codec of single sequences, which has
// a test of its own, makes of them.
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/fuzz.h"
#include "support/test.h"
#include "unicode/utf.h"

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

TString FromUtf8(std::string const& s) {
    TString units;
    for (std::size_t at = 0; at < s.size();) {
        unicode::Step const step = unicode::DecodeUtf8(s.data() + at, s.size() - at);
        TChar made[unicode::kMaxUtf16Units];
        units.append(made, unicode::EncodeUtf16(step.codePoint, made));
        at += step.len;
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

std::string ToUtf8(TString const& units) {
    std::string bytes;
    for (std::size_t at = 0; at < units.size();) {
        unicode::Step const step = unicode::DecodeUtf16(units.data() + at, units.size() - at);
        char made[unicode::kMaxUtf8Bytes];
        bytes.append(made, unicode::EncodeUtf8(step.codePoint, made));
        at += step.len;
    }
    return bytes;
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

    TCharVFile sniffed;  // by its mark, the longest first
    TCharVFile::Encoding found{};
    sniffed.LoadText(source.Name(), found, 1);
    FUZZ_CHECK(sniffed.res == vfile::ResDone && sniffed.GetPos() == 0);
    FUZZ_CHECK(found == (bytes.starts_with(kMarks[2])   ? EncodingUtf8
                         : bytes.starts_with(kMarks[1]) ? EncodingUtf16
                         : bytes.starts_with(kMarks[3]) ? EncodingUtf16BE
                                                        : EncodingAnsi));
    if (found == encoding) FUZZ_CHECK(UnitsOf(sniffed) == units);

    bool const marked = (data[0] & 8) != 0;
    text.SaveText(target.Name(), true, encoding, marked);
    FUZZ_CHECK(text.res == vfile::ResDone);
    std::string const saved = target.Get(), begins(marked ? mark : "");
    if (encoding == EncodingUtf8) FUZZ_CHECK(saved == begins + ToUtf8(units));
    if (wide)
        FUZZ_CHECK(saved ==
                   begins + body.substr(0, encoding == EncodingUtf16 ? body.size() : units.size() * 2));
    TCharVFile again;
    again.LoadTextAs(target.Name(), encoding, 1);
    FUZZ_CHECK(again.res == vfile::ResDone);
    if (encoding != EncodingUtf8 && (mark.empty() || marked || !saved.starts_with(mark)))
        FUZZ_CHECK(UnitsOf(again) == units);
    return 0;
}
