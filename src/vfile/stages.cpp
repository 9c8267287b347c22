// The stages that every change goes through, whatever its source.
#include <vfile/halt.h>
#include <vfile/vmem.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "vfile/block.h"
#include "vfile/change.h"
#include "vfile/invariants.h"

namespace vfile {

// The argument test of the operation comes first, so that its code wins.
bool VFile::MayChange(bool argumentsGood) {
    if (!argumentsGood) {
        res = ResCallError;
    } else if (FlagOn(Locked)) {
        res = ResContextError;
    } else if (FlagOn(ReadOnly)) {
        res = ResReadOnly;
    }
    return res == ResDone;
}

bool VFile::Clip(Change& change) {
    change.start = std::min(change.start, length);
    change.delLen = std::min(change.delLen, length - change.start);
    if (length - change.delLen > MaxLen - change.insLen) res = ResTooLong;
    return res == ResDone;
}

// Clips, and makes the block at the start ready. False: nothing is left to do, be it refused or done.
bool VFile::Position(Change& change) {
    if (!Clip(change)) return false;
    if (change.delLen == 0 && change.insLen == 0) {
        SetPos(change.start);
        return false;
    }
    InitChange(change.start);
    return res == ResDone;
}

// Puts the cursor where a change at `position` disturbs least, and that block into the buffer.
void VFile::InitChange(std::int32_t position) {
    BlkRdr place{cur.ptr, cur.start, 0};
    SeekBlk(place, position, true);
    MoveTo(place);
    eof = false;
    if (bufValid) return;
    if (cur.ptr->addr == kNoAddr) {
        if (cur.ptr->len > 0) return Halt(kModule, u"InitChange", u"cur.ptr->len>0");
        if (!AllocBuf(cur.ptr->addr)) {
            res = ResHeapOverflow;
            return;
        }
    }
    if (!LoadBlock()) res = ResHeapOverflow;
}

bool VFile::FitsCurrentBlock(Change const& change) const {
    return change.delLen <= cur.ptr->len - cur.ix &&
           change.insLen <= BlkSize - (cur.ptr->len - change.delLen);
}

// The hook may look at anything, but the stages behind it rest on what the stages before it have found.
bool VFile::Ask(Change const& change) {
    BlkRdr const place{cur.ptr, cur.start, cur.ix};
    std::int32_t const oldLength = length;
    std::uint32_t const oldChanges = changes;
    std::int32_t const answer = PreChange(change.start, change.delLen, change.insLen);
    if (cur.ptr != place.ptr || cur.start != place.start || cur.ix != place.ix || length != oldLength ||
        changes != oldChanges || !bufValid) {
        Halt(kModule, change.operation, u"file changed in PreChange");
        res = ResContextError;
        return false;
    }
    res = answer;
    return res == ResDone;
}

//   [aaaaXXbbbb]     X: the range that goes, cursor at its start
//   [aaaannnbbbb]
void VFile::EditInBuffer(Change const& change, void const* bytes) {
    ReleasePage(change);
    unsigned char* const at = buf + cur.ix;
    std::int32_t const behind = cur.ptr->len - cur.ix - change.delLen;
    if (behind > 0 && change.delLen != change.insLen) {
        std::memmove(at + change.insLen, at + change.delLen, static_cast<std::size_t>(behind));
    }
    if (change.insLen > 0) std::memcpy(at, bytes, static_cast<std::size_t>(change.insLen));
    std::int32_t const growth = change.insLen - change.delLen;
    cur.ptr->len = static_cast<std::int16_t>(cur.ptr->len + growth);
    bufDirty = true;
    length += growth;
    carried += growth;
    ++changes;
    CheckCurLen();
}

// Our own mistake, and no fault of the host's: a stop that tells the broken rule.
void VFile::CheckTouched() const {
#ifdef VFILE_CHECKS
    char const* const broken = BrokenRuleAtCursor(*this);
    if (!broken) return;
    TString const text(broken, broken + std::strlen(broken));
    Halt(kModule, text.c_str());
#endif
}

// The change stands. The hook may change the file again: SetPos then clips.
void VFile::Publish(Change const& change) {
    CheckTouched();
    PostChange(change.start, change.delLen, change.insLen);
    SetPos(change.start + change.insLen);
}

}  // namespace vfile
