// Character sets by the system's own converter, which takes any of them by name: so the locale is only asked
// for the name of its set, and a locale that is changed meanwhile, or on another thread, changes nothing.
#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/platform.h"
#include "platform/posix/errors.h"
#include "unicode/utf.h"

namespace vfile::platform {

namespace {

constexpr char const* kUnitsName = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";
constexpr auto kFailed = static_cast<std::size_t>(-1);

// Bytes that a character held back by a converter, and a "?" or U+FFFD behind it, take at most.
constexpr std::size_t kReserve = 16;

bool IsAscii(std::string_view set) {
    constexpr std::string_view kNames[] = {"ANSI_X3.4-1968", "US-ASCII", "ASCII", "646"};
    return std::find(std::begin(kNames), std::end(kNames), set) != std::end(kNames);
}

void FillWindows1252(char16_t* units) {
    constexpr std::array<char16_t, 32> kHigh = {
        0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
        0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
        0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
    for (unsigned byte = 0; byte < 256; ++byte) units[byte] = static_cast<char16_t>(byte);
    std::copy(kHigh.begin(), kHigh.end(), units + 0x80);
}

// Null stands for none, which to the system is all bits set.
iconv_t OpenConverter(char const* to, char const* from) {
    auto* const converter = iconv_open(to, from);
    if (converter != iconv_t(kFailed)) return converter;
    Fail(errno == EINVAL ? EOPNOTSUPP : errno);
    return nullptr;
}

// One run of a converter between two buffers of bytes.
struct Run {
    iconv_t converter;
    char* in;
    std::size_t left;
    char* out;
    std::size_t room;

    // As far as the reserve. Zero when all was taken, else why not.
    int Convert() {
        if (left == 0) return 0;
        if (room <= kReserve) return E2BIG;
        std::size_t free = room - kReserve;
        std::size_t const before = free;
        int const why = iconv(converter, &in, &left, &out, &free) == kFailed ? errno : 0;
        room -= before - free;
        return why;
    }

    // Brings out what the converter may have held back to join with the next character.
    void Flush() { iconv(converter, nullptr, nullptr, &out, &room); }

    void Put(void const* bytes, std::size_t len) {
        std::memcpy(out, bytes, len);
        out += len;
        room -= len;
    }

    void Skip(std::size_t len) {
        in += len;
        left -= len;
    }
};

// The system's functions leave the source alone, but their parameter does not say so.
template <class T>
char* BytesOf(T const* data) {
    return const_cast<char*>(reinterpret_cast<char const*>(data));
}

// `replace` puts something in the place of what could not be converted, and steps over it.
template <class Replace>
void ConvertAll(Run& run, bool last, Replace replace) {
    for (int why; (why = run.Convert()) != 0;) {
        if (why == E2BIG || (why == EINVAL && !last)) return;
        run.Flush();
        replace();
    }
    if (last) run.Flush();
}

}  // namespace

AnsiCharset::~AnsiCharset() {
    for (void* const converter : {toUnits, fromUnits}) {
        if (converter) iconv_close(converter);
    }
}

bool AnsiCharset::OpenOfLocale() {
    locale_t const locale = duplocale(LC_GLOBAL_LOCALE);
    if (!locale) return Fail(errno);
    bool const done = Open(nl_langinfo_l(CODESET, locale));
    freelocale(locale);
    return done;
}

bool AnsiCharset::Open(char const* name) {
    if (std::string_view(name) == "UTF-8") {
        form = Form::kUtf8;
        return true;
    }
    if (IsAscii(name)) {
        FillWindows1252(units);
        return true;
    }
    toUnits = OpenConverter(kUnitsName, name);
    if (!toUnits) return false;
    if (OpenAsTable()) return true;
    form = Form::kSystem;
    fromUnits = OpenConverter(name, kUnitsName);
    return fromUnits != nullptr;
}

// False where some byte is no character by itself, or the converter holds it back to join it with the next.
bool AnsiCharset::OpenAsTable() {
    for (unsigned byte = 0; byte < 256; ++byte) {
        char source = static_cast<char>(byte);
        char16_t made[kReserve];
        Run run = {toUnits, &source, 1, BytesOf(made), sizeof made};
        int const why = run.Convert();
        std::size_t const bytes = sizeof made - run.room;
        run.Flush();
        if (why == 0 ? bytes != sizeof *made : why != EILSEQ) return false;
        units[byte] = why == 0 ? *made : char16_t{unicode::kReplacement};
    }
    return true;
}

Converted AnsiCharset::ToUnits(char const* src, std::size_t len, bool last, char16_t* dst, std::size_t room) {
    Run run = {toUnits, BytesOf(src), len, BytesOf(dst), room * sizeof *dst};
    ConvertAll(run, last, [&] {
        constexpr char16_t kUnit = unicode::kReplacement;
        run.Put(&kUnit, sizeof kUnit);
        run.Skip(1);
    });
    return {len - run.left, room - run.room / sizeof *dst};
}

Converted AnsiCharset::FromUnits(char16_t const* src, std::size_t len, bool last, char* dst,
                                 std::size_t room) {
    Run run = {fromUnits, BytesOf(src), len * sizeof *src, dst, room};
    ConvertAll(run, last, [&] {
        std::size_t const left = run.left / sizeof *src;
        std::size_t const character = unicode::DecodeUtf16(src + (len - left), left).len;
        run.Put("??", character);
        run.Skip(character * sizeof *src);
    });
    return {len - run.left / sizeof *src, room - run.room};
}

}  // namespace vfile::platform
