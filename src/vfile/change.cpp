// The changes whose new bytes are at hand: ReplaceBuf, ReplaceCh and ReplaceTxt.
#include "vfile/change.h"

#include <vfile/halt.h>

#include <algorithm>
#include <cstring>

#include "vfile/byte_source.h"
#include "vfile/engine.h"
#include "vfile/take_over.h"

namespace vfile {

//   [aaaaXX]=[XXXXXX]=[XXbbbb]      X: the range that goes, cursor at its start
//   [aaaan1]=[n2]=[n3bbbb]          n1 fills the current block, n2 n3 are the private chain
//
// Prepare, ask, apply. False: refused, vetoed, or no memory.
template <class Source>
bool Engine::Apply(Change const& change, Source source) {
    BlockRoom room;
    if (FitsCurrentBlock(change)) {
        void const* const bytes = source.Take(change.insLen, room);
        if (!Ask(change)) return false;
        EditInBuffer(change, bytes);
        return true;
    }
    PrivateChain chain(*this);
    std::int32_t const n = std::min(change.insLen, BlkSize - cur.ix);
    void const* const piece = source.Take(n, room);
    if (!source.TakeRest(change.insLen - n, chain)) {
        file->res = ResHeapOverflow;
        return false;
    }
    return Ask(change) && DoChange(change, piece, n, chain);
}

void VFile::ReplaceBuf(std::int32_t start, std::int32_t delLen, void const* data, std::int32_t dataLen) {
    Engine* const e = OwnEngine(*this);
    if (!e) return HaltA(kModule, __LINE__);
    if (res != ResDone) return;
    if (delLen == SameLen) delLen = dataLen;
    if (!e->MayChange(start >= 0 && delLen >= 0 && dataLen >= 0 && (data || dataLen == 0))) return;
    Change change{u"ReplaceBuf", start, delLen, dataLen};
    if (!e->Position(change)) return;
    e->MakeRoom(change);
    e->CheckEOL(data, dataLen);
    if (e->Apply(change, BytesAt{static_cast<unsigned char const*>(data)})) Publish(*this, change);
}

void VFile::ReplaceTxt(std::int32_t start, std::int32_t delLen, VFile const& src, std::int32_t srcStart,
                       std::int32_t srcLen) {
    Engine* const e = OwnEngine(*this);
    Engine const& from = EngineOf(src);  // behind the other: both may be one unborn file
    if (!e || !from.BelongsHere()) return HaltA(kModule, __LINE__);
    if (res != ResDone) return;
    bool const sameLen = delLen == SameLen;
    bool const argumentsGood = start >= 0 && (sameLen || delLen >= 0) && srcStart >= 0 && srcLen >= 0;
    bool const given = from.givesTo == this;
    if (!e->MayChange(argumentsGood, !(given && from.givesToUnborn))) return;
    srcStart = std::min(srcStart, from.length);
    srcLen = std::min(srcLen, from.length - srcStart);
    Change change{u"ReplaceTxt", start, sameLen ? srcLen : delLen, srcLen};
    if (given && !e->asked && IsWhole(change, *e, from)) return TakeOver(*this, *from.file);
    if (!e->Position(change)) return;
    e->MakeRoom(change);
    if (e->Apply(change, BytesOf(from, srcStart))) Publish(*this, change);
}

// Copies go in by batches, each a change of its own with its own hooks. The first one removes the whole
// range.
void VFile::ReplaceCh(std::int32_t start, std::int32_t delLen, char ch, std::int32_t count) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__);
    if (count <= 1) return ReplaceBuf(start, delLen, &ch, count);
    if (delLen == SameLen) delLen = count;
    BlockRoom batch;
    std::memset(batch, ch, static_cast<std::size_t>(std::min(count, BlkSize)));
    while (count > 0) {
        std::int32_t const n = std::min(count, BlkSize);
        ReplaceBuf(start, delLen, batch, n);
        if (res != ResDone) return;
        delLen = 0;
        start = start > MaxLen - n ? MaxLen : start + n;
        count -= n;
    }
}

// The line-end watch. What it sees stays seen, also when the change is vetoed afterwards.
void Engine::CheckEOL(void const* data, std::int32_t len) {
    if (file->Type() <= 0 || len <= 0 || !file->FlagOn(VFile::EolWatchOn) || file->FlagOn(VFile::EolWatchOff))
        return;
    auto const n = static_cast<std::size_t>(len);
    if (std::memchr(data, '\r', n) || std::memchr(data, '\n', n))
        internal::Access::FlagsOf(*file) |= VFile::EolSeen;
}

std::int32_t VFile::PreChange(std::int32_t, std::int32_t, std::int32_t) const { return ResDone; }

void VFile::PostChange(std::int32_t, std::int32_t, std::int32_t) {
    if (FlagOn(TrackModified)) ToggleFlag(~flags & Modified);
}

}  // namespace vfile
