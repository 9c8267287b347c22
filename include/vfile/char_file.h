/// A virtual file seen as text: a sequence of 16-bit UTF-16 units, and its way from and to text files.
///
///   Units     positions, lengths and counts named "units" are in TChar. Unit n is the two bytes at 2n and 2n + 1,
///             low byte first. Nothing looks into a unit: a surrogate is one like any other.
///   Bytes     the byte operations that are named here stay in bytes, and may leave a cursor or a length odd. A
///             position in units then rounds down, and a lone last byte is no unit.
///   Ranges    positions, and counts of units of a text, are clipped to the text. A negative one, or one above
///             0x3FFFFFFF, means its end; it is no failure. A count of units to put in that comes with a pointer
///             is exact, from 0 to 0x3FFFFFFF, and another is ResCallError; with a string it is clipped to that,
///             and a negative one is ResCallError.
///   Errors    `res`, `eof`, threads and stops are those of a virtual file (<vfile/virtual_file.h>), and so
///             are clipping, codes, hooks and cursor of every change. While `res` is set no change takes place.
///   Throws    std::bad_alloc, from the operations that build a string, and what a hook or a halt procedure of
///             the host throws.
///
/// The base is private: what makes sense on a text is named below, and the rest is out of reach, so that no byte
/// operation breaks a unit by accident. A class that tracks changes derives from this one and overrides the
/// hooks, whose positions are in bytes.
#pragma once

#include <vfile/export.h>
#include <vfile/result.h>
#include <vfile/types.h>
#include <vfile/virtual_file.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vfile {

/// What stands where a unit is wanted and is none. Overloads that take it are deleted.
template <class T>
concept NotATChar = !std::same_as<T, TChar>;

class VFILE_EXPORT TCharVFile : private VFile {
public:
    /// How a text lies in a host file. On the way in a byte-order mark decides, and nothing else: a text without one
    /// is ANSI, whatever it holds.
    enum Encoding : std::int32_t {
        EncodingAnsi = 0,     ///< the character set of the process's locale (LC_CTYPE); no mark
        EncodingUtf16 = 1,    ///< low byte first; mark FF FE
        EncodingUtf16BE = 2,  ///< high byte first; mark FE FF
        EncodingUtf8 = 3,     ///< mark EF BB BF
    };

    /// The encoding of the text in memory; for hosts, since nothing here reads it.
    static Encoding const DefaultEncoding;

    using VFile::eof;
    using VFile::radix;
    using VFile::res;

    using VFile::EolSeen;
    using VFile::EolWatchOff;
    using VFile::EolWatchOn;
    using VFile::InsertMode;
    using VFile::Locked;
    using VFile::Modified;
    using VFile::ReadOnly;
    using VFile::TrackModified;

    using VFile::ExclFlag;
    using VFile::FlagOn;
    using VFile::GetFlags;
    using VFile::InclFlag;
    using VFile::SetFlag;
    using VFile::SetFlags;
    using VFile::ToggleFlag;

    using VFile::Bof;
    using VFile::Eof;
    using VFile::GetPos;
    using VFile::Length;
    using VFile::Reset;
    using VFile::SetPos;
    using VFile::Type;

    using VFile::Read;
    using VFile::ReadByte;
    using VFile::ReadBytes;
    using VFile::ReadChar;
    using VFile::ReadDWord;
    using VFile::ReadLine;
    using VFile::ReadPrevByte;
    using VFile::ReadPrevChar;
    using VFile::ReadQWord;
    using VFile::ReadTxt;
    using VFile::ReadWord;

    using VFile::Flush;
    using VFile::Load;
    using VFile::Save;
    using VFile::SaveSafe;

    using VFile::GetCacheSize;
    using VFile::GetMaxCacheSize;
    using VFile::GetTempDir;
    using VFile::ReleaseCache;
    using VFile::SetMaxCacheSize;
    using VFile::SetTempDir;

    /// An empty text.
    TCharVFile();

