// Transfers that the system interrupts, cuts and refuses. The linker leads its calls through here.
#include <gtest/gtest.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <vector>

#include "platform/platform.h"
#include "support/temp_dir.h"

namespace {

// What the coming calls do: move that many bytes, or fail with the error below zero. Nothing stands for as the
// system will. `asked` is what each call of the script asked for.
std::vector<ssize_t> script;
std::vector<std::size_t> asked;
bool pretend = false;  // to move what is asked

// Hands `move` the bytes it may move.
template <class Move>
ssize_t Scripted(std::size_t len, Move move) {
    asked.push_back(len);
    if (pretend) return static_cast<ssize_t>(len);
    if (script.empty()) return move(len);
    ssize_t const next = script.front();
    script.erase(script.begin());
    if (next >= 0) return move(std::min(len, static_cast<std::size_t>(next)));
    errno = static_cast<int>(-next);
    return -1;
}

}  // namespace

extern "C" {

ssize_t __real_read(int fd, void* dst, size_t len);
ssize_t __wrap_read(int fd, void* dst, size_t len) {
    return Scripted(len, [&](std::size_t some) { return __real_read(fd, dst, some); });
}

ssize_t __real_write(int fd, void const* src, size_t len);
ssize_t __wrap_write(int fd, void const* src, size_t len) {
    return Scripted(len, [&](std::size_t some) { return __real_write(fd, src, some); });
}

ssize_t __real_pread(int fd, void* dst, size_t len, off_t at);
ssize_t __wrap_pread(int fd, void* dst, size_t len, off_t at) {
    return Scripted(len, [&](std::size_t some) { return __real_pread(fd, dst, some, at); });
}

ssize_t __real_pwritev(int fd, iovec const* pieces, int count, off_t at);
ssize_t __wrap_pwritev(int fd, iovec const* pieces, int count, off_t at) {
    std::size_t len = 0;
    for (int i = 0; i < count; ++i) len += pieces[i].iov_len;
    return Scripted(len, [&](std::size_t some) {
        std::vector<iovec> cut(pieces, pieces + count);
        for (iovec& piece : cut) some -= piece.iov_len = std::min(piece.iov_len, some);
        return __real_pwritev(fd, cut.data(), count, at);
    });
}
}

