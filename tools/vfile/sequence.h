// A file as a sequence of characters with places counted from 0: the bytes of a virtual file, or the units of a text.
#pragma once

#include <vfile.h>

#include <cstdint>
#include <type_traits>

namespace vfile::tool {

template <class File>
using CharOf = std::conditional_t<std::is_same_v<File, TCharVFile>, TChar, unsigned char>;

inline void GoTo(VFile& file, std::int32_t position) { file.SetPos(position); }
inline void GoTo(TCharVFile& text, std::int32_t position) { text.SetTCharPos(position); }

// Gives how many there were.
inline std::int32_t ReadOn(VFile& file, unsigned char* dst, std::int32_t count) {
    return file.ReadBytes(dst, count);
}
inline std::int32_t ReadOn(TCharVFile& text, TChar* dst, std::int32_t count) {
    return text.ReadTChars(dst, count);
}

// Where the line of a character starts. A line end belongs to the line that it closes.
inline std::int32_t LineStartOf(VFile& file, std::int32_t position) { return file.LineStart(position); }
std::int32_t LineStartOf(TCharVFile& text, std::int32_t position);

}  // namespace vfile::tool
