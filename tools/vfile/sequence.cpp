#include "sequence.h"

namespace vfile::tool {

std::int32_t LineStartOf(TCharVFile& text, std::int32_t position) {
    TChar at = 0;
    TChar before = 0;
    text.SetTCharPos(position);
    text.ReadTChar(at);
    text.SetTCharPos(position);
    text.ReadPrevTChar(before);
    if (at == '\n' && before == '\r') text.ReadPrevTChar(before);
    while (!text.eof && before != '\n' && before != '\r') text.ReadPrevTChar(before);
    return text.eof ? 0 : text.GetTCharPos() + 1;
}

}  // namespace vfile::tool
