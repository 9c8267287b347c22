/// The units, widths and limits that every other header speaks in.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

namespace vfile {

/// One UTF-16 code unit, and a string of them. File names and texts are told in these, on every platform.
using TChar = char16_t;
using TString = std::u16string;

/// The largest length of a virtual file in bytes; as a count it asks for all there is.
inline constexpr std::int32_t MaxLen = std::numeric_limits<std::int32_t>::max();

/// As the delete length of a replace operation: as many bytes as go in.
inline constexpr std::int32_t SameLen = std::numeric_limits<std::int32_t>::min();

/// Bytes in a block of a virtual file, which is also a page of its memory.
inline constexpr std::int32_t BlkSize = 1024;

/// Units, terminator included, of every fixed file-name buffer inside the library.
inline constexpr std::uint32_t MaxNameUnits = 261;

/// An 8-bit character: what a byte file takes and gives as one byte.
template <class T>
concept ByteChar = std::same_as<T, char> || std::same_as<T, signed char> || std::same_as<T, unsigned char> ||
    std::same_as<T, char8_t>;

/// A whole number of `Width` bytes under whatever name the language gives it (`long` is 4 bytes on one
/// platform and 8 on the next). Characters, `bool` and enumerations are no numbers here.
template <class T, std::size_t Width>
concept WholeNumber = std::integral<T> && sizeof(T) == Width&& std::same_as<T, std::remove_cv_t<T>> &&
                      !ByteChar<T> && !std::same_as<T, bool> && !std::same_as<T, wchar_t> &&
                      !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

/// What would convert to a byte and is none: wide characters, `bool` and enumerations. Overloads that take it are
/// deleted.
template <class T>
concept NotAByte = std::same_as<T, wchar_t> || std::same_as<T, char16_t> || std::same_as<T, char32_t> ||
    std::same_as<T, bool> || std::is_enum_v<T>;

}  // namespace vfile
