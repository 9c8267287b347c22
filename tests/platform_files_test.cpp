// Opening, sharing, positions and the swap file. The linker leads flock and unlink through here, so that
// something can happen between the opening of a file and its lock.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <functional>
#include <optional>
#include <utility>

#include "platform/platform.h"
#include "support/child.h"
#include "support/temp_dir.h"

namespace {

std::function<void()> beforeLock;  // once
int lockError = 0;
int unlinkError = 0;

}  // namespace

extern "C" {

int __real_flock(int fd, int operation);
int __wrap_flock(int fd, int operation) {
    if (auto const action = std::exchange(beforeLock, nullptr)) action();
    errno = lockError;
    return lockError != 0 ? -1 : __real_flock(fd, operation);
}

int __real_unlink(char const* path);
int __wrap_unlink(char const* path) {
    errno = unlinkError;
    return unlinkError != 0 ? -1 : __real_unlink(path);
}
}

namespace vfile::platform {

using test::InChild;
using test::ReadWhole;
using test::TempDir;
using test::WriteWhole;

namespace {

constexpr OpenMode Mode(Access access, Disposition disposition, std::uint32_t share = kShareNone) {
    return {access, share, disposition, Hint::kRandom};
}

constexpr OpenMode kSharedReader = Mode(Access::kRead, Disposition::kOpenExisting, kShareRead);
constexpr OpenMode kWriter = Mode(Access::kReadWrite, Disposition::kOpenExisting);

// An open file; `error` is why it is not.
struct File {
    File(TString const& name, OpenMode const& mode) {
        SetLastError(kNoError);
        handle = OpenFile(name.c_str(), mode);
        error = LastError();
    }
    ~File() { Close(); }
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    bool IsOpen() const { return handle != InvalidHandle(); }
    void Close() {
        if (IsOpen()) CloseFile(std::exchange(handle, InvalidHandle()));
    }
    std::int64_t Size() const {
        std::int64_t size = -1;
        return GetSize(handle, size) ? size : -1;
    }

