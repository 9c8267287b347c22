// Lines of a host file. They are read in pieces, and the position is set back to the end of the line; a pipe, which
// cannot go back, is read byte by byte.
#include <algorithm>
#include <cstring>
#include <span>

#include "hostfile/open_file.h"

namespace vfile {
namespace {

constexpr std::size_t kPiece = 4096;

// The line as it goes into the caller's buffer: what has no room is passed over.
class LineBuffer {
public:
    LineBuffer(char* buffer, std::int32_t size) : dst(buffer), room(static_cast<std::size_t>(size) - 1) {}

    void Add(std::span<char const> bytes) {
        std::size_t const kept = std::min(bytes.size(), room - used);
        std::memcpy(dst + used, bytes.data(), kept);
        used += kept;
    }
    std::int32_t End() {
        dst[used] = '\0';
        return static_cast<std::int32_t>(used);
    }

private:
    char* dst;
    std::size_t room;
    std::size_t used = 0;
};

std::size_t BytesBeforeEol(std::span<char const> bytes) {
    auto const isEol = [](char c) { return c == '\n' || c == '\r'; };
    return static_cast<std::size_t>(std::find_if(bytes.begin(), bytes.end(), isEol) - bytes.begin());
}

// Takes a line feed behind the carriage return along. Any other byte is lost, and the attempt to go back says so.
void EndPipeLineAfterCr(HFile& file) {
    char c = 0;
    file.ReadBytes(&c, 1);
    if (file.res == ResDone && !file.eof && c == '\n') return;
    file.eof = false;
    GoTo(file, 0);
}

// `rest` is what was read from the line end on, which stands at `at`, negative in a pipe. The position goes behind the
// line end.
void EndLine(HFile& file, std::span<char const> rest, std::int64_t at) {
    bool const isCr = rest[0] == '\r';
    if (at < 0) {
        if (isCr) EndPipeLineAfterCr(file);
        return;
    }
    std::size_t got = rest.size() - 1;
    char behind = got > 0 ? rest[1] : '\0';
    if (isCr && got == 0 && !platform::Read(HandleOf(file), &behind, 1, got)) got = 0;
    std::size_t const eol = isCr && got > 0 && behind == '\n' ? 2 : 1;
    if (got + 1 > eol) GoTo(file, at + static_cast<std::int64_t>(eol));
}

}  // namespace

std::int32_t HFile::ReadLine(char* buf, std::int32_t size) {
    if (res != ResDone) return 0;
    if (!buf || size < 1) {
        res = ResCallError;
        return 0;
    }
    LineBuffer line(buf, size);
    char piece[kPiece];
    std::int64_t start = 0;
    bool const goesBack = platform::GetPosition(HandleOf(*this), start);
    for (;;) {
        std::size_t got = 0;
        if (!platform::Read(HandleOf(*this), piece, goesBack ? kPiece : 1, got)) {
            res = GetFileRes();
            eof = false;
            break;
        }
        eof = got == 0;
        if (eof) break;
        std::size_t const n = BytesBeforeEol({piece, got});
        line.Add({piece, n});
        if (n < got) {
            EndLine(*this, {piece + n, got - n}, goesBack ? start + static_cast<std::int64_t>(n) : -1);
            break;
        }
        start += static_cast<std::int64_t>(got);
    }
    return line.End();
}

}  // namespace vfile
