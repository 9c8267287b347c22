#include "line_counter.h"

#include <algorithm>
#include <iterator>

namespace vfile::tool {

template <class File>
void LineCounter<File>::GoTo(std::int32_t position) {
    Char piece[(64 << 10) / sizeof(Char)];
    tool::GoTo(file_, at_);
    while (at_ < position) {
        std::int32_t const got =
            ReadOn(file_, piece, std::min(static_cast<std::int32_t>(std::size(piece)), position - at_));
        if (got == 0) break;
        Pass(piece, got);
    }
    if (!afterCr_) return;
    Char next;
    if (ReadOn(file_, &next, 1) == 1 && next == '\n') return;
    afterCr_ = false;
    EndLine(kCr, at_ - 1, at_);
}

template <class File>
void LineCounter<File>::Pass(Char const* chars, std::int32_t count) {
    for (Char const* const end = chars + count; chars < end; ++chars, ++at_) {
        if (*chars > '\r' && !afterCr_) continue;
        bool const behindCr = afterCr_;
        afterCr_ = *chars == '\r';
        if (*chars == '\n') {
            EndLine(behindCr ? kCrLf : kLf, behindCr ? at_ - 1 : at_, at_ + 1);
        } else if (behindCr) {
            EndLine(kCr, at_ - 1, at_);
        }
    }
}

template <class File>
void LineCounter<File>::EndLine(End kind, std::int32_t contentEnd, std::int32_t next) {
    ++ends_[kind];
    if (contentEnd - lineStart_ > longest_) {
        longest_ = contentEnd - lineStart_;
        longestLine_ = line_;
    }
    lineStart_ = next;
    ++line_;
}

template <class File>
std::int32_t LineCounter<File>::Longest() const {
    return std::max(longest_, at_ - lineStart_);
}

template <class File>
std::int32_t LineCounter<File>::LongestLine() const {
    return at_ - lineStart_ > longest_ ? line_ : longestLine_;
}

template class LineCounter<VFile>;
template class LineCounter<TCharVFile>;

}  // namespace vfile::tool
