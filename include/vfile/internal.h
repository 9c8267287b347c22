/// Not for hosts: what the classes of the library keep for themselves, and what their inline operations call. Each
/// class keeps it behind one private member, `vfileState`, so that the library can change what it needs, and a class
/// derived from it has all other names for its own. Nothing of namespace vfile::internal is promised to stay.
#pragma once

#include <vfile/export.h>
#include <vfile/handle.h>
#include <vfile/types.h>

#include <cstdint>
#include <utility>

namespace vfile {
class HFile;
class TCharVFile;
class VFile;
}  // namespace vfile

namespace vfile::internal {

struct Access;      // the library's own way in, and the only friend
class DirSearch;    // of an HFileDir
class PagedMemory;  // of a VMem

struct HFileState {
    void* handle = InvalidHandle();
    void* more = nullptr;  // for what an HFile may have to keep one day: its size stays
};

/// What the inline operations of a VFile read: the head of its engine.
struct FileState {
    std::int32_t pos = 0;
    std::int32_t length = 0;
};

/// Whole numbers of 2, 4 or 8 bytes, as they stand in files; digits to the base of the file; a run of one byte.
VFILE_EXPORT void ReadNumber(HFile& file, void* value, std::int32_t width);
VFILE_EXPORT void WriteNumber(HFile& file, void const* value, std::int32_t width);
VFILE_EXPORT HFile& PutNumber(HFile& file, std::int32_t value);
VFILE_EXPORT HFile& PutNumber(HFile& file, std::uint32_t value);
VFILE_EXPORT HFile& PutNumber(HFile& file, std::int64_t value);
VFILE_EXPORT HFile& PutNumber(HFile& file, std::uint64_t value);
VFILE_EXPORT void WriteRun(HFile& file, unsigned char c, std::int32_t count);

/// A terminated string as new bytes; digits to the base of the file, or of the text; `n` units, as far as a string has
/// them; a character, with every line end made LF.
VFILE_EXPORT void ReplaceString(VFile& file, std::int32_t start, std::int32_t delLen, char const* s);
VFILE_EXPORT VFile& WriteNumber(VFile& file, std::int32_t value);
VFILE_EXPORT VFile& WriteNumber(VFile& file, std::uint32_t value);
VFILE_EXPORT VFile& WriteNumber(VFile& file, std::int64_t value);
VFILE_EXPORT VFile& WriteNumber(VFile& file, std::uint64_t value);
VFILE_EXPORT TCharVFile& InsertNumber(TCharVFile& text, std::int32_t value);
VFILE_EXPORT TCharVFile& InsertNumber(TCharVFile& text, std::uint32_t value);
VFILE_EXPORT TCharVFile& InsertNumber(TCharVFile& text, std::int64_t value);
VFILE_EXPORT TCharVFile& InsertNumber(TCharVFile& text, std::uint64_t value);
inline std::int32_t UnitsOf(TString const& s, std::int32_t n) {
    return std::cmp_less(s.size(), n) ? static_cast<std::int32_t>(s.size()) : n;
}
VFILE_EXPORT int ReadMappingEol(VFile& file, unsigned char& b);

}  // namespace vfile::internal
