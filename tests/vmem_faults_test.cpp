// How many calls the swap file costs, and what remains when they fail or fall short.
#include <gtest/gtest.h>
#include <vfile/vmem.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>

#include "support/halts.h"
#include "support/temp_dir.h"
#include "support/vmem_calls.h"
#include "vmem/invariants.h"

namespace vfile::test {
namespace {

using See = VMemInspector;

void ExpectSound(VMem const& memory) {
    char const* const rule = BrokenRule(memory);
    EXPECT_EQ(rule, nullptr) << rule;
}

// A memory whose page n is filled with the value of n, until something else is set.
class Filled {
public:
    explicit Filled(int pages, int kilobytes = 70) {
        memory.SetTempDir(dir.Name("").c_str());
        memory.SetMaxCacheSize(static_cast<std::int16_t>(kilobytes));
        std::int32_t addr = -1;
        for (int i = 0; i < pages; ++i) memory.AllocPage(addr);
        for (int i = 0; i < pages; ++i) Set(i, i);
    }
    ~Filled() { PassAll(); }
    static void PassAll() {
        for (Script* script : {&opens, &reads, &writes, &allocations}) script->Play({});
    }
    void Set(int page, int value) {
        unsigned char bytes[1024];
        std::memset(bytes, value, sizeof bytes);
        memory.Set(page * 1024, bytes, 1024);
    }
    bool Has(int page, int value) {
        unsigned char bytes[1024];
        memory.Get(page * 1024, bytes, 1024);
        return std::ranges::all_of(bytes, [value](unsigned char byte) { return byte == value % 256; });
    }
    std::string Dirty() const {
        std::string pages;
        for (CacheDesc const* page = See::CacheOf(memory).Newest(); page; page = page->next) {
            if (page->dirty) pages += std::to_string(page->addr / 1024) + " ";
        }
        return pages;
    }

