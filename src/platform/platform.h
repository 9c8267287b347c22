// What the library asks of an operating system, in its own words. Each operation is declared once here and
// implemented once for each system, in a folder beside this file; nothing above this floor includes a system
// header.
//
//   Names     zero-terminated UTF-16 units. On POSIX they become UTF-8; U+DC80 to U+DCFF stand for the bytes
//             80 to FF that are no UTF-8, any other lone surrogate is an illegal name (kInvalidName), and so
//             is a name too long for the system. Null and the empty name are kFileNotFound.
//   Handles   a void*, all bits set for none (<vfile/handle.h>).
//   Errors    an operation that gives false or the invalid handle has stored its reason, see LastError().
//   Threads   any, at once, but never two on one handle.
#pragma once

#include <vfile/handle.h>
#include <vfile/types.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace vfile::platform {

using Handle = void*;

// Errors: errors.cpp

// The error numbers that the result codes know, each with the number that they are translated by. kOtherError
// is one that the translation does not hold.
enum Error : std::uint32_t {
    kNoError = 0,
    kFileNotFound = 2,
    kPathNotFound = 3,
    kTooManyOpenFiles = 4,
    kAccessDenied = 5,
    kInvalidHandle = 6,
    kNotEnoughMemory = 8,
    kWriteProtect = 19,
    kDataError = 23,
    kSharingViolation = 32,
    kNotSupported = 50,
    kNetworkBusy = 54,
    kDeviceMissing = 55,
    kFileExists = 80,
    kInvalidParameter = 87,
    kDiskFull = 112,
    kNotImplemented = 120,
    kInvalidName = 123,
    kBadPathname = 161,
    kNotADirectory = 267,
    kOtherError = 0xFFFF,
};

// The reason why the calling thread's last failed operation failed. An operation that succeeds leaves it
// alone.
std::uint32_t LastError();
void SetLastError(std::uint32_t error);

// Files: files.cpp

enum class Access { kRead, kWrite, kReadWrite };
enum class Disposition { kOpenExisting, kCreateNew, kCreateAlways, kOpenAlways };
enum class Hint { kSequential, kRandom };

constexpr std::uint32_t kShareNone = 0;
constexpr std::uint32_t kShareRead = 1;  // the only bit of a share mode that means anything here

struct OpenMode {
    Access access;
    std::uint32_t share;
    Disposition disposition;
    Hint hint;
    bool ownerOnly = false;  // a file that is made may be opened by its owner alone
};

// Opens a file, or gives the invalid handle. The lock is non-blocking and taken before anything is truncated:
// shared for kRead with bit 0 of `share`, exclusive for all others; a refused one is kSharingViolation, a
// file system without locks goes on unlocked. A directory is kAccessDenied. Only regular files are locked and
// truncated. kCreateAlways with kRead contradicts itself: kInvalidParameter. A file that this very call made
// and could not have after all is not left behind, unless another process has it to write by then. A pipe
// waits for its other end. No program that a child process starts inherits the handle.
// Where the system guards directories for all against files, pipes and links that others have planted, it does so for every
// disposition that may make a file. `made`, set with a handle: whether this call made the file.
Handle OpenFile(TChar const* name, OpenMode const& mode, bool* made = nullptr);

// Gives up the lock, then the handle, so that a copy of the handle in another process does not keep the lock.
void CloseFile(Handle file);

// The file's own position, its size, and what lies between the two (0 past the end). Where the file has no
// size (a pipe, a device) GetSize is kNotSupported and BytesAhead is false with no error stored; a pipe has no
// position either.
bool GetPosition(Handle file, std::int64_t& position);
bool SetPosition(Handle file, std::int64_t position);
bool GetSize(Handle file, std::int64_t& size);
bool BytesAhead(Handle file, std::int64_t& count);

// Ends the file at its position (kAccessDenied through a handle for reading); hands its bytes to the device,
// which is done at once where none is behind the file.
bool TruncateHere(Handle file);
bool FlushFile(Handle file);

// Named files: named_files.cpp, copy.cpp, move.cpp, rename.cpp, directory.cpp

struct Attributes {
    bool directory;
    bool readOnly;  // no write bit is set at all
    bool regular;   // a file with bytes of its own: no directory, device or pipe
};
bool GetAttributes(TChar const* name, Attributes& attributes);

// Takes every write bit, or sets the owner's.
bool SetReadOnly(TChar const* name, bool on);

// Copies a file whose source others may read meanwhile. A new target is held alone and is its owner's alone until it is
// whole; then it gets the source's permission bits and access list, or, without the list or the group, bits that give nobody more.
// It is gone when this fails; an existing one, which `overwrite` admits, keeps its own. The two names meaning the same
// file is kSharingViolation, kFileExists without `overwrite`.
bool CopyNamed(TChar const* from, TChar const* to, bool overwrite);

