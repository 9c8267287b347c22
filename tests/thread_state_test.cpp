// A thread's state from its first use of the library to its end, and the settings that it keeps.
#include <gtest/gtest.h>
#include <vfile/thread.h>
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>

#include <cstdlib>
#include <optional>
#include <thread>

#include "support/child.h"
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

TEST(ThreadState, SettingsOutliveTheMemoryAndEndWithTheState) {
    OnFreshThread([] {
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
            EXPECT_EQ(TString(VFile::GetTempDir()), u"/late");
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
    });
    OnFreshThread([] { ExpectSettings(70, u"none"); });
}

TEST(ThreadState, EndLooksAtEachSlot) {
    for (int slots = 1; slots < 8; ++slots) {
        OnFreshThread([=] {
            int object = 0;
            TLS_SetFileCount(slots & 1);
            if (slots & 2) TLS_SetVMem(reinterpret_cast<VMem*>(&object));
            if (slots & 4) TLS_SetBlkPool(reinterpret_cast<BlkPool*>(&object));
            EXPECT_ASSERTION_STOP("VFile", VFile_UninitializeThread());
            NoteHalts halts;
            EXPECT_TRUE(VFile_IsThreadInitialized() && VFile_UninitializeThread());
            EXPECT_EQ(std::ssize(halts.Take()), slots % 2 + slots / 2 % 2 + slots / 4);
        });
    }
}

TEST(LibraryEvents, WithoutAttachEveryUseStops) {
    EXPECT_ASSERTION_STOP("VFile", RaiseProcessAttach() || VFile::TLS_InitializeProcess());
    RaiseProcessDetach();
    EXPECT_FALSE(VFile_InitializeThread() || VFile_IsThreadInitialized());
    void (*const uses[])() = {[] { VFile(); }, [] { VFile::GetTempDir(); },
                              [] { VFile::TLS_InitializeThread(); },
                              [] { VFile::TLS_UninitializeProcess(); }};
    for (auto const use : uses) EXPECT_ASSERTION_STOP("VFile", use());
    EXPECT_TRUE(RaiseProcessAttach());
    ExpectSettings(70, u"none");
}

TEST(ThreadState, ChildOfAForkStartsAfresh) {
    VFile const parents;
    VFile::SetMaxCacheSize(33);
    EXPECT_EQ(InChild([] {
                  bool const fresh = TLS_GetFileCount() == 0 && !TLS_GetVMem();
                  ExpectSettings(70, u"none");
                  RaiseProcessDetach();  // as an exit does
                  return fresh && !testing::Test::HasFailure();
              }),
              0);
    ExpectSettings(33, u"none");
}

std::optional<VFile> fileOfTheProgram;

TEST(ThreadStateDeathTest, LiveFilesStopAndLateOnesDoNot) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in processes of their own, not in forked children
    EXPECT_EXIT(OnFreshThread([] { new VFile; }), testing::KilledBySignal(SIGABRT), "VFile, line ");
    EXPECT_EXIT((new VFile, std::exit(0)), testing::KilledBySignal(SIGABRT), "VFile, line ");
    auto const lateFiles = [] {
        fileOfTheProgram.emplace('x', 200'000);
        OnFreshThread([] { static thread_local VFile late('x', 200'000); });
        std::exit(0);
    };
    EXPECT_EXIT(lateFiles(), testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace vfile::test
