// Applies a change that does not fit into the current block.
#include <vfile/halt.h>

#include <algorithm>
#include <cstring>

#include "vfile/blk_index.h"
#include "vfile/change.h"
#include "vfile/engine.h"
#include "vfile/private_chain.h"

namespace vfile {

//   [aaaaXXtt]=[XXXX]=[XXqq]=[next]   tt    the tail of the current block behind the range
//   [aaaapp]=[chain]=[tt qq next]     qq    what survives of the last block that the range cuts into
//                                     pp    the first piece of the new bytes, for the current block
//
// Each of tt, qq and the whole of the next block moves into the last block of the chain while that has room.
// Else tt gets a block of its own, qq moves to the head of its page, and the next block stays as it is. This is
// all the merging there is: no block has a minimum fill, and a deletion, which has no chain, merges nothing.
//
// The memory is used first, while it may still stop: from the relinking on nothing can fail.
bool Engine::DoChange(Change const& change, void const* piece, std::int32_t pieceLen, PrivateChain& chain) {
    ReleasePage(change);
    std::int32_t const inside = std::min<std::int32_t>(change.delLen, cur.ptr->len - cur.ix);
    if (!SaveTail(inside, chain)) {
        file->res = ResHeapOverflow;
        return false;
    }
    Cut cut = FindCut(change.delLen - inside, chain);

    HandOver();
    if (index) {
        std::int32_t const end = cur.start + cur.ptr->len + cut.bytes;
        index->Replace(cur.start, end, change.insLen - change.delLen);
    }
    if (cut.head) {
        Unlink(cut.head, cut.tail);
        DisposeBlkPtrList(cut.head, cut.tail);
    }
    if (pieceLen > 0) std::memcpy(buf + cur.ix, piece, static_cast<std::size_t>(pieceLen));
    cur.ptr->len = static_cast<std::int16_t>(cur.ix + pieceLen);
    bufDirty = true;
    if (chain.Head()) LinkBehind(cur.ptr, chain.Head(), chain.Tail());
    chain.Release();
    length += change.insLen - change.delLen;
    ++changes;
    CheckCurLen();
    return true;
}

// Puts what stands behind the range in the current block, `delLen` bytes behind the cursor, at the end of the
// chain.
bool Engine::SaveTail(std::int32_t delLen, PrivateChain& chain) {
    std::int32_t const at = cur.ix + delLen;
    std::int32_t const len = cur.ptr->len - at;
    if (len == 0) return true;
    if (!chain.HasRoomFor(len)) return chain.Append(buf + at, len);
    chain.Fill(buf + at, len);
    return true;
}

// Finds the blocks behind the current one that go: those wholly in the next `delLen` bytes, and those whose
// surviving bytes the chain takes in. One cut into that the chain cannot take moves its rest to the head of
// its page.
Cut Engine::FindCut(std::int32_t delLen, PrivateChain& chain) {
    Cut cut;
    BlkDesc* next = cur.ptr->next;
    for (; next && delLen >= next->len; next = next->next) {
        delLen -= next->len;
        cut.Take(next);
    }
    if (delLen > 0) {
        if (!next) {
            Halt(kModule, u"DoChange", u"cut out: i too big");
            return cut;
        }
        auto const rest = static_cast<std::int16_t>(next->len - delLen);
        if (!chain.HasRoomFor(rest)) {
            mem->CopyBytes(next->addr, next->addr + delLen, rest);
            cut.bytes += next->len;
            next->len = rest;
            return cut;
        }
        chain.Absorb(*next, delLen);
        cut.Take(next);
        next = next->next;
    }
    if (next && chain.HasRoomFor(next->len)) {
        chain.Absorb(*next, 0);
        cut.Take(next);
    }
    return cut;
}

// A file that is about to become empty gives its last page back. The memory may stop here, so that this comes
// before the first touch.
void Engine::ReleasePage(Change const& change) {
    if (change.insLen == 0 && change.delLen == length) mem->Dealloc(cur.ptr->addr, BlkSize);
}

// Puts the chain in order after the current block was edited: an empty block goes, unless it is the only one.
void Engine::CheckCurLen() {
    BlkDesc* p = cur.ptr;
    std::int32_t const start = cur.start;
    if (p->len > BlkSize) return Halt(kModule, u"CheckCurLen", u"cur.ptr->len > BlkSize");
    if (p->len > 0) return;
    if (cur.ix != 0) Halt(kModule, u"CheckCurLen", u"cur.ix!=0");
    bufValid = bufDirty = false;  // its bytes are gone: nothing to write back
    if (p->next) {
        MoveTo({p->next, cur.start, 0});
    } else if (!MoveToPrevBlock()) {
        return;
    }
    if (index) index->Forget(p, start);
    Unlink(p, p);
    DisposeBlkPtr(p);
}

}  // namespace vfile
