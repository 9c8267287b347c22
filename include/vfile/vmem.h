/// Byte-addressed memory of up to 2 GiB larger than the memory it takes: a bounded cache of 1024-byte pages
/// over a swap file. A program that works with virtual files alone never needs it; each of its threads has
/// one, made and destroyed with the thread's virtual files.
///
///   Owns      its cached pages and its swap file; both are gone after the destructor, and the swap file is
///             gone with the process too. There is no swap file before the first changed page has to leave
///             the cache or is flushed.
///   Threads   the thread that built it. All operations but Get, Set and WriteStatus check that first, with an
///             assertion stop of "VMem"; Get and Set, which must be fast, take it on trust.
///   Fork      a VMem of the parent process may be destroyed in the child, which touches nothing; a transfer
///             from or to its swap file stops there.
///   Units     addresses and lengths in bytes, cache sizes in kilobytes. An address is an offset from 0; -1 is
///             the null address. Address 0 is valid, and the first that is handed out.
///   Bytes     are copied in and out: no pointer into a cached page ever leaves this class. Multi-byte values
///             lie in the machine's byte order. What was never written reads as zero.
///   Stops     a failing swap file ends in a stop with a message, never in a result code, and so does want of
///             memory for a page ("p==NIL"). Should a halt procedure throw, no byte that was written is lost,
///             and the object can be used and destroyed.
#pragma once

#include <vfile/export.h>
#include <vfile/internal.h>
#include <vfile/types.h>

#include <memory>

namespace vfile {

/// What the typed Get and Set copy: characters and numbers of 1, 2, 4 and 8 bytes, and a plain `void*` at the
/// width that it has. `bool`, `wchar_t`, `char32_t`, enumerations and pointers to anything else do not
/// compile.
template <class T>
concept VMemValue = ByteChar<T> || WholeNumber<T, 2> || std::same_as<T, TChar> || WholeNumber<T, 4> ||
    WholeNumber<T, 8> || std::same_as<T, float> || std::same_as<T, double> || std::same_as<T, void*> ||
    (std::same_as<T, long double> && sizeof(long double) == 8);

class VFILE_EXPORT VMem {
public:
    /// Empty, with a cache limit of 70 kilobytes, owned by the calling thread. Stops with "p==NIL" for want
    /// of memory.
    VMem();

    /// Drops all contents and the swap file. Stops on another thread than the owner.
    ~VMem();

    VMem(VMem const&) = delete;
    VMem& operator=(VMem const&) = delete;

    /// Copies `len` bytes from `addr` on to `buf`, and from `buf` to `addr` on. `len` 0 does nothing and
    /// checks nothing. Otherwise stops, in this order, when `len` is negative, `addr` is negative, the range
    /// runs past the allocated range, `buf` is null. Cost: a page in the cache, one table read and one copy;
    /// else a read of the page, unless Set covers it whole, and a write of the oldest page, if it was
    /// changed. One in many such reads and writes calls the system, where they run along neighbouring
    /// addresses.
    void Get(std::int32_t addr, void* buf, std::int16_t len);
    void Set(std::int32_t addr, void const* buf, std::int16_t len);

    /// Copies the bytes of one value.
    template <VMemValue T>
    void Get(std::int32_t addr, T& value) {
        Get(addr, &value, static_cast<std::int16_t>(sizeof value));
    }
    template <VMemValue T>
    void Set(std::int32_t addr, T value) {
        Set(addr, &value, static_cast<std::int16_t>(sizeof value));
    }

    /// Kilobytes of cache in use, at 1036 bytes a page, rounded down.
    std::int16_t GetCacheSize() const;

    /// The limit as it was set.
    std::int16_t GetMaxCacheSize() const;

    /// Limits the cache to `kilobytes`, at 1036 bytes a page; a negative value counts as 0. Pages above the
    /// limit leave at once, the newest first, and those that were changed are written to the swap file. Even
    /// a limit of no page leaves room for one while Get and Set work.
    void SetMaxCacheSize(std::int16_t kilobytes);

    /// The directory that SetTempDir was given, borrowed until the next one is set; null when there is none.
    TChar const* GetTempDir() const;

    /// Where the next swap file goes: `dir`, if it is a directory that may be read and written and is short
    /// enough for a name in it; else the one that the environment names. Null and the empty string set none.
    /// The string is copied, and may be the one that GetTempDir gave; for want of memory none is set. A swap
    /// file that exists stays where it is.
    void SetTempDir(TChar const* dir);

    /// Whether AllocPage would find a page: one was released, or the range has room for one more.
    bool CanAllocPage() const;

    /// Gives one page of 1024 bytes on a page boundary in `addr`: the one released last, with its old bytes
    /// but for the first four, else a new one at the end of the range. Stops with "out of virtual memory"
    /// when the range would pass 2^31 - 1.
    void AllocPage(std::int32_t& addr);

    /// Takes a page back and makes `addr` -1. Stops when `addr` is no page boundary, negative, or not wholly
    /// inside the allocated range. A page released twice is not noticed and corrupts the lists.
    void DeallocPage(std::int32_t& addr);

    /// Gives `len` bytes, at least 4, in `addr`: a released chunk of that length, a piece of the largest
    /// released chunk, or new bytes at the end of the range. Nothing is cleared or aligned. Stops when `len`
    /// is not above 0, and with "out of virtual memory" when the range would pass 2^31 - 1.
    void Alloc(std::int32_t& addr, std::int16_t len);

    /// Takes back a chunk that Alloc gave for the same `len`, and makes `addr` -1. Stops when `len` is not
    /// above 0 and when the chunk is not wholly inside the allocated range. All else is taken on trust. Its
    /// first bytes, 4 to 6, are used to keep it.
    void Dealloc(std::int32_t& addr, std::int16_t len);

    /// Copies `len` bytes from `src` to `dst`; the two may overlap. Nothing happens, and no address is
    /// checked, when `len` is 0 or the addresses are the same. Stops when `len` is negative, and like Get and
    /// Set.
    void CopyBytes(std::int32_t dst, std::int32_t src, std::int16_t len);

    /// Writes every changed page to the swap file; the pages stay cached. Makes the file if there is none and
    /// a page was changed.
    void FlushCache();

    /// Writes every changed page to the swap file and drops all pages from the cache. The limit stays.
    void ReleaseCache();

    /// Drops the whole memory, every address with it, and the swap file. The cache limit, the temporary
    /// directory and the owner stay, and the VMem can be used again.
    void DeallocAll();

    /// Does nothing.
    void WriteStatus() const {}

private:
    friend struct internal::Access;
    std::unique_ptr<internal::PagedMemory> vfileState;
};

}  // namespace vfile
