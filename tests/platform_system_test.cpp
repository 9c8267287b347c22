// Threads, forks, names, errors and the environment.
#include <gtest/gtest.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <vfile/names.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <thread>

#include "platform/platform.h"
#include "platform/posix/errors.h"
#include "platform/posix/name_bytes.h"
#include "support/child.h"
#include "support/temp_dir.h"

namespace vfile::platform {

using test::InChild;

namespace {

std::int32_t key = -1;
std::string ended;  // what happened at the end of a thread, in order
int childHandlers = 0;

void AtThreadEnd() {
    ended += GetThreadWord(key) == &ended ? "key" : "another word";
    SetThreadWord(key, nullptr);
}

struct AtExitOfThread {
    ~AtExitOfThread() { ended += "object, "; }
};

}  // namespace

TEST(Threads, AWordEndsWithItsThreadAndAfterItsObjects) {
    std::int32_t const other = AllocThreadKey([] { ended += "other"; });
    key = AllocThreadKey(AtThreadEnd);
    EXPECT_TRUE(SetThreadWord(key, &key));
    for (int situation = 0; situation < 3; ++situation) {  // a word, none, a key that is freed meanwhile
        ended.clear();
        std::thread([situation] {
            EXPECT_EQ(GetThreadWord(key), nullptr) << "a thread begins without a word";
            thread_local AtExitOfThread object;
            [[maybe_unused]] auto const* const used = &object;
            SetThreadWord(key, situation == 1 ? nullptr : &ended);
            EXPECT_EQ(situation == 2 && FreeThreadKey(key), situation == 2);
        }).join();
        EXPECT_EQ(ended, situation == 0 ? "object, key" : "object, ");
        EXPECT_EQ(GetThreadWord(key), situation == 2 ? nullptr : &key) << "each thread has its own";
    }
    EXPECT_TRUE(FreeThreadKey(other));
}

TEST(Threads, KeysEndAndUnderNoKeyThereIsNoWord) {
    for (int i = 0; i < 2000; ++i) {  // more than a process has
        key = AllocThreadKey(AtThreadEnd);
        EXPECT_EQ(GetThreadWord(key), nullptr) << "the word of an earlier key";
        ASSERT_TRUE(SetThreadWord(key, &key) && FreeThreadKey(key));
    }
    for (int none : {key, -1, 1000, INT32_MIN, INT32_MAX}) {
        EXPECT_FALSE(GetThreadWord(none) || SetThreadWord(none, &key) || FreeThreadKey(none)) << none;
    }
}

TEST(Threads, AThreadAndAForkedChildAreNew) {
    std::uint32_t const forks = ForkCount(), mine = CurrentThreadId();
    auto const isNew = [&](std::uint32_t generation) {
        return ForkCount() == forks + generation && childHandlers == static_cast<int>(generation) &&
               CurrentThreadId() != mine && CurrentThreadId() != 0 && FirstCallOfThread() &&
               !FirstCallOfThread();
    };
    FirstCallOfThread();
    SetLastError(kDiskFull);
    std::thread([&] {
        EXPECT_TRUE(isNew(0) && LastError() == kNoError);
        SetLastError(kDataError);
    }).join();
    SetForkHandler([] { ++childHandlers; });
    EXPECT_EQ(InChild([&] { return isNew(1) && InChild([&] { return isNew(2); }) == 0; }), 0);
    SetForkHandler(nullptr);
    EXPECT_EQ(InChild([&] { return childHandlers == 0; }), 0);
    EXPECT_TRUE(ForkCount() == forks && CurrentThreadId() == mine && LastError() == kDiskFull);
}

TEST(Names, AnyBytesAreANameAndComeBack) {
    std::map<std::string, TString> const names{
        {"",                            u""                                     },
        {"plain\\\xC3\xA4\xE2\x82\xAC", u"plain\\\u00E4\u20AC"                  },
        {"\xF0\x9F\x98\x80\x80",        u"\U0001F600\xDC80"                     },
        {"a\xFFz\xE2\x82",              u"a\xDCFFz\xDCE2\xDC82"                 },
        {"\xED\xA0\x80\xED\xB2\x80x",   u"\xDCED\xDCA0\xDC80\xDCED\xDCB2\xDC80x"},
    };
    for (auto const& [bytes, units] : names) {
        EXPECT_EQ(NameFromBytes(bytes), units) << bytes;
        EXPECT_EQ(BytesFromName(units.c_str()), bytes);
        EXPECT_EQ(NameBytes(units.c_str()).Bytes(), bytes);
        EXPECT_EQ(NameBytes(units.c_str()).SystemError(), bytes.empty() ? ENOENT : 0);
    }
    EXPECT_EQ(BytesFromName(nullptr), NameBytes(nullptr).Bytes());
    for (int unit = 0xD800; unit <= 0xDFFF; ++unit) {  // a lone surrogate stands for a byte or for nothing
        bool const legal = unit >= 0xDC80 && unit <= 0xDCFF;
        TString const name{u'n', static_cast<TChar>(unit), u'm'};
        ASSERT_EQ(BytesFromName(name.c_str()).size(), legal ? 3u : 0u) << unit;
        ASSERT_EQ(NameBytes(name.c_str()).SystemError(), legal ? 0 : EILSEQ) << unit;
    }
}

TEST(Errors, EverySystemErrorHasItsNumber) {
    int const errors[] = {0,           ENOENT, EMFILE,    ENFILE,       EACCES, EPERM,      EISDIR,  EBADF,
                          ENOMEM,      EROFS,  EIO,       ETXTBSY,      EBUSY,  EOPNOTSUPP, ENOTSUP, ENETDOWN,
                          ENETUNREACH, ESTALE, ETIMEDOUT, ENODEV,       ENXIO,  EEXIST,     EINVAL,  ENOSPC,
                          EDQUOT,      EFBIG,  ENOSYS,    ENAMETOOLONG, EILSEQ, ELOOP,      ENOTDIR};
    std::uint32_t const numbers[] = {0,  2,   4,   4,   5,   5,   5,   6,   8,   19,         23,
                                     32, 32,  50,  50,  54,  54,  54,  54,  55,  55,         80,
                                     87, 112, 112, 112, 120, 123, 123, 161, 267, kOtherError};
    for (int error = 0; error < 200; ++error) {
        EXPECT_EQ(ErrorOf(error), numbers[std::find(errors, std::end(errors), error) - errors]) << error;
    }
}

// Root passes every test of its own rights: another effective user asks then, who is still root by the real one.
TEST(Environment, OnlyADirectoryOfTheEffectiveUserIsUsable) {
    test::TempDir dir;
    test::WriteWhole(dir.Bytes("file"), "x");
    std::filesystem::permissions(dir.Bytes("file"), std::filesystem::perms::all);
    SetLastError(kDataError);
    for (char const* name : {"file", "none"}) EXPECT_FALSE(IsUsableDirectory(dir.Name(name).c_str())) << name;
    EXPECT_TRUE(IsUsableDirectory(dir.Name(".").c_str()) && LastError() == kDataError);
    chmod(dir.Bytes(".").c_str(), geteuid() == 0 ? 0755 : 0500);
    auto const refused = [&] {
        return (geteuid() != 0 || seteuid(65534) == 0) && !IsUsableDirectory(dir.Name(".").c_str());
    };
    EXPECT_EQ(InChild(refused), 0);
    chmod(dir.Bytes(".").c_str(), 0700);
}

// A copy of this program that runs with the rights of another user, as which it asks what its caller has set.
TEST(Environment, ASetIdProgramTakesNothingFromItsCaller) {
    TChar value[100];
    EXPECT_EQ(ReadEnvironment("TMP", value, 100), std::getenv("TMP") && getauxval(AT_SECURE) == 0);
    if (geteuid() != 0 || getauxval(AT_SECURE) != 0 || std::getenv("VFILE_IS_COPY")) return;
    test::TempDir dir;
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
