/// One real file of the host: its handle, a stored result code, and typed reads and writes at its position.
///
///   Owns      its handle, however it came by it; closes it with itself. Cannot be copied.
///   Threads   any, one at a time; nothing is checked and nothing locked.
///   Fork      a copy in a child process has the same position and the same lock: closing either gives the lock
///             up for both.
///   Units     positions and lengths in bytes; in a file of 2 GiB and more Length and GetPos stop at
///             `MaxLen`, and SetPos goes no further. Whole numbers stand in files low byte first.
///   Buffers   none: a read or a write is one call of the system's (one for each GiB).
///   `res`     the code of the last failure. While it is set, every transfer does nothing at all, so that a
///             row of them can be judged once at the end. Open, Create and their kin, Close, SetPos, Reset,
///             Truncate and Flush set it either way: one that succeeds clears an earlier failure.
///   `eof`     whether the last read that came to a call got fewer bytes than it asked for: at the end of
///             a file, and on a pipe whenever less is waiting. The end of a file is no failure.
///   Closed    a transfer on a closed object ends in `ResCallError`, as do Close, SetPos, Truncate and Flush.
#pragma once

#include <vfile/handle.h>
#include <vfile/internal.h>
#include <vfile/result.h>

#include <cstddef>
#include <cstdint>

namespace vfile {

class VFILE_EXPORT HFile {
public:
    FileRes res = ResDone;    ///< the last failure, ResDone when there was none; see above
    bool eof = false;         ///< the last read fell short
    std::int32_t radix = 10;  ///< number base of `<<`, 2 to 36

    /// A closed object. No constructor allocates, and none fails.
    HFile() noexcept = default;

    /// Adopts an open handle, unchecked; the invalid handle gives a closed object. Takes exactly a `void*`.
    template <RawHandle H>
    explicit HFile(H adopted) noexcept : vfileState{adopted} {}

    HFile(HFile const&) = delete;
    HFile& operator=(HFile const&) = delete;

    /// Closes the file if it is open.
    virtual ~HFile();

    bool IsOpen() const { return vfileState.handle != InvalidHandle(); }

    /// `ResCallError` when nothing is open. Else closed and `ResDone`, whatever the system says to it. `eof`
    /// stays.
    void Close();

    // Opening. True: open, at position 0, `res` ResDone. False: the code is in `res`. An object that is open
    // already keeps its file (`ResCallError`). A stored failure is no obstacle; `eof` stays. A second opener
    // of a file that is held is refused with `ResNoPermission`, unless both only read by OpenSeqRead.

    /// An existing file, for reading from front to back. Lets other readers in, and nobody else: it keeps writers out.
    bool OpenSeqRead(TChar const* name);

    /// A new file for writing from front to back, held alone. An existing one is emptied when `overwrite` is
    /// set, else it is `ResAlreadyExists` and untouched.
    bool CreateSeqWrite(TChar const* name, bool overwrite);

    /// An existing file for reading and writing, held alone.
    bool Open(TChar const* name);

    /// CreateSeqWrite for reading and writing at any position.
    bool Create(TChar const* name, bool overwrite);

    /// Open; with `create` a file that is missing is made first. An existing one keeps its bytes.
    bool Lookup(TChar const* name, bool create);

    // Bytes.

    /// Reads up to `count` bytes to `buf`; gives how many came. `eof` tells whether they were fewer. 0 when
    /// `res` is set or `count` is 0, both leaving `eof` alone. `ResCallError`: `count` negative, or `buf`
    /// null. On a failure `eof` is false.
    std::int32_t ReadBytes(void* buf, std::int32_t count);

    /// Writes `count` bytes of `buf`. Nothing when `res` is set or `count` is 0. `ResCallError`: `count`
    /// negative, or `buf` null. `ResDiskFull`: not all of them went out. `eof` stays.
    void WriteBytes(void const* buf, std::int32_t count);

