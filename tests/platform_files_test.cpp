// Opening, sharing, transfers and the swap file. The linker leads calls through here, so that something can happen
// between the opening of a file and its lock, and transfers are interrupted, cut and refused.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "platform/platform.h"
#include "support/child.h"
#include "support/temp_dir.h"

namespace {

std::function<void()> beforeLock;  // once
int refusal = 0;                   // of locks and removals
int lastFlags = 0;                 // of open
bool alwaysNamed = false;          // as on a file system without unnamed files

// What the coming transfers do: move that many bytes, or fail with the error below zero. Nothing stands for as the
// system will.
std::vector<ssize_t> script;

// The system's preadv2 or pwritev2 as far as the script lets it; `at` -1 is the file's own position.
ssize_t Scripted(decltype(preadv2)* move, int fd, iovec const* pieces, int count, off_t at) {
    ssize_t const next = script.empty() ? SSIZE_MAX : script.front();
    if (!script.empty()) script.erase(script.begin());
    if (next < 0) return errno = static_cast<int>(-next), -1;
    auto some = static_cast<std::size_t>(next);
    std::vector<iovec> cut(pieces, pieces + count);
    for (iovec& piece : cut) some -= piece.iov_len = std::min(piece.iov_len, some);
    return move(fd, cut.data(), count, at, 0);
}
ssize_t Scripted(decltype(preadv2)* move, int fd, void const* bytes, std::size_t len, off_t at) {
    iovec const piece{const_cast<void*>(bytes), len};
    return Scripted(move, fd, &piece, 1, at);
}

}  // namespace

extern "C" {

int __real_flock(int fd, int operation);
int __wrap_flock(int fd, int operation) {
    if (auto const action = std::exchange(beforeLock, nullptr)) action();
    return (errno = refusal) != 0 ? -1 : __real_flock(fd, operation);
}
int __real_open(char const* path, int flags, mode_t mode);
int __wrap_open(char const* path, int flags, mode_t mode) {
    lastFlags = flags;
    bool const refused = alwaysNamed && (flags & O_TMPFILE) == O_TMPFILE;
    return refused ? (errno = EOPNOTSUPP, -1) : __real_open(path, flags, mode);
}
int __wrap_unlink(char const* path) { return (errno = refusal) != 0 ? -1 : unlinkat(AT_FDCWD, path, 0); }
ssize_t __wrap_read(int fd, void* dst, size_t len) { return Scripted(preadv2, fd, dst, len, -1); }
ssize_t __wrap_write(int fd, void const* src, size_t len) { return Scripted(pwritev2, fd, src, len, -1); }
ssize_t __wrap_pread(int fd, void* dst, size_t len, off_t at) { return Scripted(preadv2, fd, dst, len, at); }
ssize_t __wrap_pwritev(int fd, iovec const* pieces, int count, off_t at) {
    return Scripted(pwritev2, fd, pieces, count, at);
}
}

namespace vfile::platform {

using namespace test;

namespace {

constexpr OpenMode Mode(Access access, Disposition disposition, std::uint32_t share = kShareNone) {
    return {access, share, disposition, Hint::kRandom};
}

constexpr OpenMode kSharedReader = Mode(Access::kRead, Disposition::kOpenExisting, kShareRead);
constexpr OpenMode kWriter = Mode(Access::kReadWrite, Disposition::kOpenExisting);
constexpr OpenMode kCreator = Mode(Access::kReadWrite, Disposition::kCreateAlways);
constexpr std::int64_t kAt = 5;

// An open file; `error` is why it is not.
struct File {
    File(TString const& name, OpenMode const& mode) {
        SetLastError(kNoError);
        handle = OpenFile(name.c_str(), mode);
        error = LastError();
    }
    ~File() {
        if (IsOpen()) CloseFile(handle);
    }
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    bool IsOpen() const { return handle != InvalidHandle(); }

