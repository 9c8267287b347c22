// The stages that every change goes through, whatever its source.
#include <vfile/halt.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "vfile/change.h"
#include "vfile/engine.h"
#include "vfile/invariants.h"

namespace vfile {

// The argument test of the operation comes first, so that its code wins.
bool Engine::MayChange(bool argumentsGood, bool isProtected) {
    if (!argumentsGood) {
        file->res = ResCallError;
    } else if (!isProtected) {
        return true;
    } else if (file->FlagOn(VFile::Locked)) {
        file->res = ResContextError;
    } else if (file->FlagOn(VFile::ReadOnly)) {
        file->res = ResReadOnly;
    }
    return file->res == ResDone;
}

bool Engine::Clip(Change& change) {
    change.start = std::min(change.start, length);
    change.delLen = std::min(change.delLen, length - change.start);
    if (length - change.delLen > MaxLen - change.insLen) file->res = ResTooLong;
    return file->res == ResDone;
}

// Clips, and makes the block at the start ready. False: nothing is left to do, be it refused or done.
bool Engine::Position(Change& change) {
    if (!Clip(change)) return false;
    if (change.delLen == 0 && change.insLen == 0) {
        file->SetPos(change.start);
        return false;
    }
    InitChange(change.start);
    return file->res == ResDone;
}

// Puts the cursor where a change at `position` disturbs least, and that block into the buffer.
void Engine::InitChange(std::int32_t position) {
    BlkRdr place{cur.ptr, cur.start, 0};
    SeekBlk(place, position, true);
    MoveTo(place);
    file->eof = false;
    if (bufValid) return;
    if (cur.ptr->addr == kNoAddr) {
        if (cur.ptr->len > 0) return Halt(kModule, u"InitChange", u"cur.ptr->len>0");
        if (!AllocBuf(cur.ptr->addr)) {
            file->res = ResHeapOverflow;
            return;
        }
    }
    if (!LoadBlock()) file->res = ResHeapOverflow;
}

bool Engine::FitsCurrentBlock(Change const& change) const {
    return change.delLen <= cur.ptr->len - cur.ix &&
           change.insLen <= BlkSize - (cur.ptr->len - change.delLen);
}

// The hook may look at anything, but the stages behind it rest on what the stages before it have found.
bool Engine::Ask(Change const& change) {
    BlkRdr const place{cur.ptr, cur.start, cur.ix};
    std::int32_t const oldLength = length;
    std::uint32_t const oldChanges = changes;
    bool const hadBlock = bufValid;
    std::int32_t answer;
    {
        Asking const asking(*this);
        answer = internal::Access::PreChange(*file, change.start, change.delLen, change.insLen);
    }
    if (cur.ptr != place.ptr || cur.start != place.start || cur.ix != place.ix || length != oldLength ||
        changes != oldChanges || (hadBlock && !bufValid)) {
        Halt(kModule, change.operation, u"file changed in PreChange");
        file->res = ResContextError;
        return false;
    }
    file->res = answer;
    return file->res == ResDone;
}

//   [aaaaXXbbbb]     X: the range that goes, cursor at its start
//   [aaaannnbbbb]
void Engine::EditInBuffer(Change const& change, void const* bytes) {
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
void Engine::CheckTouched() const {
#ifdef VFILE_CHECKS
    char const* const broken = BrokenRuleAtCursor(*file);
    if (!broken) return;
    TString const text(broken, broken + std::strlen(broken));
    Halt(kModule, text.c_str());
#endif
}

// The change stands. The hook may change the file again: SetPos then clips. It may also have given the file another
// engine.
void Publish(VFile& file, Change const& change) {
    EngineOf(file).CheckTouched();
    internal::Access::PostChange(file, change.start, change.delLen, change.insLen);
    file.SetPos(change.start + change.insLen);
}

}  // namespace vfile