    // Fixed sizes: ReadBytes into the variable, WriteBytes from it. A read that falls short fills the first
    // bytes of the variable and sets `eof`. Every integer type of the width is taken, under whatever name;
    // `bool`, wide characters and enumerations are refused when compiling.

    void ReadByte(unsigned char& c) { ReadBytes(&c, 1); }
    void WriteByte(unsigned char c) { WriteBytes(&c, 1); }
    template <class T>
    requires(!ByteChar<T> && !WholeNumber<T, sizeof(T)>) void WriteByte(T) = delete;

    template <ByteChar C>
    void ReadChar(C& c) {
        ReadBytes(&c, 1);
    }
    template <ByteChar C>
    void WriteChar(C c) {
        WriteBytes(&c, 1);
    }
    template <WholeNumber<2> T>
    void ReadWord(T& value) {
        internal::ReadNumber(*this, &value, 2);
    }
    template <WholeNumber<2> T>
    void WriteWord(T value) {
        internal::WriteNumber(*this, &value, 2);
    }
    template <WholeNumber<4> T>
    void ReadDWord(T& value) {
        internal::ReadNumber(*this, &value, 4);
    }
    template <WholeNumber<4> T>
    void WriteDWord(T value) {
        internal::WriteNumber(*this, &value, 4);
    }
    template <WholeNumber<8> T>
    void ReadQWord(T& value) {
        internal::ReadNumber(*this, &value, 8);
    }
    template <WholeNumber<8> T>
    void WriteQWord(T value) {
        internal::WriteNumber(*this, &value, 8);
    }

    /// `c`, `count` times; nothing when `count` is below 1.
    template <ByteChar C>
    void Write(C c, std::int32_t count) {
        internal::WriteRun(*this, static_cast<unsigned char>(c), count);
    }

    /// A zero-terminated text without its terminator. Stops: `text` null.
    void Write(char const* text);
    void Write(std::nullptr_t) = delete;

    /// The two bytes 0x0D 0x0A, whatever the platform.
    void WriteLn();

    // Streams: bytes and texts as above, numbers as text.

    template <ByteChar C>
    HFile& operator>>(C& c) {
        ReadBytes(&c, 1);
        return *this;
    }
    template <ByteChar C>
    HFile& operator<<(C c) {
        WriteBytes(&c, 1);
        return *this;
    }
    HFile& operator<<(char const* text) {
        Write(text);
        return *this;
    }
    HFile& operator<<(std::nullptr_t) = delete;

    /// The digits of `value` to the base `radix`, lower-case letters above 9, and nothing around them. A
    /// negative number has a minus sign in base 10; in any other base it shows as two's complement, of 8
    /// bytes for an operand of 8, else of 4 (-1 of any type but the longest is "ffffffff" in base 16). Stops:
    /// `radix` outside 2 to 36.
    template <WholeNumber<2> T>
    HFile& operator<<(T value) {
        return *this << std::int32_t{value};
    }
    template <WholeNumber<4> T>
    HFile& operator<<(T value) {
        if constexpr (std::is_signed_v<T>)
            return internal::PutNumber(*this, static_cast<std::int32_t>(value));
        else
            return internal::PutNumber(*this, static_cast<std::uint32_t>(value));
    }
    template <WholeNumber<8> T>
    HFile& operator<<(T value) {
        if constexpr (std::is_signed_v<T>)
            return internal::PutNumber(*this, static_cast<std::int64_t>(value));
        else
            return internal::PutNumber(*this, static_cast<std::uint64_t>(value));
    }

    // Position and size.

    /// The position, at most `MaxLen`. 0 when closed and where the system knows none, as for a pipe. `res`
    /// stays.
    std::int32_t GetPos() const;

    /// The size, at most `MaxLen`. 0 when closed and where the system knows none. `res` stays.
    std::int32_t Length() const;

    /// Goes to `pos`, or to the end when that comes first: no file grows by it. `ResCallError` when `pos` is
    /// negative. `eof` becomes false in every case.
    void SetPos(std::int32_t pos);

