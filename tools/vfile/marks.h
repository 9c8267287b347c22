// The marks at the start of text files.
#pragma once

#include <vfile.h>

#include <string_view>

namespace vfile::tool {

struct Mark {
    std::string_view bytes;
    TCharVFile::Encoding encoding;
    char const* name;
};

// The mark that `start`, the first bytes of a file, begins with; null when there is none.
inline Mark const* MarkAt(std::string_view start) {
    static constexpr Mark kMarks[] = {
        {"\xEF\xBB\xBF", TCharVFile::EncodingUtf8,    "UTF-8"                  },
        {"\xFF\xFE",     TCharVFile::EncodingUtf16,   "UTF-16, low byte first" },
        {"\xFE\xFF",     TCharVFile::EncodingUtf16BE, "UTF-16, high byte first"}
    };
    for (Mark const& mark : kMarks) {
        if (start.starts_with(mark.bytes)) return &mark;
    }
    return nullptr;
}

inline constexpr int kMarkBytes = 3;  // the longest

}  // namespace vfile::tool