    /// The units of `src` from `start` on, at most `count` of them. The cursor ends behind them, a failure in
    /// `res`. Copies neither flags nor `type` and `radix`.
    TCharVFile(TCharVFile const& src, std::int32_t start = 0, std::int32_t count = MaxLen);

    /// As the move and the Swap of a virtual file: all that the text is, in constant time, unseen by hooks. What was moved
    /// is an unborn text, as there.
    TCharVFile(TCharVFile&& other) noexcept;
    void Swap(TCharVFile& other) { VFile::Swap(other); }

    ~TCharVFile() override;

    // Position, in units.

    void SetTCharPos(std::int32_t position);

    /// `offset` counted from the start (`whence` 0), the cursor (1) or the end (2), from where a negative one
    /// goes back. Summed without wrapping round; a sum before the start, or another `whence`, is ResCallError, and
    /// nothing else changes. With 0 a negative offset is the end, as above.
    void SetTCharPos(std::int32_t offset, int whence);

    std::int32_t GetTCharPos() const { return GetPos() / 2; }
    std::int32_t TCharLength() const { return Length() / 2; }

    // Reads. They move the cursor over what was read.

    /// The unit at the cursor. At the end `ch` keeps its value and `eof` is set; a lone last byte replaces its
    /// low half and sets `eof` too.
    void ReadTChar(TChar& ch);

    /// The unit before the cursor, 0 with `eof` set at the start. After a single byte: that byte as the high half,
    /// with `eof` set.
    void ReadPrevTChar(TChar& ch);

    /// Up to `count` units, and gives how many whole ones came. `eof` is set when they were fewer, and a lone
    /// last byte is then stored behind them. A negative `count`, or one above 0x3FFFFFFF, asks for all the rest,
    /// for which `dst` must have the room. ResCallError, result 0: `dst` null.
    std::int32_t ReadTChars(TChar* dst, std::int32_t count);

    /// Reads the rest of the line at the cursor, without its line end (CR LF, CR or LF), as a terminated string into
    /// `buf` of `size` units, and gives how many it stored. What does not fit is passed over. The cursor ends
    /// behind the line end; `eof` is set when the text ended first, and clear after a CR at the very end.
    /// ResCallError, result 0: `buf` null or `size` below 1.
    std::int32_t ReadLine(TChar* buf, std::int32_t size);

    /// All whole units, NUL units too. The cursor ends behind them, `res` and `eof` clear; nothing moves where
    /// there are none. ResHeapOverflow, with an empty result: no memory for the units.
    TString ToString();

    // Changes. Insert puts at the cursor, Append at the end, both whatever InsertMode says.

    void InsertTChar(TChar ch);
    void AppendTChar(TChar ch);

    /// `n` times the same unit, each a change of its own, and each where the last has left the place. Nothing at all
    /// for an `n` below 1.
    void InsertTChar(TChar ch, std::int32_t n);
    void AppendTChar(TChar ch, std::int32_t n);

    /// `n` units at `data`; the first `n` of a string, as far as it has them.
    void InsertTChars(TChar const* data, std::int32_t n);
    void AppendTChars(TChar const* data, std::int32_t n);
    void InsertTChars(TString const& s, std::int32_t n) { InsertTChars(s.data(), internal::UnitsOf(s, n)); }
    void AppendTChars(TString const& s, std::int32_t n) { AppendTChars(s.data(), internal::UnitsOf(s, n)); }

    /// `count` units of a text from unit `from` on. `src` may be this one.
    void InsertTChars(TCharVFile const& src, std::int32_t from, std::int32_t count);
    void AppendTChars(TCharVFile const& src, std::int32_t from, std::int32_t count);

    /// A terminated string, not null; a string with its NUL units. ResTooLong: longer than any text.
    void InsertTStr(TChar const* s);
    void AppendTStr(TChar const* s);
    void InsertTStr(TString const& s);
    void AppendTStr(TString const& s);

    /// Removes a range; all from the cursor on, which may be odd.
    void DeleteTChars(std::int32_t from, std::int32_t count);
    void TruncateTChars();

