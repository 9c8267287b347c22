// Search and global replace. While nothing is matched, whole runs of the buffer are scanned; only a match that
// runs over the end of a block is followed byte by byte. The file is read in one direction and never again.
#include <vfile/halt.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <algorithm>
#include <cstring>

#include "vfile/block.h"
#include "vfile/pattern.h"

namespace vfile {

namespace {

std::int32_t LengthOf(char const* text) {
    return static_cast<std::int32_t>(std::min<std::size_t>(std::strlen(text), MaxLen));
}

bool IsWordByte(Byte b) {
    return static_cast<Byte>(b - '0') < 10 || static_cast<Byte>(FoldedBytes::Of(b) - 'A') < 26;
}

}  // namespace

// Reads from the cursor on until a match has been read whole. False: the end of the file has been met, and `eof`
// is set.
template <class Direction, class Fold>
bool VFile::Scan(BytePattern<Direction, Fold> const& pattern) {
    for (;;) {
        Byte lone;
        auto const run = Direction::kStep > 0 ? RunAhead(lone) : RunBehind(lone);
        if (run.empty()) {
            eof = true;
            return false;
        }
        auto const place = pattern.FindIn(run);
        std::size_t const match = place.whole ? static_cast<std::size_t>(pattern.Length()) : 0;
        MoveInBlock(Direction::kStep * static_cast<std::ptrdiff_t>(place.passed + match));
        if (place.whole) return true;
        if (place.passed < run.size() && FollowPartial(pattern)) return true;
    }
}

// Reads byte by byte as long as a match may be under way that began in another block. True: it is whole. One that
// has come to lie in the buffer as far as it goes is given back to the scan of runs.
template <class Direction, class Fold>
bool VFile::FollowPartial(BytePattern<Direction, Fold> const& pattern) {
    BlkDesc const* const begun = cur.ptr;
    std::int32_t matched = 0;
    do {
        Byte b;
        Direction::kStep > 0 ? ReadByte(b) : ReadPrevByte(b);
        if (eof) return false;
        while (matched > 0 && !pattern.Has(b, matched)) matched -= pattern.Shift(matched);
        if (pattern.Has(b, matched)) ++matched;
        if (matched == pattern.Length()) return true;
        if (cur.ptr == begun) continue;
        if (matched <= (Direction::kStep > 0 ? cur.ix : cur.ptr->len - cur.ix)) {
            MoveInBlock(-Direction::kStep * std::ptrdiff_t{matched});
            return false;
        }
    } while (matched > 0);
    return false;
}

template <class Direction>
bool VFile::ScanFrom(std::int32_t position, char const* pattern, std::int32_t len, bool ignoreCase) {
    SetPos(position);
    return ignoreCase ? Scan(BytePattern<Direction, FoldedBytes>(pattern, len))
                      : Scan(BytePattern<Direction, ExactBytes>(pattern, len));
}

// Whether a word byte stands behind, before `position`. The ends of the file are no word bytes.
bool VFile::WordBehind(std::int32_t position) {
    Byte b;
    SetPos(position);
    ReadByte(b);
    return IsWordByte(b);
}

bool VFile::WordBefore(std::int32_t position) {
    Byte b;
    SetPos(position);
    ReadPrevByte(b);
    return IsWordByte(b);
}

bool VFile::Find(std::int32_t& position, char const* pattern, bool ignoreCase, bool wholeWord) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__), false;
    if (position < 0) {
        res = ResCallError;
        return false;
    }
    std::int32_t const len = LengthOf(pattern);
    if (len == 0) return true;
    do {
        if (!ScanFrom<Upward>(position, pattern, len, ignoreCase)) {
            std::int32_t const end = std::max(position, length);
            position = end < MaxLen ? end + 1 : MaxLen;
            return false;
        }
        position = pos;
        Byte behind;
        ReadByte(behind);
    } while (wholeWord && (WordBehind(position) || WordBefore(position - len)));
    return true;
}

bool VFile::FindBack(std::int32_t& position, char const* pattern, bool ignoreCase, bool wholeWord) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__), false;
    if (position < 0) {
        res = ResCallError;
        return false;
    }
    std::int32_t const len = LengthOf(pattern);
    if (len == 0) return true;
    do {
        if (!ScanFrom<Downward>(position, pattern, len, ignoreCase)) {
            position = -1;
            return false;
        }
        position = pos;
        Byte before;
        ReadPrevByte(before);
    } while (wholeWord && (WordBefore(position) || WordBehind(position + len)));
    return true;
}

// Goes on where ReplaceBuf has left the cursor, which a derived class or a hook may have moved.
std::int32_t VFile::ReplaceGlobal(char const* pattern, char const* replacement, bool ignoreCase,
                                  bool wholeWord) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__), 0;
    std::int32_t const len = LengthOf(pattern);
    std::int32_t const newLen = LengthOf(replacement);
    if (len == 0) {
        res = ResCallError;
        return 0;
    }
    std::int32_t count = 0;
    for (std::int32_t position = 0; Find(position, pattern, ignoreCase, wholeWord); position = pos) {
        ReplaceBuf(position - len, len, replacement, newLen);
        if (res != ResDone) break;
        ++count;
    }
    return count;
}

}  // namespace vfile