    Handle handle;
    std::uint32_t error;
};

bool ClosesOnExec(Handle file) { return fcntl(DescriptorOf(file), F_GETFD) == FD_CLOEXEC; }

}  // namespace

TEST(Files, DispositionDecidesWhatMustBeThereAndWhatIsEmptied) {
    struct {
        Disposition disposition;
        bool there;
        std::uint32_t error;
        std::int64_t size;
    } const cases[] = {
        {Disposition::kOpenExisting, true,  kNoError,      5 },
        {Disposition::kOpenExisting, false, kFileNotFound, -1},
        {Disposition::kCreateNew,    true,  kFileExists,   5 },
        {Disposition::kCreateNew,    false, kNoError,      0 },
        {Disposition::kCreateAlways, true,  kNoError,      0 },
        {Disposition::kCreateAlways, false, kNoError,      0 },
        {Disposition::kOpenAlways,   true,  kNoError,      5 },
        {Disposition::kOpenAlways,   false, kNoError,      0 },
    };
    for (auto const& c : cases) {
        for (Access access : {Access::kRead, Access::kWrite, Access::kReadWrite}) {
            SCOPED_TRACE(testing::Message()
                         << static_cast<int>(c.disposition) << c.there << static_cast<int>(access));
            TempDir dir;
            bool const contradiction = access == Access::kRead && c.disposition == Disposition::kCreateAlways;
            if (c.there) WriteWhole(dir.Bytes("f"), "12345");
            File const file(dir.Name("f"), Mode(access, c.disposition));
            EXPECT_EQ(file.error, contradiction ? std::uint32_t{kInvalidParameter} : c.error);
            EXPECT_EQ(file.IsOpen(), file.error == kNoError);
            EXPECT_EQ(file.Size(), file.IsOpen() ? c.size : -1);
            EXPECT_EQ(ClosesOnExec(file.handle), file.IsOpen());
            EXPECT_EQ(ReadWhole(dir.Bytes("f")), c.there && file.Size() != 0 ? "12345" : "");
            EXPECT_EQ(dir.Entries(), c.there || file.IsOpen() ? 1u : 0u);
        }
    }
}

TEST(Files, OnlyReadersThatAdmitReadersShareAndNothingIsEmptiedBeforeTheLock) {
    TempDir dir;
    WriteWhole(dir.Bytes("f"), "12345");
    OpenMode const modes[] = {
        kSharedReader,
        Mode(Access::kRead, Disposition::kOpenAlways),
        Mode(Access::kWrite, Disposition::kCreateAlways, kShareRead),
        Mode(Access::kReadWrite, Disposition::kOpenExisting, kShareRead),
    };
    for (OpenMode const& holder : modes) {
        File first(dir.Name("f"), holder);
        ASSERT_TRUE(first.IsOpen());
        WriteWhole(dir.Bytes("f"), "12345");
        for (OpenMode const& opener : modes) {
            auto const meets = [&] {
                bool const admitted = &holder == modes && &opener == modes;
                File const second(dir.Name("f"), opener);
                return second.IsOpen() == admitted &&
                       second.error == (admitted ? kNoError : kSharingViolation) &&
                       ReadWhole(dir.Bytes("f")) == "12345";
            };
            EXPECT_TRUE(meets());
            EXPECT_EQ(InChild(meets), 0);
        }
        int const copy = dup(DescriptorOf(first.handle));  // what a child would have
        first.Close();
        EXPECT_TRUE(File(dir.Name("f"), kWriter).IsOpen());
        close(copy);
    }
    for (int error : {ENOLCK, EBADF, ENOSYS, EOPNOTSUPP}) {
        lockError = error;
        EXPECT_TRUE(File(dir.Name("f"), kWriter).IsOpen()) << "a file system without locks";
    }
    lockError = 0;
}

TEST(Files, AFileReplacedBeforeItsLockIsOpenedAnew) {
    for (auto disposition :
         {Disposition::kOpenExisting, Disposition::kCreateAlways, Disposition::kOpenAlways}) {
        TempDir dir;
        WriteWhole(dir.Bytes("f"), "old");
        beforeLock = [&] {
            WriteWhole(dir.Bytes("new"), "new one");
            std::filesystem::rename(dir.Bytes("new"), dir.Bytes("f"));
        };
        File const file(dir.Name("f"), Mode(Access::kWrite, disposition));
        std::size_t put = 0;
        ASSERT_TRUE(file.IsOpen() && Write(file.handle, "NEW", 3, put));
        EXPECT_EQ(ReadWhole(dir.Bytes("f")), disposition == Disposition::kCreateAlways ? "NEW" : "NEW one");
    }
}

TEST(Files, AFileMadeForNothingGoesUnlessAWriterHasIt) {
    for (auto disposition : {Disposition::kCreateNew, Disposition::kCreateAlways, Disposition::kOpenAlways}) {
        for (OpenMode const& theirs : {kSharedReader, kWriter}) {
            TempDir dir;
            std::optional<File> other;
            beforeLock = [&] { other.emplace(dir.Name("f"), theirs); };
            EXPECT_EQ(File(dir.Name("f"), Mode(Access::kWrite, disposition)).error, kSharingViolation);
            EXPECT_EQ(dir.Entries(), theirs.share == kShareRead ? 0u : 1u);
        }
    }
}

TEST(Files, WhatIsNoRegularFile) {
    TempDir dir;
    ASSERT_EQ(mkfifo(dir.Bytes("fifo").c_str(), 0600), 0);
    std::filesystem::create_symlink("target", dir.Bytes("link"));
    int const nameless = open(dir.Bytes("gone").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    std::filesystem::remove(dir.Bytes("gone"));

    OpenMode const creating = Mode(Access::kReadWrite, Disposition::kCreateAlways);
    for (TString const& name : {TString(u"/dev/null"), dir.Name("fifo")}) {
        File const first(name, creating), second(name, creating);  // neither locked nor emptied
        EXPECT_TRUE(first.IsOpen() && second.IsOpen());
        std::int64_t count = 7;
        SetLastError(kDataError);
        EXPECT_FALSE(BytesAhead(first.handle, count));
        EXPECT_EQ(LastError(), kDataError);
        EXPECT_FALSE(GetSize(first.handle, count));
        EXPECT_EQ(LastError(), kNotSupported);
        EXPECT_EQ(count, 7);
        EXPECT_TRUE(FlushFile(first.handle));
    }
    EXPECT_EQ(File(dir.Name("."), creating).error, kAccessDenied);
    EXPECT_TRUE(File(dir.Name("link"), creating).IsOpen());
    EXPECT_TRUE(std::filesystem::exists(dir.Bytes("target")));
    EXPECT_TRUE(File(NameFromBytes("/proc/self/fd/" + std::to_string(nameless)), creating).IsOpen());
    close(nameless);
}

TEST(Files, PositionSizeAndWhatLiesAhead) {
    TempDir dir;
    WriteWhole(dir.Bytes("f"), std::string(100, 'x'));
    File const file(dir.Name("f"), kWriter);
    constexpr std::int64_t kFar = std::int64_t{1} << 33;
    for (std::int64_t position : {std::int64_t{0}, std::int64_t{99}, std::int64_t{100}, kFar}) {
        std::int64_t got = -1, count = -1;
        EXPECT_TRUE(SetPosition(file.handle, position) && GetPosition(file.handle, got));
        EXPECT_TRUE(BytesAhead(file.handle, count));
        EXPECT_EQ(got, position);
        EXPECT_EQ(count, std::max<std::int64_t>(100 - position, 0));
    }
    EXPECT_FALSE(SetPosition(file.handle, -1));
    EXPECT_EQ(LastError(), kInvalidParameter);
    for (std::int64_t size : {kFar, std::int64_t{10}}) {
        EXPECT_TRUE(SetPosition(file.handle, size) && TruncateHere(file.handle) && FlushFile(file.handle));
        EXPECT_EQ(file.Size(), size);
    }
}

TEST(Files, AClosedHandleAndTheWrongWayAreTold) {
    TempDir dir;
    WriteWhole(dir.Bytes("f"), "12345");
    std::int64_t number = 0;
    std::size_t moved = 7;
    char bytes[5] = {};
    Piece const pieces[] = {
        {bytes, 5}
    };
    using Operation = std::function<bool(Handle)>;
    Operation const reading[] = {
        [&](Handle file) { return Read(file, bytes, 5, moved); },
        [&](Handle file) { return ReadAt(file, 0, bytes, 5, moved); },
    };
    Operation const writing[] = {
        [&](Handle file) { return Write(file, bytes, 5, moved); },
        [&](Handle file) { return WriteAt(file, 0, pieces, moved); },
        [&](Handle file) { return TruncateHere(file); },
    };
    Operation const neither[] = {
        [&](Handle file) { return GetPosition(file, number); },
        [&](Handle file) { return SetPosition(file, 0); },
        [&](Handle file) { return GetSize(file, number); },
        [&](Handle file) { return BytesAhead(file, number); },
        [&](Handle file) { return FlushFile(file); },
    };
    auto const expectError = [](std::span<Operation const> operations, Handle file, std::uint32_t error) {
        for (auto const& operation : operations) {
            SetLastError(kNoError);
            EXPECT_FALSE(operation(file)) << &operation - operations.data();
            EXPECT_EQ(LastError(), error) << &operation - operations.data();
        }
    };
    expectError(writing, File(dir.Name("f"), kSharedReader).handle, kAccessDenied);
    expectError(reading, File(dir.Name("f"), Mode(Access::kWrite, Disposition::kOpenExisting)).handle,
                kAccessDenied);
    EXPECT_EQ(moved, 0u);
    EXPECT_EQ(ReadWhole(dir.Bytes("f")), "12345");
    Handle const wide = reinterpret_cast<Handle>((std::uintptr_t{1} << 32) | std::uintptr_t{1});
    for (Handle closed : {InvalidHandle(), HandleOf(1 << 29), wide}) {
        for (std::span<Operation const> operations :
             {std::span<Operation const>(reading), {writing}, {neither}}) {
            expectError(operations, closed, kInvalidHandle);
        }
        CloseFile(closed);
    }
}

TEST(Swap, NobodyElseCanReachIt) {
    TempDir dir;
    auto const isOurs = [&](Handle file) {
        struct stat info;
        std::size_t put = 0;
        return file != InvalidHandle() && fstat(DescriptorOf(file), &info) == 0 && info.st_nlink == 0 &&
               (info.st_mode & 07777) == 0600 && dir.Entries() == 0 && ClosesOnExec(file) &&
               Write(file, "bytes", 5, put);
    };
    Handle const file = CreateSwapFile(dir.Name("swap").c_str());
    EXPECT_TRUE(isOurs(file));
    CloseFile(file);
    int const killed =
        InChild([&] { return isOurs(CreateSwapFile(dir.Name("swap").c_str())) && kill(getpid(), SIGKILL); });
    EXPECT_TRUE(WIFSIGNALED(killed) && WTERMSIG(killed) == SIGKILL);
    EXPECT_EQ(dir.Entries(), 0u);
}

TEST(Swap, APlantedNameIsNeverOpenedAndANameThatStaysNeverUsed) {
    TempDir dir;
    WriteWhole(dir.Bytes("file"), "theirs");
    std::filesystem::create_symlink("file", dir.Bytes("link"));
    std::filesystem::create_symlink("none", dir.Bytes("dangling"));
    for (char const* planted : {"file", "link", "dangling"}) {
        EXPECT_EQ(CreateSwapFile(dir.Name(planted).c_str()), InvalidHandle()) << planted;
        EXPECT_EQ(LastError(), kFileExists) << planted;
    }
    EXPECT_EQ(ReadWhole(dir.Bytes("file")), "theirs");
    EXPECT_EQ(dir.Entries(), 3u);

    int const before = DescriptorOf(File(dir.Name("file"), kSharedReader).handle);
    unlinkError = EPERM;
    EXPECT_EQ(CreateSwapFile(dir.Name("swap").c_str()), InvalidHandle());
    unlinkError = 0;
    EXPECT_EQ(LastError(), kAccessDenied);
    EXPECT_EQ(DescriptorOf(File(dir.Name("file"), kSharedReader).handle), before) << "one was left open";
}

}  // namespace vfile::platform
