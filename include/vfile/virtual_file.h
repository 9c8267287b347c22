/// An editable sequence of up to 2,147,483,647 bytes that costs a few megabytes whatever its size.
///
///   Owns      its bytes, as a chain of blocks of at most 1024 bytes in the memory of the thread, and one
///             buffer of 1024 bytes for the block under the cursor. The thread's first file makes that memory
///             (<vfile/vmem.h>: a cache of bounded size over a swap file), its last one ends it.
///   Threads   a file belongs to the thread that made it, destruction included. The operations that say
///             "own thread" stop the program on any other; the rest must not be used there either, they only
///             do not look. In a child process after a fork, destroying a file of the parent does nothing.
///   Units     positions, lengths and counts are in bytes, 32 bits, signed. Position n lies before byte n.
///             `MaxLen` as a count asks for all there is; `SameLen` as a delete length means as many bytes
///             as go in.
///   Errors    a failure is a code in `res` (<vfile/result.h>). While `res` is not ResDone every change,
///   every
///             change of a flag and every transfer does nothing, so that a row of calls can be judged once
///             at its end. A SetPos that succeeds clears it, Reset() included. Reads work whatever `res`
///             holds.
///   Throws    nothing of its own. A hook or a halt procedure may throw: what the running operation holds is
///             given back; a change that was not applied yet leaves the bytes as they were.
#pragma once

#include <vfile/export.h>
#include <vfile/handle.h>
#include <vfile/result.h>
#include <vfile/types.h>

#include <concepts>
#include <cstddef>
#include <cstdint>

namespace vfile {

class BlkPool;
class HFile;
class VMem;
struct BlkDesc;

/// A place in a chain of blocks: byte `ix` of the block `ptr`, whose first byte is byte `start` of the file.
/// `ix` may equal the length of the block: the same position as the start of the next one.
struct BlkRdr {
    BlkDesc* ptr = nullptr;
    std::int32_t start = 0;
    std::int16_t ix = 0;
};

/// What stands where a handle is wanted and is none: a buffer, an `HFile*`, `nullptr`, a number.
template <class T>
concept NotAHandle = !RawHandle<T> && !std::convertible_to<T*, HFile*>;

class VFILE_EXPORT VFile {
public:
    /// Result code of the last operation that stores one, ResDone (0) when all is well.
    FileRes res = ResDone;
    /// The last read wanted more than there was before it met the end (backward: the start) of the file.
    bool eof = false;
    /// Number base of the formatted output of whole numbers.
    std::int32_t radix = 10;

    // Bits of the flag word. 0x004, 0x010 and 0x040 are the host's own.

    /// WriteFromFile, ReadFromFile, ReadFile and their kin insert instead of overwriting.
    static constexpr std::int32_t InsertMode = 0x001;
    /// Changes fail with ResReadOnly.
    static constexpr std::int32_t ReadOnly = 0x002;
    /// Turned on by the first change under TrackModified; never turned off by the library.
    static constexpr std::int32_t Modified = 0x008;
    static constexpr std::int32_t TrackModified = 0x020;
    /// EolWatchOn, while EolWatchOff is off and `type` is above 0, makes ReplaceBuf look for CR and LF in
    /// what goes in, and set EolSeen.
    static constexpr std::int32_t EolWatchOff = 0x080;
    static constexpr std::int32_t EolWatchOn = 0x100;
    /// Changes, and changes of flags, fail with ResContextError. Set by derived classes in `flags` only.
    static constexpr std::int32_t Locked = 0x200;
    static constexpr std::int32_t EolSeen = 0x400;

    // Construction. A constructor with arguments fills an empty file by one change, leaves the cursor behind
    // the content and a failure in `res`.

    /// An empty file. Stops when there is no memory for it, or when the thread is not initialised.
    VFile();

    /// `count` copies of one character.
    template <ByteChar C>
    VFile(C ch, std::int32_t count) : VFile() {
        VFile::ReplaceCh(0, 0, static_cast<char>(ch), count);
    }

