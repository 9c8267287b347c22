#include "vfile/host_end.h"

#include <algorithm>

namespace vfile {

bool VFile::HostEnd::HoldsTooMuch() const {
    std::int64_t ahead = 0;
    return !(file && file->res != ResDone) && platform::BytesAhead(handle, ahead) && ahead > MaxLen;
}

bool VFile::HostEnd::Read(void* dst, std::int32_t len, std::int32_t& got) {
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

bool VFile::HostEnd::Write(void const* src, std::int32_t len, std::int32_t& put) {
    put = 0;
    return file ? WriteByFile(src, len, put) : WriteByHandle(src, len, put);
}

bool VFile::HostEnd::WriteByHandle(void const* src, std::int32_t len, std::int32_t& put) {
    std::size_t went = 0;
    bool const done = platform::Write(handle, src, static_cast<std::size_t>(len), went);
    if (!done) code = GetFileRes();
    put = static_cast<std::int32_t>(went);
    if (done && put != len) code = ResDiskFull;
    return done && put == len;
}

// An HFile does not tell how much of a failed write went out; its position does.
bool VFile::HostEnd::WriteByFile(void const* src, std::int32_t len, std::int32_t& put) {
    std::int64_t before = 0;
    std::int64_t behind = 0;
    bool const known = platform::GetPosition(handle, before);
    file->WriteBytes(src, len);
    if (file->res == ResDone) {
        put = len;
        return true;
    }
    code = GetFileRes(*file);
    if (known && platform::GetPosition(handle, behind)) {
        put = static_cast<std::int32_t>(std::clamp<std::int64_t>(behind - before, 0, len));
    }
    return false;
}

}  // namespace vfile
