// A virtual file on another thread, and in a child process.
#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/host_file.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <functional>
#include <memory>
#include <thread>

#include "support/child.h"
#include "support/halts.h"
#include "support/twin.h"

namespace vfile::test {
namespace {

TEST(VFileThread, CheckedOperationsStopOnAnother) {
    Probe file("0123456789");
    VFile source("abc");
    HFile host;
    std::function<void()> const kCalls[] = {
        [&] { file.SetPos(-1); },
        [&] { file.SetPos(0, 7); },
        [&] { file.Flush(); },
        [&] { file.ReplaceBuf(-1, 0, nullptr, 0); },
        [&] { file.ReplaceCh(-1, 0, 'x', 2000); },
        [&] { file.ReplaceTxt(-1, 0, source, 0, 1); },
        [&] { file.ReplaceFile(-1, 0, host, 1); },
        [&] { file.WriteToFile(host, 1); },
        [&] { file.ReadFile(u"/nowhere/at/all", 0); },
        [&] { file.WriteFile(u"/nowhere/at/all", true); },
        [&] { file.ToggleFlag(0); },
        [&] { VFile().ReplaceTxt(-1, 0, source, 0, 0); },
        [&] { VFile own(source); },
    };
    for (std::int32_t const stored : {ResDone, ResNetworkError}) {  // a stored failure does not hide it
        file.res = stored;
        for (auto const& call : kCalls) {
            SCOPED_TRACE(&call - kCalls);
            std::thread([&] { EXPECT_ASSERTION_STOP("VFile", call()); }).join();
        }
        EXPECT_EQ(file.res, stored);
    }
    EXPECT_EQ(file.GetFlags(), 0);
    EXPECT_EQ(file.GetPos(), 10);
    EXPECT_EQ(AllBytes(file), "0123456789");
}

TEST(VFileThreadDeathTest, DestructionOnAnother) {
    auto const destroy = [] {
        auto file = std::make_unique<VFile>("abc");
        std::thread([&] {
            VFile own;
            file.reset();
            ::_exit(0);
        }).join();
    };
    EXPECT_DEATH(destroy(), "Assertion failure");
}

// Most of it lies in the swap file, which the two processes share.
TEST(VFileFork, ChildLeavesTheParentsFilesAlone) {
    VFile::SetMaxCacheSize(3);
    std::string const bytes = Pattern(100'000);
    auto file = std::make_unique<VFile>(), other = std::make_unique<VFile>();
    for (VFile* const f : {file.get(), other.get()}) f->ReplaceBuf(0, 0, bytes.data(), 100'000);
    auto const child = [&] {
        VFile::SetMaxCacheSize(3);
        unsigned char b;
        EXPECT_ASSERTION_STOP("VFile", other->SetPos(0));
        EXPECT_NE(HaltOf([&] {
                      for (int i = 0; i < 100'000; ++i) other->ReadPrevByte(b);
                  }),
                  "");
        EXPECT_EQ(HaltOf([&] { file.reset(); }), "");
        Twin own(Pattern(60'000, 4));
        EXPECT_ASSERTION_STOP("VFile", own.file.ReplaceTxt(0, 0, *other, 0, 1));
        own.Do([](auto& f) { f.ReplaceTxt(25'000, 10, f, 100, 40'000); });
        EXPECT_EQ(HaltOf([&] { other.reset(); }), "");
        own.Do([](auto& f) { f.ReplaceBuf(0, 0, "more", 4); });
        own.ExpectSameBytes();
        return !testing::Test::HasFailure();
    };
    EXPECT_EQ(InChild(child), 0);
    EXPECT_EQ(AllBytes(*file), bytes);
    other->ReplaceBuf(50'000, 1, "new", 3);
    EXPECT_EQ(AllBytes(*other), std::string(bytes).replace(50'000, 1, "new"));
    VFile::SetMaxCacheSize(70);
}

}  // namespace
}  // namespace vfile::test