    /// The bytes of a string before its terminator.
    explicit VFile(char const* s);
    explicit VFile(std::nullptr_t) = delete;

    /// The next `count` bytes of an open file; see ReplaceFile.
    VFile(void* handle, std::int32_t count);
    VFile(HFile& file, std::int32_t count);
    template <NotAHandle T>
    requires(!ByteChar<T> && !std::derived_from<T, VFile>) VFile(T const&, std::int32_t)
    = delete;

    /// A copy of the bytes of `src` from `start` on, at most `count` of them. Flags, `type` and `radix` are
    /// not copied.
    VFile(VFile const& src, std::int32_t start = 0, std::int32_t count = MaxLen);

    virtual ~VFile();

    // Changes. The five Replace operations are what every edit ends in; a derived class that overrides one
    // sees all edits of its kind.

    virtual void ReplaceBuf(std::int32_t start, std::int32_t delLen, void const* data, std::int32_t dataLen);
    virtual void ReplaceCh(std::int32_t start, std::int32_t delLen, char ch, std::int32_t count);
    virtual void ReplaceTxt(std::int32_t start, std::int32_t delLen, VFile const& src, std::int32_t srcStart,
                            std::int32_t srcLen);
    virtual void ReplaceFile(std::int32_t start, std::int32_t delLen, HFile& file, std::int32_t count);
    virtual void ReplaceFile(std::int32_t start, std::int32_t delLen, void* handle, std::int32_t count);
    template <NotAHandle T>
    void ReplaceFile(std::int32_t, std::int32_t, T const&, std::int32_t) = delete;

    virtual VFile& operator=(VFile const& src);

    virtual void CheckInvariants() const;
    virtual void Show(char const* text) const;
    virtual void Dump() const;

    // Cursor.

    std::int32_t Length() const { return length; }
    std::int32_t GetPos() const { return pos; }
    bool Eof() const { return pos >= length; }
    bool Bof() const { return pos <= 0; }
    std::int32_t Type() const { return type; }
    void Reset() { SetPos(0); }
    void SetPos(std::int32_t position);
    void SetPos(std::int32_t offset, int whence);
    void Flush();

    // Reads.

    void ReadByte(unsigned char& b);
    void ReadPrevByte(unsigned char& b);
    template <ByteChar C>
    void ReadChar(C& ch) {
        unsigned char b;
        ReadByte(b);
        ch = static_cast<C>(b);
    }
    template <ByteChar C>
    void ReadPrevChar(C& ch) {
        unsigned char b;
        ReadPrevByte(b);
        ch = static_cast<C>(b);
    }
    std::int32_t ReadBytes(void* dst, std::int32_t count);
    template <WholeNumber<2> T>
    void ReadWord(T& x) {
        ReadBytes(&x, 2);
    }
    template <WholeNumber<4> T>
    void ReadDWord(T& x) {
        ReadBytes(&x, 4);
    }
    template <WholeNumber<8> T>
    void ReadQWord(T& x) {
        ReadBytes(&x, 8);
    }
    std::int32_t ReadTxt(char* dst, std::int32_t size, std::int32_t start, std::int32_t count);

    // Transfer.

    void ReadFromFile(void* handle, std::int32_t count);
    void ReadFromFile(HFile& file, std::int32_t count);
    template <NotAHandle T>
    void ReadFromFile(T const&, std::int32_t) = delete;
    void WriteFromFile(void* handle, std::int32_t count);
    template <NotAHandle T>
    void WriteFromFile(T const&, std::int32_t) = delete;
    void Write(HFile& file, std::int32_t count);

    void WriteToFile(HFile& file, std::int32_t count);
    void WriteToFile(void* handle, std::int32_t count);
    template <NotAHandle T>
    void WriteToFile(T const&, std::int32_t) = delete;

