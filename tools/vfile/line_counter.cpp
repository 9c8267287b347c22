#include "line_counter.h"

#include <algorithm>

namespace vfile::tool {

void LineCounter::GoTo(std::int32_t position) {
    unsigned char piece[64 << 10];
    file_.SetPos(at_);
    while (at_ < position) {
        std::int32_t const got = file_.ReadBytes(piece, std::min<std::int32_t>(sizeof piece, position - at_));
        if (got == 0) break;
        Pass(piece, got);
    }
    if (!afterCr_) return;
    unsigned char next;
    file_.ReadByte(next);
    if (next == '\n') return;
    afterCr_ = false;
    EndLine(kCr, at_ - 1, at_);
}

void LineCounter::Pass(unsigned char const* bytes, std::int32_t count) {
    for (unsigned char const* const end = bytes + count; bytes < end; ++bytes, ++at_) {
        if (*bytes > '\r' && !afterCr_) continue;
        bool const behindCr = afterCr_;
        afterCr_ = *bytes == '\r';
        if (*bytes == '\n') {
            EndLine(behindCr ? kCrLf : kLf, behindCr ? at_ - 1 : at_, at_ + 1);
        } else if (behindCr) {
            EndLine(kCr, at_ - 1, at_);
        }
    }
}

void LineCounter::EndLine(End kind, std::int32_t contentEnd, std::int32_t next) {
    ++ends_[kind];
    if (contentEnd - lineStart_ > longest_) {
        longest_ = contentEnd - lineStart_;
        longestLine_ = line_;
    }
    lineStart_ = next;
    ++line_;
}

std::int32_t LineCounter::Longest() const { return std::max(longest_, at_ - lineStart_); }

std::int32_t LineCounter::LongestLine() const { return at_ - lineStart_ > longest_ ? line_ : longestLine_; }

}  // namespace vfile::tool
