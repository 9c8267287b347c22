/// An editable sequence of up to 2,147,482,624 bytes that costs a few megabytes of memory, whatever its size.
///
///   Owns      its bytes, as a chain of blocks of at most 1024 bytes in the memory of the thread, and one
///             buffer of 1024 bytes for the block under the cursor. The thread's first file makes that memory
///             (<vfile/vmem.h>: a cache of bounded size over a swap file), its last one ends it. The heap
///             holds 24 bytes a block.
///   Threads   a file belongs to the thread that made it, destruction included. Operations marked "own
///             thread" make an assertion stop of "VFile" on any other, before anything else; the rest do not
///             look, and must not be used there either. In a child process after a fork, destroying a file of
///             the parent is silent and touches nothing.
///   Units     positions, lengths and counts are in bytes. Position n lies before byte n. `MaxLen` as a count
///             asks for all there is; `SameLen` as a delete length means as many bytes as go in.
///   Errors    a failure is a code in `res` (<vfile/result.h>). While `res` is not ResDone, every change of
///             bytes or flags and every transfer does nothing at all, so that a row of calls can be judged
///             once at its end. A SetPos that succeeds clears it, Reset() included. Reads work whatever `res`
///             holds.
///   Stops     a failing swap file stops inside any operation that touches bytes, with a message of "VMem".
///   Throws    nothing of its own. A hook or a halt procedure may throw: what the running operation holds is
///             given back, and a change that was not applied yet leaves the bytes as they were.
///
/// Limits: all files of a thread share addresses for 2,097,151 blocks, so that the longest file that can really
/// be is 2,147,482,624 bytes, and 2,147,481,600 out of one load, beside which the emptied file keeps a block. A
/// length between that and MaxLen is ResHeapOverflow, one above MaxLen is ResTooLong. A block that edits left
/// short costs as much as a full one, so that a file of N full blocks that is edited everywhere may need 2N, and
/// the new blocks of a change are there beside those that it replaces. Where the addresses end, a change fails
/// with ResHeapOverflow.
#pragma once

#include <vfile/edit_family.h>
#include <vfile/export.h>
#include <vfile/handle.h>
#include <vfile/internal.h>
#include <vfile/result.h>
#include <vfile/types.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>

namespace vfile {

class HFile;
class VFile;

/// What stands where a handle is wanted and is none: a buffer, an `HFile*`, `nullptr`, a number. Overloads
/// that take it are deleted, so that nothing converts to a handle by accident.
template <class T>
concept NotAHandle = !RawHandle<T> && !std::convertible_to<T*, HFile*>;

/// The same where a character or a file may stand too.
template <class T>
concept NotASource = NotAHandle<T> && !ByteChar<T> && !std::derived_from<T, VFile>;

class VFILE_EXPORT VFile {
public:
    FileRes res = ResDone;    ///< the last failure; see above
    bool eof = false;         ///< the last read ran into the end of the file (backward: into the start)
    std::int32_t radix = 10;  ///< number base of numbers written as text, 2 to 36

    // Bits of the flag word, all off at first. 0x004, 0x010 and 0x040 are the host's own.

    /// The Write family, `<<`, ReadFromFile and ReadFile insert; while it is off they overwrite. Nothing else
    /// looks at it.
    static constexpr std::int32_t InsertMode = 0x001;
    /// Changes of bytes, and ReadFile, fail with ResReadOnly, those included that would change nothing.
    static constexpr std::int32_t ReadOnly = 0x002;
    /// Turned on by the first change under TrackModified. The library never turns it off: a host does.
    static constexpr std::int32_t Modified = 0x008;
    static constexpr std::int32_t TrackModified = 0x020;
    /// The line-end watch: while EolWatchOn is on, EolWatchOff is off and `type` is above 0, ReplaceBuf sets
    /// EolSeen at the first CR or LF in what goes in, even when the change is vetoed afterwards.
    static constexpr std::int32_t EolWatchOff = 0x080;
    static constexpr std::int32_t EolWatchOn = 0x100;
    /// Changes of bytes or flags, and ReadFile, fail with ResContextError. No flag operation turns it on or
    /// off: it is for derived classes, in `flags`.
    static constexpr std::int32_t Locked = 0x200;
    /// Stays on for the life of the object.
    static constexpr std::int32_t EolSeen = 0x400;