    void ReadFile(TChar const* name, std::uint32_t shareMode);
    void WriteFile(TChar const* name, bool overwrite);
    void Load(TChar const* name, std::uint32_t shareMode);
    void Save(TChar const* name, bool overwrite);

    // Flags.

    std::int32_t GetFlags() const { return flags; }
    bool FlagOn(std::int32_t mask) const { return (flags & mask) != 0; }
    void ToggleFlag(std::int32_t mask);
    void SetFlags(std::int32_t value);
    void InclFlag(std::int32_t mask);
    void ExclFlag(std::int32_t mask);
    void SetFlag(std::int32_t mask, bool on);

    // Settings of the calling thread; they need no file.

    static std::int16_t GetCacheSize();
    static std::int16_t GetMaxCacheSize();
    static void SetMaxCacheSize(std::int16_t kilobytes);
    static TChar const* GetTempDir();
    static void SetTempDir(TChar const* dir);
    static void ReleaseCache();

    static bool TLS_InitializeProcess();
    static bool TLS_UninitializeProcess();
    static bool TLS_InitializeThread();
    static bool TLS_UninitializeThread();

protected:
    virtual std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) const;
    virtual void PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen);
    virtual void PostChangeFlag(std::int32_t flag, bool on);

    std::int32_t flags = 0;
    std::int32_t type = 0;

private:
    friend struct VFileInspector;
    class HostEnd;
    class PrivateChain;
    struct BytesAt;
    struct BytesOf;
    struct Change;
    struct Cut;

    void Init();
    bool OnOwnThread() const;

    // Block records.
    BlkDesc* NewBlkPtr(BlkDesc* prev, BlkDesc* next, std::int16_t len);
    void DisposeBlkPtr(BlkDesc*& p);
    void DisposeBlkPtrList(BlkDesc*& head, BlkDesc* tail);
    bool AllocBuf(std::int32_t& addr);

    // The only operations that link or unlink a block of the file.
    void LinkBehind(BlkDesc* block, BlkDesc* head, BlkDesc* tail);
    void Unlink(BlkDesc* head, BlkDesc* tail);

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

    // The stages of a change, in their order.
    bool MayChange(bool argumentsGood);
    bool Clip(Change& change);
    bool Position(Change& change);
    void InitChange(std::int32_t position);
    void CheckEOL(void const* data, std::int32_t len);
    template <class Source>
    bool Apply(Change const& change, Source source);
    bool FitsCurrentBlock(Change const& change) const;
    bool Ask(Change const& change);
    void EditInBuffer(Change const& change, void const* bytes);
    bool DoChange(Change const& change, void const* piece, std::int32_t pieceLen, PrivateChain& chain);
    bool SaveTail(std::int32_t delLen, PrivateChain& chain);
    Cut FindCut(std::int32_t delLen, PrivateChain& chain);
    void CheckCurLen();
    void Publish(Change const& change);
    void CheckTouched() const;

    // Transfer.
    std::int32_t OverwriteLen() const { return FlagOn(InsertMode) ? 0 : SameLen; }
    void TakeFrom(HostEnd& source, std::int32_t start, std::int32_t delLen, std::int32_t count);
    FileRes ReadIn(HostEnd& source, std::int32_t count, PrivateChain& chain, std::int32_t& got);
    void GiveTo(HostEnd& target, std::int32_t count);

    std::int32_t pos = 0;
    std::int32_t length = 0;
    VMem* mem = nullptr;
    BlkPool* pool = nullptr;
    BlkDesc* first = nullptr;
    BlkDesc* last = nullptr;
    BlkRdr cur;
    unsigned char* buf = nullptr;  // of BlkSize bytes, made on first need
    bool bufValid = false;         // buf holds the bytes of cur.ptr
    bool bufDirty = false;         // and is newer than its page
    std::uint32_t owner = 0;       // thread
    std::uint32_t birth = 0;       // fork count of the process that made it
    std::uint32_t changes = 0;     // applied so far; wraps
};

}  // namespace vfile
