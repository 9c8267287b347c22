// Nearly all of a text is ASCII runs, which go 32 characters at a time, or sequences of two and three bytes, which
// are converted here if they are sound. Everything else is left to the codec, which knows all of it.
#include "text/utf8_pieces.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace vfile {

namespace {

using namespace unicode;

constexpr std::size_t kRun = 32;

// Whether no element has a bit of `mask`, which is laid over eight bytes.
template <class T>
bool LacksBits(T const (&run)[kRun], std::uint64_t mask) {
    std::uint64_t words[sizeof run / 8];
    std::memcpy(words, run, sizeof run);
    std::uint64_t all = 0;
    for (std::uint64_t const word : words) all |= word;
    return (all & mask) == 0;
}

// Copies the ASCII characters at the front of `count` others, and gives how many they are. The arrays between
// tell the compiler that source and target do not overlap, so that it makes a few wide instructions of a run.
template <class From, class To>
std::size_t CopyAscii(From const* src, std::size_t count, To* dst) {
    constexpr std::uint64_t kBeyond = sizeof(From) == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80;
    std::size_t done = 0;
    for (; count - done >= kRun; done += kRun) {
        From in[kRun];
        To out[kRun];
        std::memcpy(in, src + done, sizeof in);
        if (!LacksBits(in, kBeyond)) break;
        for (std::size_t i = 0; i < kRun; ++i) out[i] = static_cast<To>(in[i]);
        std::memcpy(dst + done, out, sizeof out);
    }
    for (; done < count && static_cast<std::make_unsigned_t<From>>(src[done]) < 0x80; ++done)
        dst[done] = static_cast<To>(src[done]);
    return done;
}

unsigned ByteAt(char const* at) { return static_cast<unsigned char>(*at); }

bool Continues(char const* at) { return (ByteAt(at) & 0xC0) == 0x80; }

// The length of a sound sequence of two or three bytes at `src`, with its unit; else 0.
std::size_t ShortSequence(char const* src, std::size_t len, char16_t& unit) {
    unsigned const first = ByteAt(src);
    if (first >= 0xC2 && first < 0xE0 && len >= 2 && Continues(src + 1)) {
        unit = static_cast<char16_t>((first & 0x1F) << 6 | (ByteAt(src + 1) & 0x3F));
        return 2;
    }
    if (first < 0xE0 || first >= 0xF0 || len < 3 || !Continues(src + 1) || !Continues(src + 2)) return 0;
    unit =
        static_cast<char16_t>((first & 0xF) << 12 | (ByteAt(src + 1) & 0x3F) << 6 | (ByteAt(src + 2) & 0x3F));
    return unit < 0x800 || IsSurrogate(unit) ? 0 : 3;
}

}  // namespace

Converted UnitsOfUtf8(char const* src, std::size_t len, bool last, char16_t* dst, std::size_t room) {
    std::size_t at = 0, made = 0;
    while (at < len && made < room) {
        std::size_t const ascii = CopyAscii(src + at, std::min(len - at, room - made), dst + made);
        at += ascii;
        made += ascii;
        for (std::size_t taken; at < len && made < room; at += taken, ++made) {
            taken = ShortSequence(src + at, len - at, dst[made]);
            if (taken == 0) break;
        }
        if (at == len || made == room || ByteAt(src + at) < 0x80) continue;

        Step const step = DecodeUtf8(src + at, len - at);
        if (step.form == Form::kIncomplete && !last) break;
        if (step.codePoint > 0xFFFF && room - made < kMaxUtf16Units) break;
        made += EncodeUtf16(step.codePoint, dst + made);
        at += step.len;
    }
    return {at, made};
}

Converted Utf8OfUnits(char16_t const* src, std::size_t len, bool last, char* dst, std::size_t room,
                      char32_t substitute) {
    std::size_t at = 0, made = 0;
    while (at < len && room > made) {
        std::size_t const ascii = CopyAscii(src + at, std::min(len - at, room - made), dst + made);
        at += ascii;
        made += ascii;
        while (at < len && room - made >= kMaxUtf8Bytes && src[at] >= 0x80) {
            Step const step =
                IsSurrogate(src[at]) ? DecodeUtf16(src + at, len - at) : Step{src[at], 1, Form::kWhole};
            if (step.form == Form::kIncomplete && !last) return {at, made};
            made += EncodeUtf8(step.form == Form::kWhole ? step.codePoint : substitute, dst + made);
            at += step.len;
        }
        if (room - made < kMaxUtf8Bytes && at < len && src[at] >= 0x80) break;
    }
    return {at, made};
}

}  // namespace vfile