    TempDir dir;
    VMem memory;
};

TEST(VMemCalls, TransfersAreLarge) {
    constexpr int kPages = 2048;
    writes.Play({});
    reads.Play({});
    Filled file(kPages);
    EXPECT_LE(writes.calls, kPages / 64u);
    for (int page = 0; page < kPages; ++page) file.Set(page, page);
    EXPECT_EQ(reads.calls, 0u) << "a page that is covered whole is not read first";
    file.memory.FlushCache();
    std::size_t const flushed = writes.calls;
    file.memory.FlushCache();
    file.memory.ReleaseCache();
    EXPECT_EQ(writes.calls, flushed) << "nothing has changed";

    for (int direction : {1, -1}) {
        reads.Play({});
        file.memory.ReleaseCache();
        for (int i = 0; i < kPages; ++i) {
            int const page = direction > 0 ? i : kPages - 1 - i;
            ASSERT_TRUE(file.Has(page, page));
        }
        EXPECT_LE(reads.calls, kPages / 32u + 2);
    }

    reads.Play({});
    file.memory.ReleaseCache();
    for (int i = 0; i < 512; ++i) {  // four runs, two of them downwards
        for (int page : {i, 1023 - i, 1024 + i, 2047 - i}) ASSERT_TRUE(file.Has(page, page));
    }
    EXPECT_LE(reads.calls, kPages / 32u + 8);
    ExpectSound(file.memory);
}

constexpr char const* kAll = "7 6 5 4 3 2 1 0 ";
constexpr char const* kExtendFull = "VMem, ExtendFile():\nwriting on swap file failed (disk full?)";
constexpr char const* kFlushFull = "VMem, FlushCachePtr():\nwriting on swap file failed (disk full?)";
constexpr char const* kExtendSeek = "VMem, ExtendFile():\nseeking in swap file failed";
constexpr char const* kFlushSeek = "VMem, FlushCachePtr():\nseeking in swap file failed";
constexpr char const* kFindSeek = "VMem, FindPage():\nseeking in swap file failed";
constexpr char const* kFindRead = "VMem, FindPage():\nreading from swap file failed";

// Pages 0 to 7 are dirty, page 7 the newest. With `hole` they are in the file already and page 5 is clean.
TEST(VMemFaults, WhatWasWrittenIsCleanAndNothingIsLost) {
    struct {
        char const* what;
        bool hole;
        std::vector<long> steps;
        char const *halt, *dirty;
    } const cases[] = {
        {"the run goes in one call",        false, {kPass, -EIO},                     "",          ""          },
        {"the page alone, the run refused", false, {-EIO, kPass, kPass, kPass, -EIO}, "",          ""          },
        {"the page alone, the run short",   false, {3172, -ENOSPC},                   "",          ""          },
        {"a write of no byte",              false, {0, kPass, kPass},                 "",          ""          },
        {"the next run fails",              true,  {2048, -EIO, 0, 500, -EIO},        kFlushFull,  "4 3 2 1 0 "},
        {"short, then full",                false, {3172, -ENOSPC, -ENOSPC},          kExtendFull, "7 6 5 4 3 "},
        {"full when the file grows",        false, {-ENOSPC, 2500, -ENOSPC},          kExtendFull, kAll        },
        {"full at the page itself",         false, {-ENOSPC, kPass, -ENOSPC},         kFlushFull,  kAll        },
        {"short at the page itself",        false, {-ENOSPC, kPass, 1023, -ENOSPC},   kFlushFull,  kAll        },
        {"no such position",                false, {-EINVAL, -EINVAL},                kExtendSeek, kAll        },
        {"no such position for the page",   false, {-EINVAL, kPass, -EINVAL},         kFlushSeek,  kAll        },
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        Filled file(8);
        if (c.hole) {
            file.memory.FlushCache();
            for (int page : {0, 1, 2, 3, 4, 6, 7}) file.Set(page, page);
        }
        writes.Play(c.steps);
        EXPECT_EQ(HaltOf([&] { file.memory.FlushCache(); }), c.halt);
        EXPECT_EQ(file.Dirty(), c.dirty);
        ExpectSound(file.memory);

        writes.Play({});
        file.memory.ReleaseCache();
        for (int page = 0; page < 8; ++page) EXPECT_TRUE(file.Has(page, page)) << page;
        EXPECT_EQ(See::SwapOf(file.memory).Size(), 8 * 1024);
        ExpectSound(file.memory);
    }
}

TEST(VMemFaults, APageThatCannotBeRead) {
    struct {
        int page;
        std::vector<long> steps;
        std::string halt;
    } const cases[] = {
        {50, {-EIO},           kFindRead},
        {50, {0},              kFindRead},
        {50, {500, 0},         kFindRead},
        {50, {-EINVAL},        kFindSeek},
        {50, {500, kPass},     ""       },
        {50, {500, -EINVAL},   kFindRead},
        {33, {-EIO, kPass},    ""       }, // a run that fails decides nothing
        {33, {2048, 0, kPass}, ""       },
        {31, {-EIO, -EIO},     kFindRead},
    };
    for (auto const& c : cases) {
        Filled file(100, 10);
        EXPECT_TRUE(file.Has(32, 32));  // so that 31 and 33 begin a run
        reads.Play(c.steps);
        EXPECT_EQ(HaltOf([&] { file.Has(c.page, c.page); }), c.halt) << "page " << c.page;
        ExpectSound(file.memory);
        reads.Play({});
        EXPECT_TRUE(file.Has(c.page, c.page));
    }
}

// Anything may fail at any time and throw; what stopped is done again, and no byte is wrong in the end.
TEST(VMemFaults, StopsThatThrowLoseNothing) {
    constexpr int kPages = 120;
    Filled file(kPages, 0);
    std::mt19937 random(11);
    int values[kPages];
    for (int i = 0; i < kPages; ++i) values[i] = i;
    int halts = 0, at = 0;
    for (int i = 0; i < 20000; ++i) {
        at = random() % 4 == 0 ? static_cast<int>(random() % kPages)
                               : (at + (i / 256 % 2 ? 1 : kPages - 1)) % kPages;
        constexpr long kSteps[] = {kPass, kPass, kPass, -EIO, -ENOSPC, -EINVAL, 0, 700, 2048, 5000};
        auto const step = [&] { return kSteps[random() % std::size(kSteps)]; };
        if (random() % 4 == 0) {
            writes.Play({step(), step(), step()});
            reads.Play({step(), step()});
            allocations.Play({random() % 4 ? kPass : -ENOMEM, random() % 4 ? kPass : -ENOMEM});
        }
        auto const value = static_cast<int>(random() % 256);
        auto const kind = random() % 64;
        std::string const halt = HaltOf([&] {
            if (kind == 0) return file.memory.FlushCache();
            if (kind == 1) return file.memory.ReleaseCache();
            if (kind == 2) return file.memory.SetMaxCacheSize(static_cast<std::int16_t>(random() % 90));
            if (kind % 2 == 0) return file.Set(at, values[at] = value);
            ASSERT_TRUE(file.Has(at, values[at])) << "page " << at << ", step " << i;
        });
        if (halt.empty()) continue;
        ++halts;
        Filled::PassAll();
        ExpectSound(file.memory);
        if (kind > 2 && kind % 2 == 0) file.Set(at, value);
        if (HasFailure()) FAIL() << "step " << i << ": " << halt;
    }
    Filled::PassAll();
    EXPECT_GT(halts, 100);
    for (int page = 0; page < kPages; ++page) EXPECT_TRUE(file.Has(page, values[page])) << page;
}

TEST(VMemFaults, AGapThatCannotBeKeptIsNoGap) {
    Filled file(2, 0);
    std::int32_t addr = -1, page = -1;
    file.memory.Alloc(addr, 100);
    writes.Play({-EIO});
    EXPECT_EQ(HaltOf([&] { file.memory.AllocPage(page); }), kFlushFull);
    EXPECT_EQ(page, -1);
    EXPECT_EQ(See::MaxAddress(file.memory), 2148);
    ExpectSound(file.memory);
    file.memory.AllocPage(page);
    EXPECT_EQ(page, 3072);
}

// The nth allocation fails: with "p==NIL", or unnoticed where the memory can do without.
TEST(VMemFaults, WantOfMemory) {
    for (std::size_t n = 1;; ++n) {
        TempDir dir;
        TString const name = dir.Name("");
        allocations.Play({});
        allocations.steps.assign(n, kPass);
        allocations.steps.back() = -ENOMEM;
        std::string const halt = HaltOf([&] {
            VMem memory;
            memory.SetTempDir(name.c_str());
            memory.SetMaxCacheSize(200);
            std::int32_t addr = -1;
            for (int i = 0; i < 170; ++i) memory.AllocPage(addr);
            for (std::int32_t i = 0; i < 170; ++i) memory.Set(i * 1024, i);
            memory.ReleaseCache();
            for (std::int32_t i = 0, got = -1; i < 170; ++i) {
                memory.Get(i * 1024, got);
                EXPECT_EQ(got, i);
            }
            ExpectSound(memory);
        });
        bool const fired = allocations.calls >= n;
        allocations.Play({});
        EXPECT_TRUE(halt.empty() || halt == "VMem, NewCachePtr():\np==NIL") << halt;
        if (!fired) break;
        EXPECT_FALSE(n <= 5 && halt.empty()) << "allocation " << n << " is one that a VMem needs";
    }
}

TEST(VMemFaults, OnlyATakenNameIsTriedAgain) {
    struct {
        std::vector<long> steps;
        std::size_t calls;
        bool made;
    } const cases[] = {
        {{kPass},                     1, true },
        {{-EEXIST, -EEXIST, -EEXIST}, 4, true },
        {{-EACCES},                   1, false},
        {{-EEXIST, -EMFILE},          2, false},
        {{-ENOSPC},                   1, false},
    };
    for (auto const& c : cases) {
        Filled file(1);
        opens.Play(c.steps);
        std::string const halt = HaltOf([&] { file.memory.FlushCache(); });
        EXPECT_EQ(halt, c.made ? "" : "VMem, FlushCachePtr():\nswap file creation failed");
        EXPECT_EQ(opens.calls, c.calls);
        EXPECT_EQ(file.Dirty(), c.made ? "" : "0 ");
        ExpectSound(file.memory);
    }
}

}  // namespace
}  // namespace vfile::test