// Never replaces (kFileExists). Crosses file systems for files and links, kNotSupported for anything else: the new name
// comes when the new file is whole, and the old name goes when the new one is on its disk and if it still means what was
// copied (kSharingViolation). Times come along, and owner, set-id bits, access list and further attributes as far as
// file system and rights admit; where they do not, nobody gets more rights.
bool RenameNamed(TChar const* from, TChar const* to);

// A link and not what it leads to. A directory is kAccessDenied.
bool RemoveNamed(TChar const* name);

// Copies from the position of one file to that of the other, up to the end of the first. Where the second ends at its
// position, holes stay holes.
bool CopyRest(Handle from, Handle to);

// Safe replacement: safe_files.cpp

// The name of the file that `name` leads to, links followed, or of the one that they lead to and that is still to be
// made; in `found` of `size` units. Unless it `exists`, so that the system will never follow the links itself, one that
// another has made in a directory where all may make names is kAccessDenied.
bool FollowLinks(TChar const* name, bool exists, TChar* found, std::uint32_t size);

// Whether a name in the directory of `name` can be taken away again, as far as that can be told beforehand. Where names
// can only be added: kAccessDenied.
bool NamesCanGo(TChar const* name);

// Whether nothing has this name, no link either. False: kFileExists, or why it can be no name.
bool IsNameFree(TChar const* name);

// Makes a file in the directory of `name`, held alone, that has no name yet and vanishes with its handle unless
// it is given one, which must be free and in that directory (kFileExists). Without `ownerOnly` it gets what any new file
// would get there. kNotSupported: the system cannot do that, or does not let us; GiveName may find that out, too.
Handle CreateUnnamed(TChar const* name, bool ownerOnly);
bool GiveName(Handle file, TChar const* name);

// Whether `name`, links followed, means this very file; another is kSharingViolation.
bool IsNameOf(TChar const* name, Handle file);

// Removes a name of a file that we hold; kSharingViolation when it means another by now, or is a link.
bool RemoveNameOf(TChar const* name, Handle file);

// How many names a file has, -1 where it cannot be told.
std::int64_t CountNames(Handle file);

// Sure to outlast a power cut are new names once their directory is flushed, which is done as far as the system admits.
bool FlushDirectoryOf(TChar const* name);

// Before the first byte: gives `fresh` owner, group and further attributes of `old`, and leaves it to its owner alone. No
// `old`: `rights` is what it is to get back in the end. False: it could not have all that the old one has.
bool PrepareReplacement(Handle fresh, Handle old, std::uint32_t& rights);

// A file whose bytes are all written, and what it replaces: none where the name is to be new, which it must be still.
struct Replacement {
    Handle fresh;
    Handle old;
    std::uint32_t rights;
};
struct ReplacementNames {
    TChar const* target;
    TChar const* part;   // of the fresh file so far
    TChar const* whole;  // of the fresh file from its flush on, unless that is taken
    TChar const* aside;  // of the old file, where the system cannot replace it at once
};

// What the names mean behind it.
enum class Standing {
    kAsBefore,  // the target is the old one; the fresh one is called `part` or `whole`
    kReplaced,  // the target is the fresh one
    kApart,     // nothing is the target; the old one is called `aside`, the fresh one `whole`
};

// Ends a replacement: gives the fresh file all that the old one has besides its bytes, permission bits last, flushes it,
// closes what the system wants closed, makes the target's name its own, unless that means another file by now, and
// flushes the directory. At every moment the target is one of the two. False with kReplaced: it may not outlast a power cut.
bool EndReplacement(Replacement const& files, ReplacementNames const& names, Standing& standing);

// The entries of a directory, in its own order, "." and ".." among them.
class Directory {
public:
    Directory() = default;
    ~Directory() { Close(); }
    Directory(Directory const&) = delete;
    Directory& operator=(Directory const&) = delete;

    // Closes what was open. An empty name is the current directory.
    bool Open(TChar const* name);
    void Close();
    bool IsOpen() const { return stream != nullptr; }

    // The next entry's name, in `name` of `size` units. False: there is none.
    bool Next(TChar* name, std::uint32_t size);

private:
    void* stream = nullptr;
};

// Transfer: transfer.cpp

// At the file's own position. Interrupted calls are repeated; a call of the system's asks for at most
// kMaxTransfer bytes. The wrong way through a handle is kAccessDenied, a closed one kInvalidHandle.
//
// Read: got < len is the end of this transfer (0: the end of the file); up to kMaxTransfer it is one call of
// the system's. Write: continued until all is written (true) or the system fails or takes no more (kDiskFull).
// False: `got` and `put` are what was moved before.
constexpr std::size_t kMaxTransfer = std::size_t{1} << 30;
bool Read(Handle file, void* dst, std::size_t len, std::size_t& got);
bool Write(Handle file, void const* src, std::size_t len, std::size_t& put);

// At byte offset `at`, the file's own position untouched. got < len only at the end of the file, or with false.
bool ReadAt(Handle file, std::int64_t at, void* dst, std::size_t len, std::size_t& got);

