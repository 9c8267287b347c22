// A thread's state from its first use of the library to its end, and the settings that it keeps.
#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/thread.h>
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>

#include <cstdlib>
#include <optional>
#include <thread>

#include "platform/platform.h"
#include "support/halts.h"
#include "vfile/library_events.h"
#include "vfile/thread_slots.h"

namespace vfile::test {
namespace {

// On a thread that has never used the library.
template <class Action>
void OnFreshThread(Action action) {
    std::thread(action).join();
}

void ExpectSettings(int limit, TString const& dir) {
    EXPECT_EQ(VFile::GetMaxCacheSize(), limit);
    TChar const* const held = VFile::GetTempDir();
    EXPECT_EQ(TString(held ? held : u"none"), dir);
}

TEST(ThreadState, BeginsByItselfAndEndsOnDemand) {
    bool (*const firstUses[])() = {
        VFile_IsThreadInitialized, VFile_InitializeThread, [] { return VFile::GetMaxCacheSize() == 70; },
        [] { return VFile().Length() == 0; }, [] { return VFile::TLS_InitializeThread(); }};
    for (auto const firstUse : firstUses) {
        OnFreshThread([=] {
            EXPECT_TRUE(firstUse() && VFile_IsThreadInitialized());
            VFile::SetMaxCacheSize(200), VFile::SetTempDir(u"/d");
            EXPECT_TRUE(VFile_InitializeThread());
            ExpectSettings(200, u"/d");  // a second time changes nothing
            for (int i = 0; i < 2; ++i)
                EXPECT_TRUE(VFile_UninitializeThread() && !VFile_IsThreadInitialized());
            VFile::SetMaxCacheSize(5), VFile::SetTempDir(u"/d"), VFile::ReleaseCache();
            EXPECT_TRUE(VFile::TLS_InitializeThread() && VFile::TLS_UninitializeThread());
            ExpectSettings(0, u"none");
            EXPECT_TRUE(VFile_InitializeThread());
            ExpectSettings(70, u"none");
        });
    }
    OnFreshThread([] { EXPECT_TRUE(VFile_UninitializeThread() && !VFile_IsThreadInitialized()); });
}

TEST(ThreadState, SettingsOutliveTheMemory) {
    constexpr struct {
        std::int16_t limit, whileWorking;
        TChar const *dir, *dirKept;
    } kCases[] = {
        {200,    200, u"/some/where", u"/some/where"},
        {-5,     0,   u"",            u"none"       },
        {-32768, 0,   nullptr,        u"none"       }
    };
    OnFreshThread([&] {
        for (auto const& c : kCases) {
            VFile::SetMaxCacheSize(c.limit), VFile::SetTempDir(c.dir), VFile::ReleaseCache();
            VFile::SetTempDir(VFile::GetTempDir());  // the string that the setter is about to free
            ExpectSettings(c.limit, c.dirKept);
            for (int life = 0; life < 2; ++life) {
                VFile one, two;
                EXPECT_TRUE(TLS_GetFileCount() == 2 && TLS_GetVMem() && TLS_GetBlkPool());
                ExpectSettings(c.whileWorking, c.dirKept);
                one.ReplaceCh(0, 0, 'x', 5000), one.Flush();
                EXPECT_EQ(VFile::GetCacheSize(), c.whileWorking > 0 ? 5 : 1);
                VFile::ReleaseCache();
                EXPECT_EQ(VFile::GetCacheSize(), 0);
            }
            EXPECT_TRUE(TLS_GetFileCount() == 0 && !TLS_GetVMem() && !TLS_GetBlkPool());
            EXPECT_EQ(VFile::GetCacheSize(), 0);
            ExpectSettings(c.whileWorking, c.dirKept);
            auto file = std::make_unique<VFile>();  // what is set now goes to the memory
            VFile::SetMaxCacheSize(33), VFile::SetTempDir(u"/some/late");
            VFile::SetTempDir(VFile::GetTempDir() + 5);
            file.reset();
            VFile::SetTempDir(VFile::GetTempDir() + 1);
            ExpectSettings(33, u"late");
        }
    });
}

TEST(ThreadState, EachThreadHasItsOwn) {
    std::vector<std::thread> threads;
    for (std::int16_t limit = 1; limit <= 4; ++limit) {
        threads.emplace_back([=] {
            VFile::SetMaxCacheSize(limit);
            for (int life = 0; life < 50; ++life) {
                VFile('x', 20'000);
                EXPECT_EQ(VFile::GetMaxCacheSize(), limit);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(ThreadState, EndLooksAtEachSlot) {
    for (int slots = 0; slots < 8; ++slots) {
        OnFreshThread([=] {
            int object = 0;
            TLS_SetFileCount(slots & 1 ? -1 : 0);
            if (slots & 2) TLS_SetVMem(reinterpret_cast<VMem*>(&object));
            if (slots & 4) TLS_SetBlkPool(reinterpret_cast<BlkPool*>(&object));
            if (slots) EXPECT_ASSERTION_STOP("VFile", VFile_UninitializeThread());
            EXPECT_TRUE(VFile_IsThreadInitialized()) << "a throwing stop leaves the state as it was";
            NoteHalts halts;
            EXPECT_TRUE(VFile_UninitializeThread() && !VFile_IsThreadInitialized())
                << "released all the same";
            EXPECT_EQ(halts.Take().size(), std::size_t(slots % 2 + slots / 2 % 2 + slots / 4));
        });
    }
}

TEST(LibraryEvents, WithoutAttachEveryUseStops) {
    EXPECT_FALSE(RaiseProcessAttach()) << "attached already";
    EXPECT_ASSERTION_STOP("VFile", VFile::TLS_InitializeProcess());
    RaiseProcessDetach();
    std::vector<std::int32_t> keys;
    do keys.push_back(platform::AllocThreadKey([] {}));
    while (keys.back() != -1);
    EXPECT_FALSE(RaiseProcessAttach() || VFile_InitializeThread() || VFile_IsThreadInitialized());
    EXPECT_TRUE(VFile_UninitializeThread());
    void (*const uses[])() = {[] { VFile(); },
                              [] { VFile::GetTempDir(); },
                              [] { VFile::SetMaxCacheSize(1); },
                              [] { VFile::TLS_InitializeThread(); },
                              [] { VFile::TLS_UninitializeThread(); },
                              [] { VFile::TLS_UninitializeProcess(); }};
    for (auto const use : uses) EXPECT_ASSERTION_STOP("VFile", use());
    for (std::int32_t const key : keys) platform::FreeThreadKey(key);
    EXPECT_TRUE(RaiseProcessAttach());
    ExpectSettings(70, u"none");
}

TEST(ThreadStateDeathTest, ChildOfAForkStartsAfresh) {
    VFile::SetMaxCacheSize(33);
    VFile const parents;
    auto const child = [] {  // the statement of the test below runs in a forked child
        bool const sound = VFile_IsThreadInitialized() && TLS_GetFileCount() == 0 && !TLS_GetVMem();
        ExpectSettings(70, u"none");
        RaiseProcessDetach();  // as an exit does
        _exit(sound && !testing::Test::HasFailure() ? 0 : 1);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "^$");
    ExpectSettings(33, u"none");
    VFile::SetMaxCacheSize(70);
}

struct FileWithStorage {
    VFile file{"abc"};
    ~FileWithStorage() { file.ReplaceCh(0, 0, 'x', 200'000); }  // it can still be used
};

std::optional<FileWithStorage> fileOfTheProgram;

VFile& FileOfTheThread() {
    static thread_local FileWithStorage late;
    return late.file;
}

TEST(ThreadStateDeathTest, LiveFilesStopAndLateOnesDoNot) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in processes of their own, not in forked children
    EXPECT_EXIT(OnFreshThread([] { new VFile; }), testing::KilledBySignal(SIGABRT), "VFile, line ");
    EXPECT_EXIT((new VFile, std::exit(0)), testing::KilledBySignal(SIGABRT), "VFile, line ");
    auto const lateFiles = [] {
        fileOfTheProgram.emplace();
        FileOfTheThread().SetPos(1);
        OnFreshThread([] { FileOfTheThread().SetPos(1); });
        std::exit(0);
    };
    EXPECT_EXIT(lateFiles(), testing::ExitedWithCode(0), "^$");
    GTEST_FLAG_SET(death_test_style, "fast");
}

}  // namespace
}  // namespace vfile::test
