/// Zero-terminated strings in buffers of fixed size: bounded copies, blanks, trims, comparison.
///
///   Sizes     a capacity in units of the destination (bytes for the forms ending in A), terminator included.
///             What does not fit is cut without a report; cutting counts units, so a surrogate pair at the
///             cut is split.
///   Overlap   source and destination may overlap.
///   Stops     assertion stops of module "HSys", where an operation names them. Should the halt procedure
///             return, the operation returns with nothing changed.
///   Threads   any; nothing is shared.
#pragma once

#include <vfile/export.h>
#include <vfile/types.h>

namespace vfile {

/// Assigns `src`, or as much of it as fits, to `dst`. A null `src` gives the empty string.
/// Stops when `dst` is null, and when `size` is 0.
VFILE_EXPORT void AssignStr(TChar* dst, std::uint32_t size, TChar const* src);
VFILE_EXPORT void AssignStrW(TChar* dst, std::uint32_t size, TChar const* src);
VFILE_EXPORT void AssignStrA(char* dst, std::uint32_t size, char const* src);

/// Appends `src`, or as much of it as fits, to the string in `dst`. A null `src` leaves it as it is.
/// Stops when `dst` is null, when `size` is 0, and when `dst` holds no terminator within `size`; nothing
/// beyond `size` units is ever read or written.
VFILE_EXPORT void AppendStr(TChar* dst, std::uint32_t size, TChar const* src);
VFILE_EXPORT void AppendStrW(TChar* dst, std::uint32_t size, TChar const* src);
VFILE_EXPORT void AppendStrA(char* dst, std::uint32_t size, char const* src);

/// AssignStr and AppendStr that do nothing at all when `dst` is null. With a `dst`, a `size` of 0 stops.
VFILE_EXPORT void CondAssignStr(TChar* dst, std::uint32_t size, TChar const* src);
VFILE_EXPORT void CondAppendStr(TChar* dst, std::uint32_t size, TChar const* src);

/// Whether `c` is one of the five blanks: space, carriage return, line feed, tab, form feed. A vertical tab
/// is none, nor is a no-break space.
VFILE_EXPORT bool IsBlank(TChar c);

/// Whether `s` is null, empty, or made of blanks alone.
VFILE_EXPORT bool IsBlank(TChar const* s);

/// Removes blanks at both ends, at the start, at the end, in place: what remains moves down to the start.
/// Units behind the new terminator keep what they held. Nothing happens to null.
VFILE_EXPORT void Trim(TChar* s);
VFILE_EXPORT void TrimLeft(TChar* s);
VFILE_EXPORT void TrimRight(TChar* s);

/// Removes the trailing zeros of a decimal fraction, and the point when nothing is left behind it: 1.500
/// becomes 1.5, 1.000 becomes 1, 100 stays. What comes out empty becomes "0", so the buffer of an empty
/// string needs room for two units. Nothing happens to null.
VFILE_EXPORT void TrimZeroes(TChar* s);

/// Whether two strings, neither null, are the same units; EqualStrI takes A to Z and a to z as equal. Other
/// letters are never folded, whatever the locale.
VFILE_EXPORT bool EqualStr(TChar const* a, TChar const* b);
VFILE_EXPORT bool EqualStrI(TChar const* a, TChar const* b);

/// The kind of line end that texts are taken to have. There is one so far.
enum class EolKind : std::int32_t { Default = 0 };
VFILE_EXPORT EolKind GetEolKind();

}  // namespace vfile