    // Construction. One with arguments fills an empty file by one change, which no override sees; the cursor
    // ends behind the content, a failure in `res`.

    /// An empty file. Stops: no memory for it, or a thread after VFile_UninitializeThread (<vfile/thread.h>).
    VFile();

    /// `count` copies of a character; see ReplaceCh.
    template <ByteChar C>
    VFile(C ch, std::int32_t count) : VFile() {
        VFile::ReplaceCh(0, 0, static_cast<char>(ch), count);
    }

    /// The bytes of a string without its terminator. `s` must not be null. ResTooLong: more than MaxLen.
    explicit VFile(char const* s);
    explicit VFile(std::nullptr_t) = delete;

    /// The next `count` bytes of an open file of the host; see ReplaceFile. The handle parameter takes
    /// exactly a `void*`, here and everywhere.
    VFile(void* handle, std::int32_t count);
    VFile(HFile& file, std::int32_t count);
    template <NotASource T>
    VFile(T const&, std::int32_t) = delete;

    /// The bytes of `src` from `start` on, at most `count` of them; see ReplaceTxt. Copies neither flags nor
    /// `type` and `radix`.
    VFile(VFile const& src, std::int32_t start = 0, std::int32_t count = MaxLen);

    /// Takes over all that `other` is: bytes, cursor, `res`, `eof`, flags, `type`, `radix`. Constant time, without memory,
    /// unseen by hooks. `other` becomes an *unborn* file: empty, `res` ResDone, `eof` false, its flags, `type` and `radix`
    /// as they were. It belongs to no thread, costs nothing, and ends in silence. The first operation on it that has a
    /// thread makes it a file of that thread, and stops as VFile() does. Terminates: `other` belongs to another thread,
    /// or a halt procedure throws. In its own PreChange a file is not moved: a stop, as there.
    VFile(VFile&& other) noexcept;

    /// Exchanges all that the two files are, in constant time and unseen by hooks. Own thread; stops for a file
    /// of another one, and for one that is in its PreChange.
    void Swap(VFile& other);

    /// Own thread. Constant time, whatever the length: the blocks go to the thread's pool.
    virtual ~VFile();

    // Changes: the five operations that every edit ends in. A class that overrides one sees all edits of its
    // kind; it needs `using VFile::ReplaceFile; using VFile::operator=;` to keep the overloads that it does
    // not override in view.
    //
    // Each replaces `delLen` bytes at `start` by new ones. Own thread.
    //   Clipping   `start` to the length, which is how appending is done, and `delLen` to what lies behind
    //              `start`. So `delLen` 0 inserts, no new bytes delete, and neither moves the cursor to
    //              `start`.
    //   Success    the cursor stands behind the new bytes; `res` is ResDone, `eof` false.
    //   Failure    bytes and length are as before, `res` tells why. The cursor has not moved, or stands at
    //              the clipped `start` when a hook vetoed or memory ran out.
    //   Codes      in this order: ResCallError for a negative argument (`delLen` SameLen aside),
    //              ResContextError under Locked, ResReadOnly under ReadOnly, ResTooLong when the length would
    //              pass MaxLen; then ResHeapOverflow for want of memory or addresses, or what PreChange
    //              gives.
    //   Hooks      PreChange and PostChange once for each change, with clipped values; neither when no byte
    //              comes or goes.
    //   Cost       a change inside a block with room is a move of memory. Else the blocks it touches, plus
    //              finding `start`, which takes about as long in a large file as in a small one.

    /// By `dataLen` bytes at `data`. ResCallError: `data` null with bytes asked for.
    virtual void ReplaceBuf(std::int32_t start, std::int32_t delLen, void const* data, std::int32_t dataLen);

