// A virtual file on another thread, and in a child process.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vfile/host_file.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <functional>
#include <memory>
#include <thread>

#include "support/halts.h"
#include "support/model.h"

namespace vfile::test {
namespace {

TEST(VFileThread, CheckedOperationsStopOnAnother) {
    Probe file("0123456789");
    VFile source("abc");
    HFile host;
    struct {
        char const* what;
        std::function<void()> call;
    } const kCalls[] = {
        {"SetPos",                     [&] { file.SetPos(-1); }                            },
        {"SetPos, whence",             [&] { file.SetPos(0, 7); }                          },
        {"Reset",                      [&] { file.Reset(); }                               },
        {"Flush",                      [&] { file.Flush(); }                               },
        {"ReplaceBuf",                 [&] { file.ReplaceBuf(-1, 0, nullptr, 0); }         },
        {"ReplaceCh",                  [&] { file.ReplaceCh(-1, 0, 'x', 2000); }           },
        {"ReplaceTxt",                 [&] { file.ReplaceTxt(-1, 0, source, 0, 1); }       },
        {"ReplaceFile",                [&] { file.ReplaceFile(-1, 0, host, 1); }           },
        {"ReplaceFile, handle",        [&] { file.ReplaceFile(-1, 0, InvalidHandle(), 1); }},
        {"ReadFromFile",               [&] { file.ReadFromFile(host, 1); }                 },
        {"WriteFromFile",              [&] { file.WriteFromFile(InvalidHandle(), 1); }     },
        {"Write",                      [&] { file.Write(host, 1); }                        },
        {"WriteToFile",                [&] { file.WriteToFile(host, 1); }                  },
        {"WriteToFile, handle",        [&] { file.WriteToFile(InvalidHandle(), 1); }       },
        {"ReadFile",                   [&] { file.ReadFile(u"/nowhere/at/all", 0); }       },
        {"WriteFile",                  [&] { file.WriteFile(u"/nowhere/at/all", true); }   },
        {"Load",                       [&] { file.Load(u"/nowhere/at/all", 0); }           },
        {"Save",                       [&] { file.Save(u"/nowhere/at/all", true); }        },
        {"ToggleFlag",                 [&] { file.ToggleFlag(0); }                         },
        {"SetFlags",                   [&] { file.SetFlags(0); }                           },
        {"InclFlag",                   [&] { file.InclFlag(1); }                           },
        {"ExclFlag",                   [&] { file.ExclFlag(1); }                           },
        {"SetFlag",                    [&] { file.SetFlag(1, true); }                      },
        {"a source of another thread",
         [&] {
             VFile own;
             own.ReplaceTxt(-1, 0, source, 0, 0);
         }                                                                                 },
        {"a copy of another thread's", [&] { VFile own(source); }                          },
    };
    CatchHalts catching;
    for (std::int32_t const stored : {ResDone, ResNetworkError}) {  // a stored failure does not hide it
        file.res = stored;
        for (auto const& c : kCalls) {
            SCOPED_TRACE(c.what);
            std::string halt;
            std::thread([&] {
                try {
                    c.call();
                } catch (HaltCaught const& caught) {
                    halt.assign(caught.message.begin(), caught.message.end());
                }
            }).join();
            EXPECT_EQ(halt.rfind("VFile, line ", 0), 0u) << halt;
            EXPECT_NE(halt.find(":\nAssertion failure"), std::string::npos) << halt;
        }
        EXPECT_EQ(file.res, stored);
    }
    EXPECT_EQ(file.GetFlags(), 0);
    EXPECT_EQ(file.GetPos(), 10);
    EXPECT_EQ(AllBytes(file), "0123456789");
}

TEST(VFileThreadDeathTest, DestructionOnAnother) {
    EXPECT_DEATH(
        {
            auto file = std::make_unique<VFile>("abc");
            std::thread([&] { file.reset(); }).join();
        },
        "Assertion failure");
}

// What a child does: 0 when all is as it should be, else the step that was not.
int InChild(std::unique_ptr<VFile>& parents, std::unique_ptr<VFile>& other) {
    std::string taste(3000, '\0');
    auto const stops = [](auto act) { return !HaltOf(act).empty(); };
    if (!stops([&] {
            for (int i = 0; i < 60; ++i) other->ReadBytes(taste.data(), 3000);
        }))
        return 1;
    if (!stops([&] { other->SetPos(0), other->ReplaceBuf(0, 0, taste.data(), 3000), other->SetPos(MaxLen); }))
        return 2;
    if (!HaltOf([&] { parents.reset(); }).empty()) return 3;
    VFile::SetMaxCacheSize(3);
    {
        Twin own(Pattern(60'000, 4));
        own.Do([](auto& f) { f.ReplaceTxt(25'000, 10, f, 100, 40'000); });
        own.ExpectSameBytes();
        if (!HaltOf([&] { other.reset(); }).empty()) return 4;
        own.Do([](auto& f) { f.ReplaceBuf(0, 0, "more", 4); });
        own.ExpectSameBytes();
    }
    VFile again("again");
    return AllBytes(again) == "again" && !testing::Test::HasFailure() ? 0 : 5;
}

TEST(VFileFork, ChildLeavesTheParentsFilesAlone) {
    std::int16_t const limit = VFile::GetMaxCacheSize();
    VFile::SetMaxCacheSize(3);  // nearly all of it lies in the swap file, which the two processes share
    std::string const bytes = Pattern(100'000);
    auto file = std::make_unique<VFile>(), other = std::make_unique<VFile>();
    for (VFile* const f : {file.get(), other.get()}) f->ReplaceBuf(0, 0, bytes.data(), 100'000), f->SetPos(0);
    pid_t const child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) ::_exit(InChild(file, other));
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "the step of the child that went wrong";
    EXPECT_EQ(AllBytes(*file), bytes);
    other->ReplaceBuf(50'000, 1, "new", 3);
    EXPECT_EQ(AllBytes(*other), std::string(bytes).replace(50'000, 1, "new"));
    VFile::SetMaxCacheSize(limit);
}

}  // namespace
}  // namespace vfile::test
