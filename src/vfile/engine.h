// What stands behind the face of a virtual file: its chain of blocks, its cursor with the block in the buffer, and the
// operations that the public ones are made of. Each is defined in the file of its concept.
//
//   The face has what hosts see as fields: `res`, `eof`, `radix`, flags and `type`, and the hooks. Whatever runs behind a
//   hook goes through the face again: the hook may have given it another engine.
//
//   An unborn file, which is what a moved one becomes, has no engine of its own but one that all such files share: it
//   has no thread, no memory, and one block without bytes. Reads and const operations find it empty, and write nothing
//   to it; whatever asks for the file's thread gives the file an engine first.
#pragma once

#include <vfile/virtual_file.h>

#include <cstddef>
#include <span>

#include "frame/access.h"
#include "platform/platform.h"
#include "vfile/block.h"

namespace vfile {

class BlkIndex;
class BlkPool;
class Inflow;
class PrivateChain;
struct Change;
struct Cut;
struct Neighbours;

struct Engine : internal::FileState {
    VFile* file = nullptr;
    internal::PagedMemory* mem = nullptr;
    BlkPool* pool = nullptr;
    BlkDesc* first = nullptr;
    BlkDesc* last = nullptr;
    BlkRdr cur;
    mutable BlkIndex* index = nullptr;  // of the starts of some blocks; made by the first long walk
    mutable std::int32_t carried = 0;   // by how much the current block has grown since the index was told
    unsigned char* buf = nullptr;       // of BlkSize bytes, made on first need
    bool bufValid = false;              // buf holds the bytes of cur.ptr
    bool bufDirty = false;              // and is newer than its page
    std::uint32_t owner = 0;            // thread
    std::uint32_t birth = 0;            // fork count of the process that made it
    std::uint32_t changes = 0;          // applied so far; wraps
    bool asked = false;                 // PreChange runs: the engine is to stay where it is
    VFile const* givesTo = nullptr;     // who is just being assigned all this file has, if that may be moved
    bool givesToUnborn = false;
    struct {
        BlkDesc const* block = nullptr;
        std::uint32_t changes = 0;
        bool found = false;
    } crCheck;  // whether the block that ReadLine looked at last held a CR, after so many changes

    bool OnOwnThread() const {
        return owner == platform::CurrentThreadId() && birth == platform::ForkCount();
    }
    bool IsUnborn() const { return owner == 0; }

    // Whether the file may be looked at here: an unborn one may be anywhere.
    bool BelongsHere() const { return OnOwnThread() || IsUnborn(); }

    // Block records.
    BlkDesc* NewBlkPtr(BlkDesc* prev, BlkDesc* next, std::int16_t len);
    void DisposeBlkPtr(BlkDesc*& p);
    void DisposeBlkPtrList(BlkDesc*& head, BlkDesc* tail);
    bool AllocBuf(std::int32_t& addr);

    // The only operations that link or unlink a block of the file.
    void LinkBehind(BlkDesc* block, BlkDesc* head, BlkDesc* tail);
    void Unlink(BlkDesc* head, BlkDesc* tail);

    // The one search for the block that holds a position.
    void SeekBlk(BlkRdr& rd, std::int32_t position, bool preferPrev) const;
    void SeekFar(BlkRdr& rd, std::int32_t position) const;
    Neighbours NeighboursOf(std::int32_t position) const;
    void HandOver() const;

    // The only operations that move the cursor to another place or block.
    void MoveTo(BlkRdr const& place);
    bool MoveToNextBlock();
    bool MoveToPrevBlock();
    void LeaveBlock();
    bool LoadBlock();

    // Reads by a place of the caller's own, that leave cursor, buffer and flags alone.
    void SetPosC(BlkRdr& rd, std::int32_t position) const;
    void ReadByteC(BlkRdr& rd, unsigned char& b) const;
    void ReadBytesC(BlkRdr& rd, void* dst, std::int32_t count) const;
    void CopyOutC(BlkRdr const& rd, void* dst, std::int16_t count) const;

    // Reads by runs, see "vfile/runs.h".
    enum BlockUse { kLoaded, kInPlace };
    std::span<unsigned char const> RunAhead(BlockUse use);
    std::span<unsigned char const> RunBehind(BlockUse use);
    unsigned char const* BlockBytes(BlockUse use);
    void MoveInBlock(std::ptrdiff_t bytes);

    // The stages of a change in their order, see "vfile/change.h".
    bool MayChange(bool argumentsGood, bool isProtected = true);
    bool Clip(Change& change);
    bool Position(Change& change);
    void InitChange(std::int32_t position);
    void MakeRoom(Change const& change);
    BlkDesc* TakerBefore(BlkDesc const* block) const;
    void PassHead(BlkDesc* block, std::int32_t start, std::int32_t count);
    void CheckEOL(void const* data, std::int32_t len);
    template <class Source>
    bool Apply(Change const& change, Source source);
    bool FitsCurrentBlock(Change const& change) const;
    bool Ask(Change const& change);
    void EditInBuffer(Change const& change, void const* bytes);
    bool DoChange(Change const& change, void const* piece, std::int32_t pieceLen, PrivateChain& chain);
    bool SaveTail(std::int32_t delLen, PrivateChain& chain);
    Cut FindCut(std::int32_t delLen, PrivateChain& chain);
    void ReleasePage(Change const& change);
    void CheckCurLen();
    void CheckTouched() const;
};

// The engine of a file, whatever the thread; to look at, where the file may be unborn.
inline Engine& EngineOf(VFile& file) { return static_cast<Engine&>(*internal::Access::StateOf(file)); }
inline Engine const& EngineOf(VFile const& file) {
    return static_cast<Engine const&>(*internal::Access::StateOf(file));
}

// Gives an unborn file an engine of its own; null for any other file. Stops as the constructor does.
Engine* Bear(VFile& file);

// The engine for an operation that belongs to the file's thread, null on any other.
inline Engine* OwnEngine(VFile& file) {
    Engine& e = EngineOf(file);
    return e.OnOwnThread() ? &e : Bear(file);
}

// Whether an operation on both files is on their thread; if not, after a stop.
bool CheckSameOwner(VFile const& a, VFile const& b, std::int32_t line);

// Gives back all that an engine has, and itself.
void EndEngine(Engine& e);

}  // namespace vfile