    /// By `count` copies of `ch`. More than 1024 go in as a series of changes of at most 1024 each, the first
    /// of which removes the whole range (of `SameLen`: `count` bytes). A failure in a later one leaves the
    /// earlier ones in the file.
    virtual void ReplaceCh(std::int32_t start, std::int32_t delLen, char ch, std::int32_t count);
    template <NotAByte T>
    void ReplaceCh(std::int32_t, std::int32_t, T, std::int32_t) = delete;

    /// By `srcLen` bytes of `src` from `srcStart` on, both clipped to `src`. `src` may be this file, and the
    /// ranges may overlap: the outcome is as if `src` had been copied first. The bytes are read before PreChange
    /// is asked, so that what the hook does to `src` comes too late for them. Stops like a foreign thread when
    /// the two files belong to different ones.
    virtual void ReplaceTxt(std::int32_t start, std::int32_t delLen, VFile const& src, std::int32_t srcStart,
                            std::int32_t srcLen);

    /// By the next `count` bytes of an open file of the host, or by all it has when `count` is MaxLen;
    /// `SameLen` means as many as were read. The source is neither closed nor set back. All of that is read
    /// before this file is touched: a failed read leaves this one as it was, cursor included, with the code
    /// of the read.
    ///   ResNotDone     the source ended before a definite `count`
    ///   ResCallError   the source is closed, too
    ///   ResTooLong     also: MaxLen asked of a source that has more ahead, told before anything is read.
    ///                  Where no size tells, as in a pipe, it is ResHeapOverflow in the end.
    virtual void ReplaceFile(std::int32_t start, std::int32_t delLen, HFile& file, std::int32_t count);
    virtual void ReplaceFile(std::int32_t start, std::int32_t delLen, void* handle, std::int32_t count);
    template <NotAHandle T>
    void ReplaceFile(std::int32_t, std::int32_t, T const&, std::int32_t) = delete;

    /// The whole content gives way to that of `src`: ReplaceTxt(0, Length(), src, 0, MaxLen). Flags, `type`
    /// and `radix` stay.
    virtual VFile& operator=(VFile const& src);

    /// The same change, with its codes, its hooks, and the overrides that a copy meets, but in constant time and without
    /// memory where it comes to VFile::ReplaceTxt whole: the blocks go over, and `src` becomes unborn, as a moved one
    /// does; no hook of `src` runs. A change that is refused leaves `src` as it was, and so does an override that makes
    /// something else of it. PreChange leaves `src` alone: else a stop, "source changed in PreChange". Nothing happens
    /// when `src` is this file.
    ///   Flags   stay where they are, and an unborn file takes what it is assigned even under ReadOnly or Locked:
    ///           it has nothing to lose. So std::swap exchanges the bytes of two files and leaves each its flags, while
    ///           vfile::swap takes these along. Algorithms that use both, as std::sort and std::rotate, lose no byte,
    ///           but say nothing of where flags end. A container's erase assigns to the files behind
    ///           the gap, so that one under ReadOnly refuses and keeps its bytes.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): a change, whose hooks may throw.
    VFile& operator=(VFile&& src);

    /// The whole content gives way to a string, which must not be null, or to one character.
    virtual VFile& operator=(char const* s);
    virtual VFile& operator=(char ch);
    virtual VFile& operator=(signed char ch);
    virtual VFile& operator=(unsigned char ch);
    VFile& operator=(char8_t ch) { return *this = static_cast<char>(ch); }
    VFile& operator=(std::nullptr_t) = delete;

    // For derived classes; without effect here.

    virtual void CheckInvariants() const;
    virtual void Show(char const* text) const;
    virtual void Dump() const;

    // The typed editing forms: InsertByte, WriteDWord, Append and their kin, see <vfile/edit_family.h>. A family
    // is where the new bytes go, and how many bytes their N take the place of. Write overwrites, and inserts
    // under InsertMode; Replace always overwrites; both go beyond the end of the file where it is too short.
    //
    // clang-format off
    //                family   start     bytes that go for `n`
    VFILE_EDIT_FAMILY(Insert,  GetPos(), 0);
    VFILE_EDIT_FAMILY(Replace, GetPos(), n);
    VFILE_EDIT_FAMILY(Write,   GetPos(), FlagOn(InsertMode) ? 0 : n);
    VFILE_EDIT_FAMILY(Append,  Length(), 0);
    VFILE_EDIT_FAMILY(Prepend, 0,        0);
    // clang-format on

