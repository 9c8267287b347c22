// A thread's state from its first use of the library to its end, and the settings that it keeps.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vfile/thread.h>
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>

#include <cstdlib>
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

std::string TempDir() {
    TChar const* const dir = VFile::GetTempDir();
    return dir ? std::string(dir, dir + std::char_traits<TChar>::length(dir)) : "none";
}

TEST(ThreadState, BeginsByItselfAndEndsOnDemand) {
    bool (*const firstUses[])() = {
        VFile_IsThreadInitialized, VFile_InitializeThread, [] { return VFile::GetMaxCacheSize() == 70; },
        [] { return VFile().Length() == 0; }, [] { return VFile::TLS_InitializeThread(); }};
    for (auto const firstUse : firstUses) {
        OnFreshThread([=] {
            EXPECT_TRUE(firstUse() && VFile_IsThreadInitialized());
            VFile::SetMaxCacheSize(200);
            VFile::SetTempDir(u"/d");
            EXPECT_TRUE(VFile_InitializeThread());
            EXPECT_EQ(VFile::GetMaxCacheSize(), 200) << "a second time changes nothing";
            for (int i = 0; i < 2; ++i) {
                EXPECT_TRUE(VFile_UninitializeThread());
                EXPECT_FALSE(VFile_IsThreadInitialized()) << "until it asks again";
            }
            VFile::SetMaxCacheSize(5);
            VFile::SetTempDir(u"/d");
            VFile::ReleaseCache();
            EXPECT_TRUE(VFile::TLS_InitializeThread() && VFile::TLS_UninitializeThread());
            EXPECT_TRUE(VFile::GetMaxCacheSize() == 0 && VFile::GetCacheSize() == 0);
            EXPECT_EQ(TempDir(), "none");
            EXPECT_TRUE(VFile_InitializeThread());
            EXPECT_EQ(VFile::GetMaxCacheSize(), 70);
            EXPECT_EQ(TempDir(), "none");
        });
    }
    OnFreshThread([] {
        EXPECT_TRUE(VFile_UninitializeThread());
        EXPECT_FALSE(VFile_IsThreadInitialized()) << "ended before its first use";
    });
}

TEST(ThreadState, SettingsOutliveTheMemory) {
    constexpr struct {
        std::int16_t limit, whileWorking;
        TChar const* dir;
        char const* dirKept;
    } kCases[] = {
        {200,    200,   u"/some/where", "/some/where"},
        {-5,     0,     u"",            "none"       },
        {0,      0,     u"x",           "x"          },
        {-32768, 0,     nullptr,        "none"       },
        {32767,  32767, u"/",           "/"          },
    };
    OnFreshThread([&] {
        for (auto const& c : kCases) {
            SCOPED_TRACE(c.limit);
            VFile::SetMaxCacheSize(c.limit);
            VFile::SetTempDir(c.dir);
            for (int life = 0; life < 2; ++life) {
                EXPECT_EQ(VFile::GetMaxCacheSize(), life ? c.whileWorking : c.limit);
                EXPECT_EQ(TempDir(), c.dirKept);
                EXPECT_EQ(VFile::GetCacheSize(), 0);
                VFile const one, two;
                EXPECT_TRUE(TLS_GetFileCount() == 2 && TLS_GetVMem() && TLS_GetBlkPool());
                EXPECT_EQ(TLS_GetVMem()->GetMaxCacheSize(), c.whileWorking);
                EXPECT_EQ(VFile::GetMaxCacheSize(), c.whileWorking);
                EXPECT_EQ(TempDir(), c.dirKept);
            }
            EXPECT_TRUE(TLS_GetFileCount() == 0 && !TLS_GetVMem() && !TLS_GetBlkPool());
            {
                VFile file;  // what is set now goes to the memory, and is kept by the slots at its end
                file.ReplaceCh(0, 0, 'x', 5000);
                file.Flush();
                EXPECT_EQ(VFile::GetCacheSize(), c.whileWorking > 0 ? 5 : 1);
                VFile::ReleaseCache();
                EXPECT_EQ(VFile::GetCacheSize(), 0);
                VFile::SetMaxCacheSize(33);
                VFile::SetTempDir(u"/late");
            }
            EXPECT_EQ(VFile::GetMaxCacheSize(), 33);
            EXPECT_EQ(TempDir(), "/late");
        }
    });
}

TEST(ThreadState, SetterTakesTheStringOfItsGetter) {
    OnFreshThread([] {
        VFile::SetTempDir(u"/one/two/three");
        for (bool const working : {false, true}) {
            auto const file = working ? std::make_unique<VFile>() : nullptr;
            VFile::SetTempDir(VFile::GetTempDir());
            VFile::SetTempDir(VFile::GetTempDir() + 4);
        }
        EXPECT_EQ(TempDir(), "/three");
    });
}

