// What the random run cannot meet: reasons to refuse, threads and processes, want of memory and of addresses.
#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/thread.h>
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>

#include <memory>
#include <optional>
#include <thread>

#include "support/child.h"
#include "support/faults.h"
#include "support/halts.h"
#include "support/host_source.h"
#include "vfile/thread_slots.h"

namespace vfile::test {
namespace {

constexpr char kTen[] = "0123456789";

// For each kind of change and each set of reasons. The longest length is set by hand, since 2 GiB would take
// hours; a change that keeps it gets as far as the hook.
TEST(VFileEdges, FirstReasonToRefuseCounts) {
    HostSource source(kTen);
    VFile const other("ab");
    for (unsigned row = 0; row < 5 * 63; ++row) {
        unsigned const kind = row / 63, reasons = 1 + row % 63;
        SCOPED_TRACE(testing::Message() << "kind " << kind << ", reasons " << reasons);
        bool const bad = reasons & 16, tooLong = reasons & 2;
        std::int32_t const start = bad ? -1 : 5, delLen = tooLong ? 1 : 2;
        Probe file(kTen);
        source.At(0);
        file.SetPos(3);
        file.Begin({.act = Script::kVeto, .veto = 24});
        if (reasons & 32) file.res = ResNetworkError;
        VFileInspector::Flags(file) = (reasons & 8 ? VFile::Locked : 0) | (reasons & 4 ? VFile::ReadOnly : 0);
        VFileInspector::Length(file) = MaxLen;
        kind == 0   ? file.ReplaceBuf(start, delLen, "ab", 2)
        : kind == 1 ? file.ReplaceCh(start, delLen - 1, 'x', 1)
        : kind == 2 ? file.ReplaceTxt(start, delLen, other, 0, 2)
        : kind == 3 ? file.ReplaceFile(start, delLen, source.file, 2)
                    : file.ReplaceFile(start, delLen, source.AsHandle(file), 2);
        VFileInspector::Length(file) = 10;
        EXPECT_EQ(file.res, reasons & 32  ? ResNetworkError
                            : bad         ? ResCallError
                            : reasons & 8 ? ResContextError
                            : reasons & 4 ? ResReadOnly
                            : tooLong     ? ResTooLong
                                          : 24);
        EXPECT_EQ(file.GetPos(), reasons == 1 ? 5 : 3);
        EXPECT_EQ(AllBytes(file), kTen);
    }
}

// A file that cannot come into being leaves the thread as if it had never been asked for.
TEST(VFileEdges, NoMemoryForTheFirstFileOfAThread) {
    std::thread([] {
        int stops = 0;
        for (int n = 1, last = -1; last < stops; ++n) {
            last = stops;
            VFile::SetMaxCacheSize(33);
            std::string const halt = HaltOf([&] {
                Faults const faults({.nth = n, .only = Call::kAllocate});
                VFile file;
            });
            stops += !halt.empty();
            EXPECT_TRUE(VFile::GetCacheSize() == 0 && VFile::GetMaxCacheSize() == 33);
            EXPECT_EQ(VFile("again").res, ResDone);
        }
        EXPECT_GT(stops, 1);
        EXPECT_TRUE(VFile_UninitializeThread());  // stops when a file is still counted
    }).join();
}

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