    /// ReplaceBuf by nothing: of a range; of all from the cursor on. `len` SameLen deletes nothing.
    void Delete(std::int32_t start, std::int32_t len) { ReplaceBuf(start, len, nullptr, 0); }
    void Truncate() { ReplaceBuf(GetPos(), MaxLen, nullptr, 0); }

    /// Write at the cursor, and Append at the end: a character as one byte, a string, the whole of a file.
    template <ByteChar C>
    VFile& operator<<(C ch) {
        WriteByte(static_cast<unsigned char>(ch));
        return *this;
    }
    VFile& operator<<(char const* s);
    VFile& operator<<(VFile const& src);
    VFile& operator<<(std::nullptr_t) = delete;
    template <ByteChar C>
    VFile& operator+=(C ch) {
        AppendByte(static_cast<unsigned char>(ch));
        return *this;
    }
    VFile& operator+=(char const* s);
    VFile& operator+=(VFile const& src);
    VFile& operator+=(std::nullptr_t) = delete;

    /// Writes the digits of a number to the base `radix`, lower-case letters above 9, and nothing around them,
    /// as Write does a string. A negative number has a minus sign in base 10; in any other base it shows as two's
    /// complement, of 8 bytes for an operand of 8, else of 4. Stops: `radix` outside 2 to 36.
    template <WholeNumber<2> T>
    VFile& operator<<(T value) {
        return *this << std::int32_t{value};
    }
    template <WholeNumber<4> T>
    VFile& operator<<(T value) {
        using Fixed = std::conditional_t<std::is_signed_v<T>, std::int32_t, std::uint32_t>;
        return internal::WriteNumber(*this, static_cast<Fixed>(value));
    }
    template <WholeNumber<8> T>
    VFile& operator<<(T value) {
        using Fixed = std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>;
        return internal::WriteNumber(*this, static_cast<Fixed>(value));
    }

    /// ReadByte into a character.
    template <ByteChar C>
    VFile& operator>>(C& ch) {
        ReadChar(ch);
        return *this;
    }

    /// Makes the rest of this file, from the cursor on, the whole content of `target`, and goes to the end. When
    /// that fails, the target's code is this file's too, and the cursor stays.
    VFile& operator>>(VFile& target);

    // The cursor.

    std::int32_t Length() const { return vfileState->length; }
    std::int32_t GetPos() const { return vfileState->pos; }
    bool Eof() const { return GetPos() >= Length(); }
    bool Bof() const { return GetPos() <= 0; }
    std::int32_t Type() const { return type; }

    /// SetPos(0).
    void Reset() { SetPos(0); }

    /// Puts the cursor on `position`, or on the end when that comes first; clears `res` and `eof`.
    /// ResCallError, and nothing else changes: `position` negative. Own thread.
    void SetPos(std::int32_t position);

    /// SetPos of `offset` counted from the start (`whence` 0), the cursor (1) or the end (2), summed without
    /// wrapping round. Another `whence` is ResCallError, and nothing else changes. Own thread.
    void SetPos(std::int32_t offset, int whence);

    /// Writes the buffer back to the memory of the thread if it is newer, and frees it; the next use makes a
    /// new one. Cursor, `res` and `eof` stay. Own thread.
    void Flush();

    // Reads. They move the cursor over what was read, work whatever `res` holds, and leave it alone but where
    // said.

    /// The byte at the cursor, or the one before it. At the end (start) of the file `b` becomes 0, `eof`
    /// true, and the cursor stays; else `eof` is false. The first of a block loads the block.
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

    /// Up to `count` bytes; gives how many came. `eof` becomes true when they were fewer, else false: a read
    /// that just reaches the end leaves it false. ResCallError, with 0 and cursor and `eof` as they were:
    /// `count` negative, or `dst` null with bytes asked for.
    std::int32_t ReadBytes(void* dst, std::int32_t count);