    /// Puts `ch` in the place of the unit at `position`, at the end behind the last. An override of ReplaceBuf does
    /// not see it.
    void ReplaceTChar(std::int32_t position, TChar ch);

    template <NotATChar T>
    void InsertTChar(T) = delete;
    template <NotATChar T>
    void InsertTChar(T, std::int32_t) = delete;
    template <NotATChar T>
    void AppendTChar(T) = delete;
    template <NotATChar T>
    void AppendTChar(T, std::int32_t) = delete;
    template <NotATChar T>
    void ReplaceTChar(std::int32_t, T) = delete;
    void InsertTStr(std::nullptr_t) = delete;
    void AppendTStr(std::nullptr_t) = delete;

    /// The whole text gives way to a unit, a string (not null), another text. An override of ReplaceBuf or
    /// ReplaceTxt does not see it. Flags, `type` and `radix` stay.
    TCharVFile& operator=(TChar ch);
    TCharVFile& operator=(TChar const* s);
    TCharVFile& operator=(TString const& s);
    TCharVFile& operator=(TCharVFile const& src);

    /// The same in constant time, by moving, as of a virtual file; `src` is unborn afterwards, unless it was refused.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): a change, whose hooks may throw.
    TCharVFile& operator=(TCharVFile&& src);
    template <NotATChar T>
    requires(std::is_arithmetic_v<T> || std::is_enum_v<T>) TCharVFile& operator=(T) = delete;
    TCharVFile& operator=(std::nullptr_t) = delete;

    /// Insert at the cursor, whatever InsertMode says: a unit, a string, the whole of a text.
    TCharVFile& operator<<(TChar ch);
    TCharVFile& operator<<(TChar const* s);
    TCharVFile& operator<<(TString const& s);
    TCharVFile& operator<<(TCharVFile const& src);
    TCharVFile& operator<<(std::nullptr_t) = delete;

    /// Inserts the digits of a number to the base `radix`, as `<<` of a virtual file writes them. Stops: `radix`
    /// outside 2 to 36.
    template <WholeNumber<2> T>
    TCharVFile& operator<<(T value) {
        return *this << std::int32_t{value};
    }
    template <WholeNumber<4> T>
    TCharVFile& operator<<(T value) {
        using Fixed = std::conditional_t<std::is_signed_v<T>, std::int32_t, std::uint32_t>;
        return internal::InsertNumber(*this, static_cast<Fixed>(value));
    }
    template <WholeNumber<8> T>
    TCharVFile& operator<<(T value) {
        using Fixed = std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>;
        return internal::InsertNumber(*this, static_cast<Fixed>(value));
    }
    template <NotATChar T>
    requires(!WholeNumber<T, sizeof(T)> && (std::is_arithmetic_v<T> || std::is_enum_v<T>)) TCharVFile&
    operator<<(T) = delete;

    // Search, in units. Folding takes a to z as A to Z and leaves all else. A neighbour belongs to a word when the
    // host's locale says so (iswalnum). A stored `res` does not stop a search: its SetPos clears it.

    /// Finds the leftmost place from `position` on where the units of `pattern`, a terminated string, stand. True:
    /// `position` is one past the match; the cursor is one unit further, or there with `eof` set at the end. False:
    /// `position` is TCharLength() + 1 (from beyond the end, one more than it was), the cursor at the end, `eof` set.
    /// With `wholeWord` the cursor of a true result is one unit before the match, or 0 with `eof` set; a candidate
    /// that is rejected is passed as a whole. An empty pattern is found at once, and nothing changes.
    /// ResCallError, with nothing else changed: `position` negative. A NUL ends the pattern, in a string too.
    bool FindTChars(std::int32_t& position, TChar const* pattern, bool ignoreCase, bool wholeWord);
    bool FindTChars(std::int32_t& position, TString const& pattern, bool ignoreCase, bool wholeWord) {
        return FindTChars(position, pattern.c_str(), ignoreCase, wholeWord);
    }

