#include "text/text_inflow.h"

#include <algorithm>
#include <cstring>

namespace vfile {

// No more is read ahead than a mark has: in UTF-16 all that follows goes where it belongs at once.
bool TextInflow::Begin(std::optional<TCharVFile::Encoding> known) {
    while (!ended && Held() < static_cast<std::int32_t>(kLongestMark)) {
        if (!Refill(kLongestMark)) return false;
    }
    std::string_view const first(Bytes(), static_cast<std::size_t>(Held()));
    encoding = known ? Known(*known) : EncodingByMark(first);
    std::string_view const mark = MarkOf(encoding);
    if (first.starts_with(mark)) begin += static_cast<std::int32_t>(mark.size());
    if (EndsAtZero(encoding)) CutAtZero(begin);
    if (encoding == TCharVFile::EncodingUtf16) return true;
    code = decoder.emplace(encoding).Open();
    return code == ResDone;
}

bool TextInflow::Read(void* dst, std::int32_t len, std::int32_t& got) {
    if (!decoder) return ReadPlain(static_cast<unsigned char*>(dst), len, got);
    return ReadDecoded(static_cast<TChar*>(dst), static_cast<std::size_t>(len) / sizeof(TChar), got);
}

bool TextInflow::Take(void* dst, std::int32_t len, std::int32_t& got) {
    readFailed = !host.Read(dst, len, got);
    if (readFailed) code = host.Code();
    return !readFailed;
}

// Moves what is held to the front, and reads behind it, up to `limit` bytes in all.
bool TextInflow::Refill(std::int32_t limit) {
    std::memmove(step.Data(), step.Data() + begin, static_cast<std::size_t>(Held()));
    end = Held();
    begin = 0;
    std::int32_t got = 0;
    if (!Take(step.Data() + end, limit - end, got)) return false;
    std::int32_t const from = end;
    end += got;
    ended = got == 0;
    if (decoder && EndsAtZero(encoding)) CutAtZero(from);
    return true;
}

// What stands behind a zero byte is not even read.
void TextInflow::CutAtZero(std::int32_t from) {
    if (from == end) return;
    void const* const zero = std::memchr(step.Data() + from, 0, static_cast<std::size_t>(end - from));
    if (!zero) return;
    end = static_cast<std::int32_t>(static_cast<unsigned char const*>(zero) - step.Data());
    ended = true;
}

// Full, so that the blocks become full, unless the file ends.
bool TextInflow::ReadPlain(unsigned char* dst, std::int32_t len, std::int32_t& got) {
    got = std::min(Held(), len);
    std::memcpy(dst, Bytes(), static_cast<std::size_t>(got));
    begin += got;
    for (std::int32_t n = 1; n > 0 && got < len; got += n) {
        if (!Take(dst + got, len - got, n)) return false;
    }
    return true;
}

bool TextInflow::ReadDecoded(TChar* dst, std::size_t room, std::int32_t& got) {
    std::size_t made = 0;
    for (;;) {
        Converted const piece =
            decoder->Decode(Bytes(), static_cast<std::size_t>(Held()), ended, dst + made, room - made);
        begin += static_cast<std::int32_t>(piece.taken);
        made += piece.made;
        // What is left stands for want of room, but what may be part of a sequence, for want of the rest of it.
        if (ended || Held() >= static_cast<std::int32_t>(kLongestSequence)) break;
        if (!Refill(step.Size())) return false;
    }
    got = static_cast<std::int32_t>(made * sizeof *dst);
    return true;
}

}  // namespace vfile