// Writes the pieces one behind the other from `at` on, in one call of the system's as far as it takes them.
// False: the bytes that went out before the failure stand in `put`.
struct Piece {
    void const* data;
    std::size_t len;
};
bool WriteAt(Handle file, std::int64_t at, std::span<Piece const> pieces, std::size_t& put);

// Swap file: swap.cpp

// Makes a file that nobody else can reach and that is gone with its handle or its process. A name that is
// taken fails and is never opened.
Handle CreateSwapFile(TChar const* name);

// Environment: environment.cpp

constexpr TChar kSeparator =
#ifdef _WIN32
    u'\\';
#else
    u'/';
#endif

// The environment variables that may name the temporary directory, in the order of asking, and the directory
// that is taken untested when none does.
std::span<char const* const> TempDirVariables();
TChar const* LastResortTempDir();

// Copies the value of `variable` to `buf` of `size` units. False, and `buf` untouched, when it is absent,
// empty, no legal name, or does not fit with its terminator, and in a program with other rights than its caller's.
bool ReadEnvironment(char const* variable, TChar* buf, std::uint32_t size);

// The current directory, from the root and without a separator at its end, in `buf` of `size` units. False: there is
// none any more, or it does not fit.
bool CurrentDirectory(TChar* buf, std::uint32_t size);

// Whether `name` is a directory that the effective user may search, read and write. Stores no error.
bool IsUsableDirectory(TChar const* name);

// ANSI: ansi.cpp

// What a conversion took of its source, and made of that.
struct Converted {
    std::size_t taken, made;
};

// A character set that ANSI text is in. The first 128 characters of any are those of ASCII in the main: a zero
// byte is U+0000 and nothing else, and 3F is "?".
class AnsiCharset {
public:
    enum class Form {
        kUtf8,
        kTable,   // one byte a character: Units() is all there is to know
        kSystem,  // the system converts, by ToUnits and FromUnits
    };

    AnsiCharset() = default;
    ~AnsiCharset();
    AnsiCharset(AnsiCharset const&) = delete;
    AnsiCharset& operator=(AnsiCharset const&) = delete;

    // Takes the set of the process's locale (LC_CTYPE), as it is at this moment; a locale of the calling thread
    // alone plays no part. Where that is ASCII, as in the "C" locale, it is Windows-1252, its five holes being C1
    // controls. To be called once. kNotSupported: the system cannot convert it.
    bool OpenOfLocale();

    // The same for a set by the system's name of it.
    bool Open(char const* name);

    Form GetForm() const { return form; }

    // The unit that each byte stands for, U+FFFD where it stands for none.
    char16_t const* Units() const { return units; }

    // Convert from `src` to `dst` as far as the room goes, which must be for at least kLeastRoom. Unless `last`
    // they stop before a sequence that goes on behind the end of `src`. A byte that is in no sequence becomes
    // U+FFFD, each unit of a character that the set lacks becomes "?"; nothing is put in the place of what only
    // looks like it. One object serves one text in one direction.
    static constexpr std::size_t kLeastRoom = 64;
    Converted ToUnits(char const* src, std::size_t len, bool last, char16_t* dst, std::size_t room);
    Converted FromUnits(char16_t const* src, std::size_t len, bool last, char* dst, std::size_t room);

private:
    bool OpenAsTable();

    Form form = Form::kTable;
    char16_t units[256] = {};
    void* toUnits = nullptr;
    void* fromUnits = nullptr;
};

// Threads: threads.cpp

// Nonzero, and stable for the thread's life. Costs one thread-local read.
std::uint32_t CurrentThreadId();

// One word per thread under a process-wide key, null at first; -1 is no key. `atThreadEnd` runs on a thread
// that ends with a word that is not null, after the thread's thread_local objects are gone and while the word
// can still be read; it must leave the word null. A key that has been freed calls nothing any more. Under no
// key the word is null and cannot be set.
std::int32_t AllocThreadKey(void (*atThreadEnd)());
bool FreeThreadKey(std::int32_t key);
void* GetThreadWord(std::int32_t key);
bool SetThreadWord(std::int32_t key, void* word);

// True at a thread's first call in its life, and once more for the one thread of a forked child.
bool FirstCallOfThread();

// How often this process came about by fork, since the library was loaded: an object made under another count
// belongs to the parent. `inChild` runs in the child's one thread before fork returns there; null takes it
// back.
std::uint32_t ForkCount();
void SetForkHandler(void (*inChild)());

// Clock: clock.cpp

struct LocalTime {
    std::uint16_t year, month, day, hour, minute, second, millisecond;
};
void ReadLocalTime(LocalTime& time);

// Sets the system's clock, for which most processes lack the right. Fields out of range are kInvalidParameter.
bool WriteLocalTime(LocalTime const& time);

// Milliseconds of a clock that runs evenly, from any start.
std::uint32_t TickCount();

// Last words: halt_display.cpp

// Shows "title: message" to the user and ends the process abnormally. Allocates nothing.
[[noreturn]] void ShowAndAbort(TChar const* title, TChar const* message);

}  // namespace vfile::platform
