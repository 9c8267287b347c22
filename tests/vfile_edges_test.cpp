// What the random run cannot meet: other threads and processes, and the ends of them.
#include <unistd.h>

#include "support/child.h"
#include "support/halts.h"
#include "support/host_source.h"
#include "support/test.h"
#include "vfile/thread_slots.h"

namespace vfile::test {
namespace {

// Most of it lies in the swap file, which the two processes share.
TEST(VFileFork, ChildLeavesTheParentsFilesAlone) {
    VFile::SetMaxCacheSize(3);
    std::string const bytes = Pattern(100'000);
    auto file = std::make_unique<VFile>(), other = std::make_unique<VFile>();
    for (VFile* const f : {file.get(), other.get()}) f->ReplaceBuf(0, 0, bytes.data(), 100'000);
    auto const child = [&] {
        bool const fresh = TLS_GetFileCount() == 0 && !TLS_GetVMem() && VFile::GetMaxCacheSize() == 70;
        VFile::SetMaxCacheSize(3);
        unsigned char b;
        EXPECT_ASSERTION_STOP("VFile", other->SetPos(0));
        auto const read = [&] {
            for (int i = 0; i < 100'000; ++i) other->ReadPrevByte(b);
        };
        EXPECT_NE(HaltOf(read), "");
        EXPECT_EQ(HaltOf([&] { file.reset(); }), "");
        Twin own(Pattern(60'000, 4));
        EXPECT_ASSERTION_STOP("VFile", own.file.ReplaceTxt(0, 0, *other, 0, 1));
        EXPECT_EQ(HaltOf([&] { other.reset(); }), "");
        own.Do([](auto& f) { f.ReplaceTxt(25'000, 10, f, 100, 40'000); });
        own.ExpectSameBytes();
        return fresh && !testing::Test::HasFailure();
    };
    EXPECT_EQ(InChild(child), 0);
    EXPECT_EQ(AllBytes(*file), bytes);
    other->ReplaceBuf(50'000, 1, "new", 3);
    EXPECT_EQ(AllBytes(*other), std::string(bytes).replace(50'000, 1, "new"));
    VFile::SetMaxCacheSize(70);
}

void ExpectSettings(int limit, TString const& dir) {
    EXPECT_EQ(VFile::GetMaxCacheSize(), limit);
    TChar const* const held = VFile::GetTempDir();
    EXPECT_EQ(TString(held ? held : u"none"), dir);
}

TEST(ThreadState, SettingsOutliveTheMemoryAndEndWithTheState) {
    std::thread([] {
        EXPECT_TRUE(VFile_UninitializeThread() && !VFile_IsThreadInitialized());
        VFile::SetMaxCacheSize(200);
        ExpectSettings(0, u"none");
        EXPECT_TRUE(VFile_InitializeThread());
        VFile::SetMaxCacheSize(-5);
        VFile::SetTempDir(u"/some/where");
        VFile::SetTempDir(VFile::GetTempDir() + 5);  // of the string that the setter is about to free
        EXPECT_TRUE(VFile_InitializeThread());
        ExpectSettings(-5, u"/where");
        for (int const limit : {0, 200}) {
            VFile one, two;
            EXPECT_TRUE(TLS_GetFileCount() == 2 && TLS_GetVMem() && TLS_GetBlkPool());
            ExpectSettings(limit, limit == 0 ? u"/where" : u"/late");
            VFile::SetTempDir(u"/late");
            one.ReplaceCh(0, 0, 'x', 5000);
            EXPECT_EQ(VFile::GetCacheSize(), limit > 0 ? 5 : 1);
            VFile::ReleaseCache();
            EXPECT_EQ(VFile::GetCacheSize(), 0);
            VFile::SetMaxCacheSize(200);
        }
        EXPECT_TRUE(TLS_GetFileCount() == 0 && !TLS_GetVMem() && !TLS_GetBlkPool());
        ExpectSettings(200, u"/late");
        VFile::SetTempDir(u"");
        EXPECT_EQ(VFile::GetTempDir(), nullptr);
    }).join();
}

std::optional<VFile> fileOfTheProgram;

TEST(ThreadStateDeathTest, LiveFilesStopAndLateOnesDoNot) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in processes of their own, not in forked children
    EXPECT_EXIT(std::thread([] { new VFile; }).join(), testing::KilledBySignal(SIGABRT), "VFile, line ");
    EXPECT_EXIT((new VFile, std::exit(0)), testing::KilledBySignal(SIGABRT), "VFile, line ");
    auto const lateFiles = [] {
        fileOfTheProgram.emplace('x', 200'000);
        std::thread([] { static thread_local VFile late('x', 200'000); }).join();
        std::exit(0);
    };
    EXPECT_EXIT(lateFiles(), testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace vfile::test
