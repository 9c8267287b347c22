#include "vfile/host_end.h"

namespace vfile {

std::int64_t HostEnd::SureBytes() const {
    std::int64_t ahead = 0;
    bool const told = !(file && file->res != ResDone) && platform::BytesAhead(handle, ahead);
    return told ? ahead : 0;
}

bool HostEnd::Read(void* dst, std::int32_t len, std::int32_t& got) {
    if (file) {
        got = file->ReadBytes(dst, len);
        code = GetFileRes(*file);
        return file->res == ResDone;
    }
    std::size_t came = 0;
    bool const done = platform::Read(handle, dst, static_cast<std::size_t>(len), came);
    if (!done) code = GetFileRes();
    got = static_cast<std::int32_t>(came);
    return done;
}

// Past HFile::WriteBytes, with the same outcome: that does not tell how much of a failed write went out, and in
// a pipe or behind O_APPEND no position would.
bool HostEnd::Write(void const* src, std::int32_t len, std::int32_t& put) {
    put = 0;
    if (file && file->res != ResDone) {
        code = GetFileRes(*file);
        return false;
    }
    std::size_t went = 0;
    bool const done = platform::Write(handle, src, static_cast<std::size_t>(len), went);
    put = static_cast<std::int32_t>(went);
    if (done && put == len) return true;
    code = done ? ResDiskFull : GetFileRes();
    if (file) file->res = code;
    return false;
}

}  // namespace vfile