    /// ReadBytes into a whole number of 2, 4 or 8 bytes of whatever name, the first byte to its lowest
    /// address. Near the end of the file only the first bytes of `x` are filled, and `eof` is set.
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

    /// A range as a zero-terminated text: of `count` bytes at `start`, as far as the file has them, the first
    /// `size` - 1. Gives how many came; the cursor stands behind them, `res` is clear. ResCallError, with 0
    /// and `dst` as it was: `dst` null, `size` below 1, `start` or `count` negative.
    std::int32_t ReadTxt(char* dst, std::int32_t size, std::int32_t start, std::int32_t count);

    // Search. Both directions take the cursor as a tool and leave it where the last byte was read: see each.
    // Own thread. A stored `res` does not stop a search: its SetPos clears it.

    /// Finds the leftmost place from `position` on where the bytes of `pattern`, a terminated string, stand.
    /// True: `position` is one past the last byte of the match, where the next search has to begin; the
    /// cursor is one further, or there with `eof` set at the end of the file. False: `position` is the length
    /// plus 1 (saturating at MaxLen; from beyond the end, one more than it was), the cursor at the end, `eof`
    /// set.
    ///   ignoreCase  A to Z and a to z count as equal, whatever the locale; all other bytes for themselves.
    ///   wholeWord   neither neighbour of the match is one of 0-9, A-Z, a-z, whatever the pattern itself holds;
    ///               a candidate that is rejected is passed as a whole. The cursor of a true result is then one
    ///               before the match, or 0 with `eof` set.
    /// An empty pattern is found at once, and nothing changes. ResCallError, with nothing else changed:
    /// `position` negative. `pattern` must not be null.
    bool Find(std::int32_t& position, char const* pattern, bool ignoreCase, bool wholeWord);

    /// The mirror of Find: the rightmost match that ends at `position` or before it, which is clipped to the
    /// length first. True: `position` is the first byte of the match, the cursor one before it, or 0 with
    /// `eof` set; with `wholeWord` one past the byte behind the match, or at the end with `eof` set. False:
    /// `position` is -1, the cursor 0, `eof` set.
    bool FindBack(std::int32_t& position, char const* pattern, bool ignoreCase, bool wholeWord);

    /// Replaces every match that Find gives from 0 on, each by a ReplaceBuf of its own, with its hooks, and
    /// gives their number. What was put in is not searched again. The cursor ends at the end, with `eof` set
    /// and `res` clear. A replacement that fails ends the work with its code in `res`; those before it stand.
    /// ResCallError, result 0 and nothing else changed: `pattern` empty.
    std::int32_t ReplaceGlobal(char const* pattern, char const* replacement, bool ignoreCase, bool wholeWord);

    // Lines. A line end is CR LF, a CR that no LF follows, or an LF that no CR precedes; a position on it, or
    // between CR and LF, belongs to the line that it closes. A position behind a line end starts a line, also
    // at the end of the file. All of them use the cursor and leave it where the last byte was read; a valid
    // SetPos on the way clears `res`, and a position beyond the end counts as the end. Own thread, but for
    // ReadLine and Read.

    /// Whether CR LF stands before, around, behind `position`. A negative one is ResCallError and says nothing
    /// but for BetweenCRLF, which is false below 1 and touches nothing.
    bool AfterCRLF(std::int32_t position);
    bool BetweenCRLF(std::int32_t position);
    bool BeforeCRLF(std::int32_t position);

    /// The start of the line that holds `position`. The cursor ends on the last byte of the line end before
    /// it, or 0 with `eof` set; one past `position` when that starts a line behind a lone CR. Nothing is
    /// touched at 0 and in an empty file. ResCallError, result 0: `position` negative.
    std::int32_t LineStart(std::int32_t position);

    /// The line that holds `position`: where it starts, its bytes with the line end, and the bytes of the line
    /// end alone, 0 to 2. The cursor ends behind it, one further behind a lone CR. ResCallError, and nothing
    /// written: `position` negative.
    void LineSize(std::int32_t position, std::int32_t& start, std::int32_t& size, std::int32_t& eol);