    /// SetPos of `offset` counted from the start (`origin` 0), from GetPos() (1) or from Length() (2), summed
    /// without wrapping round; another `origin` is `ResCallError`. `eof` becomes false in every case.
    void SetPos(std::int32_t offset, std::int32_t origin);

    /// SetPos(0).
    void Reset() { SetPos(0); }

    /// Ends the file at its position.
    void Truncate();

    /// Hands what was written to the device.
    void Flush();

    // Texts.

    /// Reads a stretch as a zero-terminated text: of the `len` bytes at `pos`, as far as the file has them,
    /// the first `size` - 1. Gives how many came and leaves the position behind them. Nothing, `buf`
    /// included, when `res` is set. `ResCallError`, `buf` untouched: `buf` null, `size` below 1, `pos` or
    /// `len` negative.
    std::int32_t ReadTxt(char* buf, std::int32_t size, std::int32_t pos, std::int32_t len);

    /// Reads a line as a zero-terminated text, up to the next LF, CR or CR LF, which is used up and not
    /// delivered, or to the end of the file, which sets `eof`. Gives how many bytes came; of a line longer
    /// than `size` - 1 the rest is used up too. Behind a CR the next byte is looked at and the position set
    /// back if need be; where that is impossible, as in a pipe, that byte is lost and `res` says so. Nothing,
    /// `buf` included, when `res` is set. `ResCallError`, `buf` untouched: `buf` null or `size` below 1.
    std::int32_t ReadLine(char* buf, std::int32_t size);

    /// Fills `msg` like GetTextResMsg, with "heap overflow" for `ResHeapOverflow`.
    /// Stops: `msg` null or `size` 0.
    static void GetResMsg(TChar* msg, std::uint32_t size, FileRes res);

    // Names: text alone, no file is asked for and none is touched. Each is a zero-terminated string of units, in a
    // buffer of the caller's with its capacity in units, terminator included; nothing is written beyond it. What
    // does not fit is cut where nothing else is said. A separator is "/" or "\"; the library adds the one of the
    // system, and hands names to it as they stand. No overlap unless told. Stops of module "HFile", and nothing
    // changed: a null `dst` or source of a name, a `size` of 0.

    /// Whether two names are the same text, A to Z taken as a to z. "a" and "./a" are not.
    static bool EqualName(TChar const* a, TChar const* b);

    static bool IsDirSep(TChar c) { return c == u'/' || c == u'\\'; }

    /// Appends a separator to a name that is not empty and does not end in one, if it has room.
    static void CondAppendDirSep(TChar* name, std::uint32_t size);

    /// `dir` and `name` joined as they stand; null counts as empty.
    static void BuildName(TChar* dst, std::uint32_t size, TChar const* dir, TChar const* name);

    /// The first unit of `drive` and a colon, `dir` and a separator unless it ends in one, `name`, `ext` with a dot
    /// in front unless it has one. Null and empty components leave out what belongs to them.
    static void BuildName(TChar* dst, std::uint32_t size, TChar const* drive, TChar const* dir,
                          TChar const* name, TChar const* ext);

    /// The components of `path`: a drive is a first unit with a colon behind it; `dir` goes up to the last separator
    /// behind that, included; `ext` is the last dot of the rest and what follows, `name` what lies before it. An
    /// output may be left out by null with size 0; one without the other stops. A component too long for its buffer
    /// makes all outputs empty.
    static void SplitName(TChar* drive, std::uint32_t driveSize, TChar* dir, std::uint32_t dirSize,
                          TChar* name, std::uint32_t nameSize, TChar* ext, std::uint32_t extSize,
                          TChar const* path);

    /// The two halves of `path`: drive with dir, name with ext, each cut to its buffer. A component of more than 260
    /// units makes both empty. Neither output may be left out.
    static void SplitName(TChar* dir, std::uint32_t dirSize, TChar* name, std::uint32_t nameSize,
                          TChar const* path);

