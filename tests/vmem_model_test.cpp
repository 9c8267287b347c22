// A VMem beside the plain model, through random operations; and the allocator beside a table of who owns what.
#include "support/vmem_model.h"

#include <gtest/gtest.h>
#include <vfile/vmem.h>

#include <algorithm>
#include <random>

#include "support/temp_dir.h"
#include "vmem/invariants.h"

namespace vfile::test {
namespace {

using See = VMemInspector;

constexpr std::int32_t kFarPages = 16384;  // pages so far apart compete for one slot

class Pair {
public:
    explicit Pair(unsigned seed) : random(seed) {
        memory.SetTempDir(dir.Name("").c_str());
        std::int32_t addr = 0;
        for (int i = 0; i < 2 * kFarPages + kRegion + 1; ++i) memory.AllocPage(addr);
    }

    void Step() {
        switch (Below(200)) {
            case 0:
                return memory.FlushCache(), model.Flush();
            case 1:
                return memory.ReleaseCache(), model.Release();
            case 2:
            case 3:
                return Limit(static_cast<std::int16_t>(Below(14)) - 1);
            case 4:
                return Limit(Below(4) == 0 ? 200 : 70);
            default:
                return Touch();
        }
    }

    // The same pages in the same order, and as many of them changed.
    testing::AssertionResult SameCache() const {
        auto want = model.cache.begin();
        for (CacheDesc const* have = See::CacheOf(memory).Newest(); have; have = have->next, ++want) {
            if (want == model.cache.end()) return testing::AssertionFailure() << "too many pages";
            if (have->addr != want->addr || have->dirty != want->dirty) {
                return testing::AssertionFailure()
                       << "page " << have->addr << (have->dirty ? " dirty" : " clean") << ", wanted "
                       << want->addr << (want->dirty ? " dirty" : " clean");
            }
        }
        if (want != model.cache.end()) return testing::AssertionFailure() << "too few pages";
        if (See::SwapOf(memory).Size() != model.swapSize) return testing::AssertionFailure() << "swap size";
        bool const sameKilobytes =
            memory.GetCacheSize() == static_cast<int>(model.cache.size()) * 1036 / 1024;
        return sameKilobytes ? testing::AssertionSuccess() : testing::AssertionFailure() << "cache size";
    }

    void ExpectSound() const {
        char const* const rule = BrokenRule(memory);
        EXPECT_EQ(rule, nullptr) << rule;
    }

private:
    static constexpr int kRegion = 150;  // pages of each of three regions 16 MiB apart that are used

    int Below(int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); }

    void Limit(int kilobytes) {
        memory.SetMaxCacheSize(static_cast<std::int16_t>(kilobytes));
        model.SetLimit(kilobytes);
    }

    // Strolls up or down for a while, then jumps; whole pages, pieces, and ranges over several pages.
    void Touch() {
        if (stroll-- <= 0) {
            stroll = Below(3) == 0 ? Below(90) : 0;
            step = 2 * Below(2) - 1;
            page = Below(3) * kFarPages + Below(kRegion);
        } else {
            int const inRegion = std::clamp(page % kFarPages + step, 0, kRegion - 1);
            page = page / kFarPages * kFarPages + inRegion;
        }
        bool const whole = Below(3) == 0;
        std::int32_t const addr = page * 1024 + (whole ? 0 : Below(1024));
        std::int32_t const room = 2 * kFarPages * 1024 + kRegion * 1024 - addr;
        int const len = std::min(whole ? 1024 : Below(Below(8) == 0 ? 5000 : 300), room);

        if (Below(2) == 0) {
            std::ranges::generate(bytes, [this] { return static_cast<std::byte>(random()); });
            memory.Set(addr, bytes, static_cast<std::int16_t>(len));
            model.Set(addr, bytes, len);
        } else {
            memory.Get(addr, bytes, static_cast<std::int16_t>(len));
            model.Get(addr, expected, len);
            ASSERT_EQ(std::memcmp(bytes, expected, static_cast<std::size_t>(len)), 0) << "at " << addr;
        }
    }

    TempDir dir;
    VMem memory;
    VMemModel model;
    std::mt19937 random;
    int page = 0, step = 1, stroll = 0;
    std::byte bytes[5000] = {}, expected[5000] = {};
};

TEST(VMemModel, SamePagesInTheSameOrderWithTheSameBytes) {
    for (unsigned seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE(seed);
        Pair pair(seed);
        for (int i = 0; i < 50000 && !testing::Test::HasFailure(); ++i) {
            pair.Step();
            ASSERT_TRUE(pair.SameCache()) << "step " << i;
            if (i % 512 == 0) pair.ExpectSound();
        }
        pair.ExpectSound();
    }
}

// Every chunk keeps its own bytes through allocations, releases and a cache of two pages.
TEST(VMemModel, ChunksShareNothing) {
    TempDir dir;
    VMem memory;
    memory.SetTempDir(dir.Name("").c_str());
    memory.SetMaxCacheSize(3);
    struct Chunk {
        std::int32_t addr;
        std::int16_t len;
        unsigned char mark;
        bool isPage;
    };
    std::vector<Chunk> chunks;
    std::mt19937 random(7);
    std::vector<unsigned char> bytes(3000), got(3000);
    for (int i = 0; i < 6000; ++i) {
        if (chunks.size() < 40 || (chunks.size() < 200 && random() % 2 == 0)) {
            Chunk chunk{-1, 1024, static_cast<unsigned char>(i), random() % 4 == 0};
            constexpr unsigned kUsual[] = {1, 4, 5, 6, 10, 100, 1024, 2048};
            if (!chunk.isPage) {
                chunk.len =
                    static_cast<std::int16_t>(random() % 2 ? kUsual[random() % 8] : 1 + random() % 2999);
            }
            chunk.isPage ? memory.AllocPage(chunk.addr) : memory.Alloc(chunk.addr, chunk.len);
            ASSERT_EQ(chunk.isPage ? chunk.addr % 1024 : 0, 0);
            std::ranges::fill(bytes, chunk.mark);
            memory.Set(chunk.addr, bytes.data(), chunk.len);
            chunks.push_back(chunk);
        } else {
            std::swap(chunks[random() % chunks.size()], chunks.back());
            Chunk chunk = chunks.back();
            chunks.pop_back();
            memory.Get(chunk.addr, got.data(), chunk.len);
            bool const intact = std::all_of(got.begin(), got.begin() + chunk.len,
                                            [&](auto byte) { return byte == chunk.mark; });
            ASSERT_TRUE(intact) << "chunk of " << chunk.len << " at " << chunk.addr << ", step " << i;
            chunk.isPage ? memory.DeallocPage(chunk.addr) : memory.Dealloc(chunk.addr, chunk.len);
            ASSERT_EQ(chunk.addr, -1);
        }
        if (i % 128 == 0) {
            char const* const rule = BrokenRule(memory);
            ASSERT_EQ(rule, nullptr) << rule << ", step " << i;
        }
    }
}

}  // namespace
}  // namespace vfile::test
