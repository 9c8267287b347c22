// Files that come with a content.
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <cstring>

namespace vfile {

// Each of these delegates first, so that a stop in the change that follows destroys the empty file.

VFile::VFile(char const* s) : VFile() {
    std::size_t const len = std::strlen(s);
    if (len > static_cast<std::size_t>(MaxLen)) {
        res = ResTooLong;
        return;
    }
    VFile::ReplaceBuf(0, 0, s, static_cast<std::int32_t>(len));
}

VFile::VFile(void* handle, std::int32_t count) : VFile() { VFile::ReplaceFile(0, 0, handle, count); }

VFile::VFile(HFile& file, std::int32_t count) : VFile() { VFile::ReplaceFile(0, 0, file, count); }

VFile::VFile(VFile const& src, std::int32_t start, std::int32_t count) : VFile() {
    VFile::ReplaceTxt(0, 0, src, start, count);
}

}  // namespace vfile