TEST(ThreadState, EachThreadHasItsOwn) {
    std::vector<std::thread> threads;
    for (std::int16_t limit = 1; limit <= 4; ++limit) {
        threads.emplace_back([=] {
            VFile::SetMaxCacheSize(limit);
            for (int life = 0; life < 50; ++life) {
                VFile file;
                file.ReplaceCh(0, 0, 'x', 20'000);
                EXPECT_TRUE(VFile::GetMaxCacheSize() == limit && VFile::GetCacheSize() <= limit);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(ThreadState, EndLooksAtEachSlot) {
    OnFreshThread([] {
        int object = 0;
        void (*const fills[])(void*) = {[](void*) { TLS_IncFileCount(); },
                                        [](void* p) { TLS_SetVMem(static_cast<VMem*>(p)); },
                                        [](void* p) { TLS_SetBlkPool(static_cast<BlkPool*>(p)); }};
        std::size_t filled = 0;
        for (auto const fill : fills) {
            EXPECT_TRUE(VFile_InitializeThread());
            fill(&object);
            EXPECT_ASSERTION_STOP("VFile", VFile_UninitializeThread());
            EXPECT_TRUE(VFile_IsThreadInitialized()) << "a throwing stop leaves the state as it was";
            for (auto const more : fills) more == fill ? void() : more(&object);
            NoteHalts halts;
            EXPECT_TRUE(VFile_UninitializeThread());
            EXPECT_EQ(halts.Take().size(), 3u) << "one for each slot";
            EXPECT_FALSE(VFile_IsThreadInitialized()) << "released all the same";
            ++filled;
        }
        EXPECT_EQ(filled, std::size(fills));
    });
}

TEST(ThreadState, ChildOfAForkStartsAfresh) {
    VFile::SetMaxCacheSize(33);
    VFile const parents;
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        bool const sound = VFile_IsThreadInitialized() && TLS_GetFileCount() == 0 && !TLS_GetVMem() &&
                           VFile::GetMaxCacheSize() == 70 && VFile().Length() == 0;
        RaiseProcessDetach();  // as an exit does
        _exit(sound ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    VFile::SetMaxCacheSize(70);
}

TEST(LibraryEvents, WithoutAttachEveryUseStops) {
    EXPECT_FALSE(RaiseProcessAttach()) << "attached already";
    EXPECT_ASSERTION_STOP("VFile", VFile::TLS_InitializeProcess());
    for (bool const keysLeft : {false, true}) {
        RaiseProcessDetach();
        std::vector<std::int32_t> keys;
        while (!keysLeft && (keys.empty() || keys.back() != -1))
            keys.push_back(platform::AllocThreadKey([] {}));
        EXPECT_EQ(RaiseProcessAttach(), keysLeft);
        EXPECT_EQ(VFile_InitializeThread(), keysLeft);
        if (!keysLeft) {
            EXPECT_FALSE(VFile_IsThreadInitialized());
            EXPECT_TRUE(VFile_UninitializeThread());
            EXPECT_ASSERTION_STOP("VFile", VFile());
            EXPECT_ASSERTION_STOP("VFile", VFile::GetTempDir());
            EXPECT_ASSERTION_STOP("VFile", VFile::SetMaxCacheSize(1));
            EXPECT_ASSERTION_STOP("VFile", VFile::TLS_InitializeThread());
            EXPECT_ASSERTION_STOP("VFile", VFile::TLS_UninitializeThread());
            EXPECT_ASSERTION_STOP("VFile", VFile::TLS_UninitializeProcess());
            keys.pop_back();
            for (std::int32_t const key : keys) platform::FreeThreadKey(key);
            EXPECT_TRUE(RaiseProcessAttach());
        }
    }
    EXPECT_EQ(VFile::GetMaxCacheSize(), 70);
}

struct FileWithStorage {
    VFile file{"abc"};
    ~FileWithStorage() { file.ReplaceCh(0, 0, 'x', 200'000); }  // it can still be used
};

TEST(ThreadEndDeathTest, LiveFilesStopAndLateOnesDoNot) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in processes of their own, not in forked children
    EXPECT_EXIT(std::thread([] { new VFile; }).join(), testing::KilledBySignal(SIGABRT),
                "VFile, line .*Assertion");
    EXPECT_EXIT((new VFile, std::exit(0)), testing::KilledBySignal(SIGABRT), "VFile, line ");
    auto const lateFiles = [] {
        static FileWithStorage const ofTheProgram;
        static thread_local FileWithStorage const ofTheThread;
        VFile_IsThreadInitialized();
        static_cast<void>(&ofTheProgram), static_cast<void>(&ofTheThread);
        std::thread([] {
            static thread_local FileWithStorage const ofAnother;
            static_cast<void>(&ofAnother);
        }).join();
        std::exit(0);
    };
    EXPECT_EXIT(lateFiles(), testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace vfile::test
