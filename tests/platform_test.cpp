// What the floors above do not meet: what happens between opening a file and its lock, file systems without locks or unnamed
// files, and a set-id program. The linker leads calls through here.
#include "platform/platform.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/child.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace {

std::function<void()> beforeLock;  // once
int refusal = 0;                   // of locks and removals
int lastFlags = 0;                 // of open
bool alwaysNamed = false;          // as on a file system without unnamed files

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
}

namespace vfile::platform {

using namespace test;

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

}  // namespace

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
        std::filesystem::create_symlink("none", dir.Bytes("dangling"));
        auto const refuses = [&](char const* name, std::uint32_t error) {
            return CreateSwapFile(dir.Name(name).c_str()) == InvalidHandle() && LastError() == error;
        };
        for (char const* planted : {"file", "dangling"}) EXPECT_TRUE(refuses(planted, kFileExists));
        EXPECT_EQ(dir.Entries(), 2u);

        int const before = DescriptorOf(File(dir.Name("file"), kSharedReader).handle);
        refusal = EPERM;
        EXPECT_TRUE(!alwaysNamed || refuses("swap", kAccessDenied)) << "a name that stays";
        refusal = 0;
        EXPECT_EQ(DescriptorOf(File(dir.Name("file"), kSharedReader).handle), before) << "one was left open";
    }
    alwaysNamed = false;
}

// A copy of this program that runs with the rights of another user, as which it asks what its caller has set.
TEST(Environment, ASetIdProgramTakesNothingFromItsCaller) {
    TChar value[100];
    EXPECT_EQ(ReadEnvironment("TMP", value, 100), std::getenv("TMP") && getauxval(AT_SECURE) == 0);
    // At its end a sanitizer would look for leaks by tracing, which a set-id program may not.
    if (getauxval(AT_SECURE) != 0) _exit(HasFailure());
    if (geteuid() != 0 || std::getenv("VFILE_IS_COPY")) return;
    TempDir dir;
    std::string const program = dir.Bytes("program"), only = "--gtest_filter=*ASetId*";
    std::filesystem::copy_file("/proc/self/exe", program);
    ASSERT_TRUE(chown(program.c_str(), 65534, 65534) == 0 && chmod(program.c_str(), 04755) == 0);
    chmod(dir.Path().c_str(), 0755);
    EXPECT_EQ(InChild([&] {
                  for (char const* variable : {"TMP", "VFILE_IS_COPY"}) setenv(variable, "/", 1);
                  execl(program.c_str(), program.c_str(), only.c_str(), nullptr);
                  return false;
              }),
              0);
}

}  // namespace vfile::platform