    /// The position behind the line end, or behind the content before it. ResCallError, result 0: `position`
    /// negative.
    std::int32_t LineEnd(std::int32_t position, bool withEol);

    /// The number of blanks (0x20 alone) with which the line begins. The cursor ends one past the first other
    /// byte, or at the end with `eof` set. ResCallError, result 0: `position` negative.
    std::int32_t LineIndent(std::int32_t position);

    /// Reads the rest of the line at the cursor, without its line end, as a terminated string into `buf` of
    /// `size` bytes, and gives how many bytes it stored. What does not fit is passed over. The cursor ends
    /// behind the line end; `eof` is set when the end of the file came first, and clear after a CR at the
    /// very end. ResCallError, result 0: `buf` null or `size` below 1.
    int ReadLine(char* buf, std::int32_t size);

    /// Reads one character with every line end made LF. Gives the bytes it took, 2 for CR LF; 0 at the end,
    /// with `ch` 0 and `eof` set.
    template <ByteChar C>
    int Read(C& ch) {
        unsigned char b;
        int const taken = internal::ReadMappingEol(*this, b);
        ch = static_cast<C>(b);
        return taken;
    }

    // Transfer from and to files of the host. Own thread.

    /// WriteFromFile and Write of a host file under a second name.
    void ReadFromFile(void* handle, std::int32_t count) { WriteFromFile(handle, count); }
    void ReadFromFile(HFile& file, std::int32_t count) { Write(file, count); }
    template <NotAHandle T>
    void ReadFromFile(T const&, std::int32_t) = delete;

    /// Writes the `count` bytes from the cursor on, as far as there are so many, to an open file of the host,
    /// at its position. The cursor moves over what was written, flags play no part. After a failure `res` has
    /// the code, what went out stays there, and the cursor stands behind the piece of 1024 bytes that failed.
    /// ResCallError: `count` negative, or the target closed.
    void WriteToFile(HFile& file, std::int32_t count);
    void WriteToFile(void* handle, std::int32_t count);
    template <NotAHandle T>
    void WriteToFile(T const&, std::int32_t) = delete;

    /// Brings in the whole of a named file, which must exist, like ReadFromFile. `shareMode` 1 lets other
    /// readers of it in meanwhile, 0 nobody.
    void ReadFile(TChar const* name, std::uint32_t shareMode);

    /// Writes the whole content to a named file, which nobody else may hold: a new one, or with `overwrite`
    /// also one that exists and is emptied first. The cursor ends at the end; it stays when the file could
    /// not be had. A file that a failed write left incomplete stays.
    void WriteFile(TChar const* name, bool overwrite);

    /// Makes a named file the whole content, cursor at 0, whatever `res` held. Empties first: when the file
    /// cannot be had or read, this one is empty and `res` tells why. Under ReadOnly or Locked nothing is
    /// lost.
    void Load(TChar const* name, std::uint32_t shareMode);

    /// WriteFile whatever `res` held. Modified stays on.
    void Save(TChar const* name, bool overwrite);

    /// Save over an existing file or to a new one, so that at every moment, also after a kill or a power cut, the name
    /// means the old bytes or the new ones. The bytes go to a new file in the target's directory, which gets the
    /// target's mode, owner, access list and attributes, is flushed, and takes the name; links to the target are
    /// followed. A target that a new file could not stand for (it has more names, or an owner or an access list that
    /// cannot be given) is written in place, with its old bytes beside it as NAME.~old~N meanwhile, for the caller's user
    /// alone whoever may read the target; after a failed write they are put back, and where that fails, or a flush failed,
    /// the copy stays: then it is what is whole. docs/safe-saves.md lists what a kill can leave. A device or a pipe is
    /// written plainly. Who holds the target to read it, as Load does meanwhile, keeps this out. The cursor ends at the end, where the target could be had. ResNoPermission: the
    /// target is held by another, or was replaced by another meanwhile, or may not be written, or its directory may
    /// not, or lets names be added but not removed. With a code in `res` the name means the old bytes or the copy has them; but where only the last step, the
    /// flush of the directory or the removal of the copy, has failed, the new bytes are in place.
    void SaveSafe(TChar const* name);