    Handle handle;
    std::uint32_t error;
};

bool ClosesOnExec(Handle file) { return fcntl(DescriptorOf(file), F_GETFD) == FD_CLOEXEC; }

// Reads or writes `bytes`, at the position or at kAt.
bool Move(bool writes, bool positioned, Handle file, std::string& bytes, std::size_t& moved) {
    char* const data = bytes.data();
    std::size_t const len = bytes.size();
    if (!writes) return positioned ? ReadAt(file, kAt, data, len, moved) : Read(file, data, len, moved);
    std::vector<Piece> pieces;
    for (std::size_t at = 0; at < len; at += pieces.back().len) {
        pieces.push_back({data + at, std::min(pieces.size() % 5, len - at)});
    }
    return positioned ? WriteAt(file, kAt, pieces, moved) : Write(file, data, len, moved);
}

}  // namespace

TEST(Files, OnlyReadersThatAdmitReadersShareAndNothingIsEmptiedBeforeTheLock) {
    TempDir dir;
    WriteWhole(dir.Bytes("f"), "12345");
    OpenMode const modes[] = {kSharedReader, Mode(Access::kRead, Disposition::kOpenAlways),
                              Mode(Access::kWrite, Disposition::kCreateAlways, kShareRead),
                              Mode(Access::kReadWrite, Disposition::kOpenExisting, kShareRead)};
    for (OpenMode const& holder : modes) {
        std::optional<File> first(std::in_place, dir.Name("f"), holder);
        ASSERT_TRUE(first->IsOpen() && ClosesOnExec(first->handle));
        WriteWhole(dir.Bytes("f"), "12345");
        for (OpenMode const& opener : modes) {
            auto const meets = [&] {
                bool const admitted = &holder == modes && &opener == modes;
                File const second(dir.Name("f"), opener);
                return second.error == (admitted ? kNoError : kSharingViolation) &&
                       second.IsOpen() == admitted && ReadWhole(dir.Bytes("f")) == "12345";
            };
            EXPECT_TRUE(meets());
            EXPECT_EQ(InChild(meets), 0);
        }
        int const copy = dup(DescriptorOf(first->handle));  // what a child would have
        first.reset();
        EXPECT_TRUE(File(dir.Name("f"), kWriter).IsOpen());
        close(copy);
    }
    refusal = ENOLCK;
    EXPECT_TRUE(File(dir.Name("f"), kWriter).IsOpen()) << "a file system without locks";
    refusal = 0;
}

TEST(Files, WhatHappensBetweenOpeningAndLock) {
    for (auto how : {Disposition::kCreateAlways, Disposition::kOpenAlways}) {
        TempDir dir;
        WriteWhole(dir.Bytes("f"), "old");
        beforeLock = [&] {
            WriteWhole(dir.Bytes("new"), "new one");
            std::filesystem::rename(dir.Bytes("new"), dir.Bytes("f"));
        };
        std::int64_t size = -1;
        EXPECT_TRUE(GetSize(File(dir.Name("f"), Mode(Access::kWrite, how)).handle, size));
        EXPECT_TRUE((lastFlags & O_CREAT) != 0) << "the system's guards against planted files ask for it";
        EXPECT_EQ(size, how == Disposition::kCreateAlways ? 0 : 7);
        for (OpenMode const& theirs : {kSharedReader, kWriter}) {
            std::filesystem::remove(dir.Bytes("f"));
            std::optional<File> other;
            beforeLock = [&] { other.emplace(dir.Name("f"), theirs); };
            EXPECT_EQ(File(dir.Name("f"), Mode(Access::kWrite, how)).error, kSharingViolation);
            EXPECT_EQ(dir.Entries(), theirs.share == kShareRead ? 0u : 1u) << "made for nothing";
        }
    }
}

TEST(Files, WhatIsNoRegularFileHasNoLockAndNoSize) {
    TempDir dir;
    std::filesystem::create_symlink("target", dir.Bytes("link"));
    File const made(dir.Name("link"), kCreator), device(u"/dev/null", kCreator),
        again(u"/dev/null", kCreator);
    EXPECT_TRUE(made.IsOpen() && device.IsOpen() && again.IsOpen() && FlushFile(device.handle));
    std::int64_t count = 7;
    EXPECT_TRUE(!GetSize(device.handle, count) && LastError() == kNotSupported);
    EXPECT_TRUE(!BytesAhead(device.handle, count) && count == 7);
    EXPECT_TRUE(SetPosition(made.handle, 3) && BytesAhead(made.handle, count) && count == 0);
    flock(DescriptorOf(made.handle), LOCK_UN);
    std::filesystem::remove(dir.Bytes("target"));
    std::string const nameless = "/proc/self/fd/" + std::to_string(DescriptorOf(made.handle));
    EXPECT_TRUE(File(NameFromBytes(nameless), kCreator).IsOpen());
}

TEST(Files, WhyAFileCannotBeOpened) {
    TempDir dir;
    WriteWhole(dir.Bytes("file"), "x");
    std::filesystem::create_symlink("loop", dir.Bytes("loop"));
    TString const longest(PATH_MAX - 1, u'/'), longInBytes(PATH_MAX / 3 + 1, u'\u20AC');
    auto const expect = [](std::uint32_t error, OpenMode const& mode, std::vector<TString> const& names) {
        for (auto const& name : names) EXPECT_EQ(File(name, mode).error, error) << name.size();
    };
    expect(kFileNotFound, kWriter, {u"", u"no such file", u"/no such file", dir.Name("none/")});
    expect(kPathNotFound, kWriter, {dir.Name("none//file//")});
    expect(kPathNotFound, kCreator, {dir.Name("none/file")});
    expect(kNotADirectory, kWriter, {dir.Name("file/x")});
    expect(kBadPathname, kWriter, {dir.Name("loop")});
    expect(kAccessDenied, kSharedReader, {dir.Name("."), longest});
    expect(kInvalidName, kCreator, {u"\xD800", TString(NAME_MAX + 1, u'n'), longest + u'/', longInBytes});
    expect(kInvalidParameter, Mode(Access::kRead, Disposition::kCreateAlways), {u"/dev/null"});
}

TEST(Transfer, InterruptedCutAndRefused) {
    std::string const from = "0123456789abcdef", to(from.size(), '-');
    constexpr struct {
        int failure;  // 0: nothing moves
        std::uint32_t error;
    } kCases[] = {
        {0,      kDiskFull  },
        {EINTR,  kNoError   },
        {EIO,    kDataError },
        {EAGAIN, kOtherError}, // no sharing violation
        {ENOSPC, kDiskFull  },
    };
    for (int situation = 0; situation < 40; ++situation) {
        SCOPED_TRACE(situation);
        bool const writes = situation % 2 != 0, positioned = situation / 2 % 2 != 0;
        auto const [failure, failed] = kCases[situation / 8];
        std::size_t const first = situation / 4 % 2 == 0 ? 0 : 4;  // what moves before it
        bool const ends = first > 0 && !writes && !positioned;     // a read that falls short
        std::size_t const wanted = ends || failure != EINTR ? first : from.size();
        std::uint32_t const error = ends || (failure == 0 && !writes) ? std::uint32_t{kNoError} : failed;

        TempDir dir;
        WriteWhole(dir.Bytes("f"), "....." + (writes ? to : from));
        File const file(dir.Name("f"), kWriter);
        SetPosition(file.handle, kAt);
        std::string bytes = writes ? from : to;
        std::size_t moved = 7;
        script = {-EINTR, 4, -EINTR, -failure};
        if (first == 0) script = {-failure};
        bool const done = Move(writes, positioned, file.handle, bytes, moved);
        script.clear();
        EXPECT_TRUE(done == (error == kNoError) && LastError() == error && moved == wanted) << moved;
        EXPECT_EQ(writes ? ReadWhole(dir.Bytes("f")).substr(kAt) : bytes,
                  from.substr(0, wanted) + to.substr(wanted));
        std::int64_t position = -1;
        EXPECT_TRUE(GetPosition(file.handle, position));
        EXPECT_EQ(position, kAt + (positioned ? 0 : static_cast<std::int64_t>(wanted)));
    }
}

TEST(Swap, NobodyElseCanReachItAndNoPlantedNameIsOpened) {
    for (bool const named : {false, true}) {
        alwaysNamed = named;
        TempDir dir;
        int const killed = InChild([&] {
            Handle const file = CreateSwapFile(dir.Name("swap").c_str());
            struct stat info;
            return fstat(DescriptorOf(file), &info) == 0 && info.st_nlink == 0 &&
                   (info.st_mode & 07777) == 0600 && ClosesOnExec(file) && kill(getpid(), SIGKILL);
        });
        EXPECT_TRUE(WIFSIGNALED(killed) && WTERMSIG(killed) == SIGKILL);
        EXPECT_EQ(dir.Entries(), 0u);

        WriteWhole(dir.Bytes("file"), "theirs");
        std::filesystem::create_symlink("file", dir.Bytes("link"));
        std::filesystem::create_symlink("none", dir.Bytes("dangling"));
        auto const refuses = [&](char const* name, std::uint32_t error) {
            return CreateSwapFile(dir.Name(name).c_str()) == InvalidHandle() && LastError() == error;
        };
        for (char const* planted : {"file", "link", "dangling"}) EXPECT_TRUE(refuses(planted, kFileExists));
        EXPECT_EQ(dir.Entries(), 3u);

        int const before = DescriptorOf(File(dir.Name("file"), kSharedReader).handle);
        refusal = EPERM;
        EXPECT_TRUE(!alwaysNamed || refuses("swap", kAccessDenied)) << "a name that stays";
        refusal = 0;
        EXPECT_EQ(DescriptorOf(File(dir.Name("file"), kSharedReader).handle), before) << "one was left open";
    }
    alwaysNamed = false;
}

}  // namespace vfile::platform
