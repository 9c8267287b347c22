// Counts the lines of a file on the way through it, each character once.
#pragma once

#include <array>
#include <cstdint>

#include "sequence.h"

namespace vfile::tool {

// `File` is VFile or TCharVFile; places and lengths are in its characters.
template <class File>
class LineCounter {
public:
    enum End { kLf, kCrLf, kCr };

    // Starts at a place of `file` that counts as the start of line 1. Uses the cursor of `file`, which must outlive it.
    explicit LineCounter(File& file, std::int32_t from = 0) : file_(file), at_(from), lineStart_(from) {}

    // Goes on to `position`, which does not lie before the last one.
    void GoTo(std::int32_t position);

    // What is known at the last position. A position between CR and LF is on the line that they close.
    std::int32_t Line() const { return line_; }  // from 1
    std::int32_t LineStart() const { return lineStart_; }
    std::int32_t Ends(End kind) const { return ends_[kind]; }

    // The longest line up to here, without its line end, and the first line that is so long. A line that has no end
    // counts as far as the last position.
    std::int32_t Longest() const;
    std::int32_t LongestLine() const;

private:
    using Char = CharOf<File>;

    void Pass(Char const* chars, std::int32_t count);
    void EndLine(End kind, std::int32_t contentEnd, std::int32_t next);

    File& file_;
    std::int32_t at_;
    std::int32_t lineStart_;
    std::int32_t line_ = 1;
    bool afterCr_ = false;  // the line end may go on with an LF
    std::array<std::int32_t, 3> ends_{};
    std::int32_t longest_ = 0;
    std::int32_t longestLine_ = 1;
};

extern template class LineCounter<VFile>;
extern template class LineCounter<TCharVFile>;

}  // namespace vfile::tool
