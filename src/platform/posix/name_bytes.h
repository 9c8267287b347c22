// File names between the library's UTF-16 units and the system's bytes, without the heap: a full heap is a
// reason to save a file, not to fail at it.
#pragma once

#include <vfile/types.h>

#include <climits>
#include <cstddef>
#include <string_view>

namespace vfile::platform {

// The bytes of one name, for the length of a call.
class NameBytes {
public:
    explicit NameBytes(TChar const* name);
    NameBytes(NameBytes const&) = delete;
    NameBytes& operator=(NameBytes const&) = delete;

    // Zero, or why the name cannot be handed to the system: ENOENT for null and the empty name, EILSEQ for a
    // lone surrogate that stands for no byte, ENAMETOOLONG.
    int SystemError() const { return systemError_; }
    char const* Bytes() const { return bytes_; }

private:
    int systemError_;
    char bytes_[PATH_MAX];
};

// The directory that a path names its last component in, "." where it tells none.
class DirectoryOf {
public:
    explicit DirectoryOf(char const* path);
    char const* Bytes() const { return bytes_; }

private:
    char bytes_[PATH_MAX];
};

// The units that `bytes` become, counted; written to `dst` unless it is null.
std::size_t UnitsOfBytes(std::string_view bytes, TChar* dst);

}  // namespace vfile::platform
