/// The typed editing forms of a virtual file: five families that have the same members and differ in the place
/// that the new bytes take. Meant for <vfile/virtual_file.h> alone, which undefines it again.
///
/// Each member is one call of one of the five Replace operations, whose rules it has in everything: clipping,
/// codes, hooks, and the cursor behind the new bytes. So nothing to put in still moves the cursor, clears `eof`,
/// and is refused under ReadOnly. With N the number of bytes that the source gives, the members are:
///
///   FamilyByte(b)                     one byte                                             N = 1
///   FamilyBytes(data, n)              n bytes at `data`                                    N = n
///   FamilyWord, DWord, QWord(x)       the 2, 4, 8 bytes of any C++ integer of that width,
///                                     as they lie in memory                                N = 2, 4, 8
///   Family(ch, n)                     n copies of an 8-bit character, as ReplaceCh         N = n
///   Family(s)                         a terminated string, not null, without its end
///   Family(src, from, len)            a range of a virtual file, as ReplaceTxt
///   FamilyFromFile(handle, n)         n bytes of an open host file, MaxLen for all,
///   Family(file, n)                   as ReplaceFile
#pragma once

// `goes` is an expression of `n`, the number of bytes that come.
//
// NOLINTBEGIN(bugprone-macro-parentheses): `Family` is a piece of a name.
#define VFILE_EDIT_FAMILY(Family, start, goes)                                                 \
    void Family##Byte(unsigned char b) { Family##Bytes(&b, 1); }                               \
    template <NotAByte T>                                                                      \
    void Family##Byte(T) = delete;                                                             \
    void Family##Bytes(void const* data, std::int32_t n) { ReplaceBuf(start, goes, data, n); } \
    template <WholeNumber<2> T>                                                                \
    void Family##Word(T x) {                                                                   \
        Family##Bytes(&x, 2);                                                                  \
    }                                                                                          \
    template <WholeNumber<4> T>                                                                \
    void Family##DWord(T x) {                                                                  \
        Family##Bytes(&x, 4);                                                                  \
    }                                                                                          \
    template <WholeNumber<8> T>                                                                \
    void Family##QWord(T x) {                                                                  \
        Family##Bytes(&x, 8);                                                                  \
    }                                                                                          \
    template <ByteChar C>                                                                      \
    void Family(C ch, std::int32_t n) {                                                        \
        ReplaceCh(start, goes, static_cast<char>(ch), n);                                      \
    }                                                                                          \
    void Family(char const* s) {                                                               \
        [[maybe_unused]] constexpr std::int32_t n = SameLen;                                   \
        internal::ReplaceString(*this, start, goes, s);                                        \
    }                                                                                          \
    void Family(std::nullptr_t) = delete;                                                      \
    void Family(VFile const& src, std::int32_t from, std::int32_t len) {                       \
        [[maybe_unused]] constexpr std::int32_t n = SameLen;                                   \
        ReplaceTxt(start, goes, src, from, len);                                               \
    }                                                                                          \
    void Family(HFile& file, std::int32_t count) {                                             \
        [[maybe_unused]] constexpr std::int32_t n = SameLen;                                   \
        ReplaceFile(start, goes, file, count);                                                 \
    }                                                                                          \
    void Family##FromFile(void* handle, std::int32_t count) {                                  \
        [[maybe_unused]] constexpr std::int32_t n = SameLen;                                   \
        ReplaceFile(start, goes, handle, count);                                               \
    }                                                                                          \
    template <NotAHandle T>                                                                    \
    void Family##FromFile(T const&, std::int32_t) = delete
// NOLINTEND(bugprone-macro-parentheses)