namespace vfile::platform {

using test::TempDir;

namespace {

constexpr std::string_view kBytes = "0123456789abcdef";
constexpr std::int64_t kAt = 5;

enum Transfer { kRead, kWrite, kReadAt, kWriteAt };
constexpr char const* kNames[] = {"Read", "Write", "ReadAt", "WriteAt"};

bool Move(Transfer kind, Handle file, char* bytes, std::size_t len, std::size_t& moved) {
    switch (kind) {
        case kRead:
            return Read(file, bytes, len, moved);
        case kWrite:
            return Write(file, bytes, len, moved);
        case kReadAt:
            return ReadAt(file, kAt, bytes, len, moved);
        case kWriteAt:
            break;
    }
    std::size_t const first = std::min<std::size_t>(len, 3), last = len - first;
    Piece const pieces[] = {
        {bytes,         0    },
        {bytes,         first},
        {nullptr,       0    },
        {bytes + first, last },
        {bytes,         0    }
    };
    return WriteAt(file, kAt, pieces, moved);
}

struct Outcome {
    bool done;
    std::size_t moved;
    std::uint32_t error;
    bool operator==(Outcome const&) const = default;
};

// What the promises make of a script.
Outcome Expected(Transfer kind, std::vector<ssize_t> const& results) {
    bool const writes = kind == kWrite || kind == kWriteAt;
    std::size_t moved = 0;
    for (ssize_t const result : results) {
        if (result == -EINTR) continue;
        if (result == -EIO) return {false, moved, kDataError};
        if (result == -EAGAIN) return {false, moved, kOtherError};  // no sharing violation
        if (result == -ENOSPC || (result == 0 && writes)) return {false, moved, kDiskFull};
        moved += static_cast<std::size_t>(result);
        if (kind == kRead || result == 0) return {true, moved, kNoError};
    }
    return {true, kBytes.size(), kNoError};
}

OpenMode const kBoth{Access::kReadWrite, kShareNone, Disposition::kOpenAlways, Hint::kSequential};

}  // namespace

TEST(Transfer, InterruptedCutAndRefused) {
    std::vector<ssize_t> const scripts[] = {
        {       },
        {        -EINTR,  -EINTR},
        {       3,       1, 4},
        {      3,        -EINTR, 2, -EINTR},
        {5,  -ENOSPC},
        {        -EINTR,-EIO},
        {      1,     2, -EIO},
        {           -EAGAIN  },
        {     0 },
        {4,       0},
    };
    for (Transfer const kind : {kRead, kWrite, kReadAt, kWriteAt}) {
        bool const writes = kind == kWrite || kind == kWriteAt,
                   positioned = kind == kReadAt || kind == kWriteAt;
        for (auto const& results : scripts) {
            SCOPED_TRACE(testing::Message() << kNames[kind] << ' ' << testing::PrintToString(results));
            TempDir dir;
            std::string const from(kBytes), to(kBytes.size(), '-');
            test::WriteWhole(dir.Bytes("f"), "....." + (writes ? to : from));
            Handle const file = OpenFile(dir.Name("f").c_str(), kBoth);
            SetPosition(file, kAt);
            SetLastError(kNoError);
            std::string bytes = writes ? from : to;
            std::size_t moved = 7;
            script = results;
            bool const done = Move(kind, file, bytes.data(), bytes.size(), moved);
            script.clear();

            Outcome const want = Expected(kind, results);
            EXPECT_EQ((Outcome{done, moved, LastError()}), want);
            EXPECT_EQ(writes ? test::ReadWhole(dir.Bytes("f")).substr(kAt) : bytes,
                      from.substr(0, want.moved) + to.substr(want.moved));
            std::int64_t position = -1;
            EXPECT_TRUE(GetPosition(file, position));
            EXPECT_EQ(position, kAt + (positioned ? 0 : static_cast<std::int64_t>(want.moved)));
            CloseFile(file);
        }
    }
}

TEST(Transfer, AnyNumberOfPiecesInAsFewCallsAsTheSystemTakes) {
    for (bool const cutting : {false, true}) {
        TempDir dir;
        Handle const file = OpenFile(dir.Name("f").c_str(), kBoth);
        std::string whole(6000, '\0');
        std::iota(whole.begin(), whole.end(), '\0');
        std::vector<Piece> pieces;
        for (std::size_t at = 0; at < whole.size(); at += pieces.back().len) {
            pieces.push_back({whole.data() + at, std::min(pieces.size() % 5, whole.size() - at)});
        }
        ASSERT_GT(pieces.size(), 2u * 1024);
        script.assign(cutting ? 500 : 0, 7);
        asked.clear();
        std::size_t put = 0;
        EXPECT_TRUE(WriteAt(file, kAt, pieces, put));
        EXPECT_EQ(asked.size(), cutting ? 501u : 3u);
        script.clear();
        EXPECT_EQ(put, whole.size());
        EXPECT_EQ(test::ReadWhole(dir.Bytes("f")), std::string(5, '\0') + whole);
        CloseFile(file);
    }
}

TEST(Transfer, AsksForAGigabyteAtOnce) {
    char bytes[1] = {};
    constexpr std::size_t kLen = 2 * kMaxTransfer + 5;
    for (Transfer const kind : {kRead, kWrite, kReadAt, kWriteAt}) {
        asked.clear();
        pretend = true;
        std::size_t moved = 0;
        bool const done = Move(kind, HandleOf(0), bytes, kLen, moved);
        pretend = false;
        EXPECT_TRUE(done) << kNames[kind];
        EXPECT_EQ(moved, kLen) << kNames[kind];
        EXPECT_EQ(asked, (std::vector<std::size_t>{kMaxTransfer, kMaxTransfer, 5})) << kNames[kind];
    }
}

}  // namespace vfile::platform