    /// The mirror of FindTChars: the rightmost match that ends at `position` or before it, which is clipped to the
    /// length first. True: `position` is the first unit of the match, the cursor one before it, or 0 with `eof` set;
    /// with `wholeWord` one past the unit behind the match, or at the end with `eof` set. False: `position` is -1, the
    /// cursor 0, `eof` set.
    bool FindBackTChars(std::int32_t& position, TChar const* pattern, bool ignoreCase, bool wholeWord);
    bool FindBackTChars(std::int32_t& position, TString const& pattern, bool ignoreCase, bool wholeWord) {
        return FindBackTChars(position, pattern.c_str(), ignoreCase, wholeWord);
    }

    /// Replaces every match that FindTChars gives from 0 on, each by a change of its own with its hooks, unseen by an
    /// override of ReplaceBuf, and gives their number. What was put in is not searched again. A replacement that
    /// fails ends the work with its code in `res`; those before it stand. ResCallError, result 0 and nothing else
    /// changed: `pattern` empty.
    std::int32_t ReplaceGlobalTChars(TChar const* pattern, TChar const* replacement, bool ignoreCase,
                                     bool wholeWord);

    // Text files of the host. Own thread.

    /// Makes a text file the whole content, without its mark, cursor at 0; `encoding` becomes what its mark says,
    /// EncodingUtf16 when the file cannot be had. `share` as Load takes it. Read in pieces: what the file holds in
    /// another encoding takes no memory. In ANSI and UTF-8 a zero byte ends the text, which no code tells: a program
    /// that saves it over the same file looks for one first.
    void LoadText(TChar const* name, Encoding& encoding, std::uint32_t share);
    void LoadText(TChar const* name, std::uint32_t share);
    void LoadText(TString const& name, Encoding& encoding, std::uint32_t share) {
        LoadText(name.c_str(), encoding, share);
    }
    void LoadText(TString const& name, std::uint32_t share) { LoadText(name.c_str(), share); }

    /// LoadText of a file in a known encoding, whose own mark, if there is one, is dropped.
    void LoadTextAs(TChar const* name, Encoding encoding, std::uint32_t share);
    void LoadTextAs(TString const& name, Encoding encoding, std::uint32_t share) {
        LoadTextAs(name.c_str(), encoding, share);
    }

    /// Writes the whole text to a named file, which nobody else may hold: a new one, or with `overwrite` also one
    /// that exists and is emptied first. `writeBom` puts the encoding's mark before it. Any other value of
    /// `encoding` counts as EncodingAnsi. ResNotSupported, and the file left alone: the system cannot convert into
    /// the locale's character set.
    void SaveText(TChar const* name, bool overwrite, Encoding encoding, bool writeBom);
    void SaveText(TString const& name, bool overwrite, Encoding encoding, bool writeBom) {
        SaveText(name.c_str(), overwrite, encoding, writeBom);
    }

    /// SaveText over an existing file or to a new one, in the way of VFile::SaveSafe.
    void SaveTextSafe(TChar const* name, Encoding encoding, bool writeBom);
    void SaveTextSafe(TString const& name, Encoding encoding, bool writeBom) {
        SaveTextSafe(name.c_str(), encoding, writeBom);
    }

protected:
    using VFile::flags;
    using VFile::PostChange;
    using VFile::PostChangeFlag;
    using VFile::PreChange;
    using VFile::type;

private:
    friend struct internal::Access;
};

// NOLINTNEXTLINE(readability-identifier-naming): the name by which the language finds it.
inline void swap(TCharVFile& a, TCharVFile& b) { a.Swap(b); }

/// Compare two texts unit by unit, unsigned: the first difference decides, and what is a beginning of the other is
/// less; a lone last byte makes its text the greater. All comparison operators follow from these. Nothing moves.
/// Own thread, of both.
VFILE_EXPORT bool operator==(TCharVFile const& a, TCharVFile const& b);
VFILE_EXPORT std::strong_ordering operator<=>(TCharVFile const& a, TCharVFile const& b);

}  // namespace vfile