    // Flags.

    std::int32_t GetFlags() const { return flags; }

    /// Whether at least one bit of `mask` is on.
    bool FlagOn(std::int32_t mask) const { return (flags & mask) != 0; }

    /// Flips the bits of `mask`, from 0x001 to 0x100, the lowest first, and calls PostChangeFlag for each;
    /// other bits are ignored. Nothing happens while `res` is set. ResContextError: under Locked. Own thread.
    void ToggleFlag(std::int32_t mask);

    /// ToggleFlag of the bits that are not yet as asked: all as in `value`; those of `mask` on; off; on or
    /// off.
    void SetFlags(std::int32_t value);
    void InclFlag(std::int32_t mask);
    void ExclFlag(std::int32_t mask);
    void SetFlag(std::int32_t mask, bool on);

    // Settings of the calling thread. They need no file, hold for the memory that its files share, and last
    // until the thread ends.

    /// Kilobytes in the cache now, 0 while the thread has no file.
    static std::int16_t GetCacheSize();

    /// The limit of the cache in kilobytes, 70 at first. A negative one counts as 0; while the thread has no
    /// file it is kept and given back as it came.
    static std::int16_t GetMaxCacheSize();
    static void SetMaxCacheSize(std::int16_t kilobytes);

    /// The directory for the swap file, null for none of its own: then TMP, TEMP and TMPDIR are asked. Copied
    /// when set, and may be the very string that GetTempDir gave; that one is borrowed until the next is set
    /// or the thread's last file goes.
    static TChar const* GetTempDir();
    static void SetTempDir(TChar const* dir);

    /// Writes what the cache holds to the swap file, and empties it.
    static void ReleaseCache();

    /// Steps of the library's load and unload and of a thread's start and end. A host needs none of them.
    static bool TLS_InitializeProcess();
    static bool TLS_UninitializeProcess();
    static bool TLS_InitializeThread();
    static bool TLS_UninitializeThread();

protected:
    // Hooks. They run on the own thread, inside the change, and may read and change other files.

    /// Asked before a change is applied, with the cursor at `start` and the length still the old one: 0 lets
    /// it go on, anything else is a veto and becomes `res`. It may copy from this file, `VFile old(*this,
    /// start, delLen)`, but must leave it alone, cursor and buffer included; else a stop, "file changed in
    /// PreChange".
    virtual std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) const;

    /// Told after a change, with the new length and the cursor still at `start`. May read, move the cursor,
    /// and change the file again: the cursor then ends where the outer change puts it, clipped, and `res` is
    /// clear. This one turns Modified on under TrackModified.
    virtual void PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen);

    /// Told after one bit of the flags was flipped.
    virtual void PostChangeFlag(std::int32_t flag, bool on);

    std::int32_t flags = 0;  ///< the flag word; nothing is told of a change made here
    std::int32_t type = 0;   ///< for derived classes; above 0 it enables the line-end watch

private:
    friend struct internal::Access;
    internal::FileState* vfileState;
};

// NOLINTNEXTLINE(readability-identifier-naming): the name by which the language finds it.
inline void swap(VFile& a, VFile& b) { a.Swap(b); }

/// Compare the bytes of two files, or of a file and a terminated string, which must not be null: unsigned, the first
/// difference decides, and what is a beginning of the other is less. NUL bytes of a file compare like any other. All
/// comparison operators follow from these, with the string on either side. Nothing moves: cursor, `res` and `eof` stay,
/// and the state of the flags plays no part. Own thread, of both files.
VFILE_EXPORT bool operator==(VFile const& a, VFile const& b);
VFILE_EXPORT bool operator==(VFile const& a, char const* s);
VFILE_EXPORT std::strong_ordering operator<=>(VFile const& a, VFile const& b);
VFILE_EXPORT std::strong_ordering operator<=>(VFile const& a, char const* s);
bool operator==(VFile const&, std::nullptr_t) = delete;
std::strong_ordering operator<=>(VFile const&, std::nullptr_t) = delete;

}  // namespace vfile

#undef VFILE_EDIT_FAMILY
