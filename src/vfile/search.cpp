// Search of bytes, and global replace.
#include <vfile/halt.h>
#include <vfile/result.h>

#include <cstring>

#include "vfile/scan.h"

namespace vfile {

namespace {

std::span<Byte const> BytesOfString(char const* text) {
    return {reinterpret_cast<Byte const*>(text), std::min<std::size_t>(std::strlen(text), MaxLen)};
}

// By ASCII alone, so that the result is the same in every locale.
bool IsWordByte(Byte b) {
    return static_cast<Byte>(b - '0') < 10 || static_cast<Byte>((b | ('a' - 'A')) - 'a') < 26;
}

}  // namespace

bool VFile::Find(std::int32_t& position, char const* pattern, bool ignoreCase, bool wholeWord) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__), false;
    return Search<Upward>(*this, position, BytesOfString(pattern), ignoreCase, wholeWord, IsWordByte);
}

bool VFile::FindBack(std::int32_t& position, char const* pattern, bool ignoreCase, bool wholeWord) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__), false;
    return Search<Downward>(*this, position, BytesOfString(pattern), ignoreCase, wholeWord, IsWordByte);
}

// Goes on where ReplaceBuf has left the cursor, which a derived class or a hook may have moved.
std::int32_t VFile::ReplaceGlobal(char const* pattern, char const* replacement, bool ignoreCase,
                                  bool wholeWord) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__), 0;
    auto const text = BytesOfString(pattern);
    auto const len = static_cast<std::int32_t>(text.size());
    auto const newLen = static_cast<std::int32_t>(BytesOfString(replacement).size());
    if (len == 0) {
        res = ResCallError;
        return 0;
    }
    std::int32_t count = 0;
    std::int32_t position = 0;
    while (Search<Upward>(*this, position, text, ignoreCase, wholeWord, IsWordByte)) {
        ReplaceBuf(position - len, len, replacement, newLen);
        if (res != ResDone) break;
        ++count;
        position = GetPos();
    }
    return count;
}

}  // namespace vfile