    /// The name as seen from the root: put behind the current directory unless it is that already, with ".", ".." and
    /// doubled separators folded, by the text alone; a separator at its end stays. On POSIX "\" is no separator here:
    /// the result must name the same file. What cannot be had, or does not fit, leaves `name` itself, cut to `size`.
    static void GetFullName(TChar* dst, std::uint32_t size, TChar const* name);

    /// Steps an extension, with its dot or without, to the next of the names for backups: .txt, .~xt, .~1t to .~9t,
    /// .~10 to .~99; "c", "~", "~1" and so on; from nothing ".~". False, and nothing changed, behind number 99, and
    /// where the buffer has no room for one digit more. Asks for no file.
    static bool GetNextBackupExt(TChar* ext, std::uint32_t size);

    // Files by name. A name is looked at by the system, links in it are followed. The forms with `code` put ResDone
    // there, or why it failed; a name that is null or empty is ResNotFound. Any thread.

    /// Whether there is a file or directory of that name.
    static bool Exists(TChar const* name);

    /// Whether it is a directory; whether nobody at all may write it. False where there is nothing.
    static bool IsDirectory(TChar const* name);
    static bool IsReadOnly(TChar const* name);

    /// Takes the right to write from everybody, or gives it to the owner. True when that was so already.
    static bool SetReadOnly(TChar const* name, bool on);

    /// Copies a file, which other readers may hold meanwhile. A new target belongs to who copies and is open to nobody else
    /// until it is whole; then it gets the source's permission bits and access list (where there can be none, or the
    /// group is another, bits that give nobody more), and no set-id bits. An existing one, for which `overwrite` is asked, is emptied and keeps its own.
    /// Holes stay holes. ResAlreadyExists: it exists. ResNoPermission: also a directory, or a file onto itself, by whatever
    /// name. A copy that fails leaves no new file.
    static bool Copy(TChar const* from, TChar const* to, FileRes& code, bool overwrite);
    static bool Copy(TChar const* from, TChar const* to, bool overwrite);

    /// Gives a file or directory another name, which must be free (ResAlreadyExists): nothing is ever replaced. Nothing
    /// happens when both names are the same text. From one file system to another a file is copied, with its holes and
    /// times, and its owner, set-id bits, access list and attributes as far as they can be had there; what cannot gives
    /// nobody more rights. The new name comes when that is whole and flushed, and then the old one goes. A file that was
    /// changed or replaced meanwhile stays, and there is no new one: ResNoPermission.
    static bool Rename(TChar const* from, TChar const* to, FileRes& code);
    static bool Rename(TChar const* from, TChar const* to);

    /// Removes a file, or a link and not what it leads to. A directory is ResNoPermission.
    static bool Remove(TChar const* name, FileRes& code);
    static bool Remove(TChar const* name);

    /// The directory for temporary files, with a separator at its end: of TMP, TEMP and TMPDIR the first that names a
    /// directory one may search, read and write, else /var/tmp/ untested. A program with set-id rights asks none of them,
    /// which its caller may have set. Cut to `size`.
    static void GetTempDir(TChar* dst, std::uint32_t size);

    /// Makes a new file and opens it in `file`, which must be closed (a stop), for writing from front to back, or for
    /// reading and writing; only its owner may open it. Its name, in `name`: `dir` or that of GetTempDir, `prefix` or
    /// "~hf", both cut to what a name buffer and 63 units hold, a number of up to 8 digits, `ext` or ".tmp", its dot
    /// optional. A name that is taken is left alone, a link included, and the next number tried. False, with the code
    /// of the last try in the file's `res`: the directory is missing (`ResIllegalPath`) or refuses, or a name has no
    /// room in `size` (`ResIllegalName`).
    static bool CreateTempFile(HFile& file, TChar* name, std::uint32_t size, TChar const* prefix,
                               TChar const* ext, TChar const* dir, bool seqWrite);

private:
    friend struct internal::Access;
    internal::HFileState vfileState;
};

}  // namespace vfile
