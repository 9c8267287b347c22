// A VMem beside the plain model, through random operations, failures of its swap file, and want of memory.
#include "support/vmem_model.h"

#include <gtest/gtest.h>
#include <vfile/vmem.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <random>
#include <set>

#include "support/faults.h"
#include "support/halts.h"
#include "vmem/invariants.h"

namespace vfile::test {
namespace {

using See = VMemInspector;

constexpr std::int32_t kFarPages = 16384;  // pages so far apart compete for one slot
constexpr std::int32_t kRegion = 150;      // pages that are used of each of three regions
constexpr std::int32_t kEnd = (2 * kFarPages + kRegion) * 1024;

class Pair {
public:
    explicit Pair(unsigned seed = 0) : random(seed) {
        std::int32_t addr = 0;
        while (addr < kEnd) memory.AllocPage(addr);
    }

    // Does the same to both; what stops is done again when nothing fails any more.
    template <class Operation>
    void Both(Operation operation) {
        if (std::string const halt = HaltOf([&] { operation(memory); }); !halt.empty()) {
            halts.insert(halt);
            faults.reset();
            EXPECT_STREQ(BrokenRule(memory), nullptr);
            operation(memory);
        }
        operation(model);
    }
    void Set(std::int32_t addr, int len = 1024) {
        std::generate_n(bytes[0], len, [&] { return static_cast<std::byte>(random()); });
        Both([&](auto& either) { either.Set(addr, bytes[0], static_cast<std::int16_t>(len)); });
    }
    void Get(std::int32_t addr, int len = 1024) {
        Both([&](auto& either) {
            constexpr bool kOfModel = std::is_same_v<decltype(either), VMemModel&>;
            either.Get(addr, bytes[kOfModel], static_cast<std::int16_t>(len));
        });
        ASSERT_EQ(std::memcmp(bytes[0], bytes[1], static_cast<std::size_t>(len)), 0) << "at " << addr;
    }

    void Step() {
        constexpr std::int16_t kLimits[] = {-1, 0, 1, 2, 3, 4, 5, 7, 9, 12, 70, 70, 200};
        std::int16_t const limit = kLimits[Below(std::size(kLimits))];
        int const kind = Below(200);
        if (kind == 0) return Both([](auto& either) { either.FlushCache(); });
        if (kind == 1) return Both([](auto& either) { either.ReleaseCache(); });
        if (kind < 5) return Both([limit](auto& either) { either.SetMaxCacheSize(limit); });
        Touch();
    }

    // One of the next calls fails or falls short, and perhaps all behind it too.
    void Fail() {
        constexpr Call kCalls[] = {Call::kOpen, Call::kReadAt, Call::kWriteAt, Call::kWriteAt,
                                   Call::kAllocate};
        constexpr int kErrors[] = {EIO, ENOSPC, EINVAL};
        constexpr std::size_t kCuts[] = {700, 2048, 5000};
        auto const kind = static_cast<Fault::Kind>(Below(5));
        faults.reset();
        faults.emplace(Fault{kind, 1 + Below(3), kErrors[Below(3)], kCuts[Below(3)], kCalls[Below(5)]});
    }

    // As the model tells its own.
    std::vector<std::int64_t> State() const {
        std::vector<std::int64_t> state = {memory.GetCacheSize(), See::SwapOf(memory).Size()};
        CacheDesc const* cached = See::CacheOf(memory).Newest();
        for (; cached; cached = cached->next) state.push_back(cached->addr + cached->dirty);
        return state;
    }

    VMem memory;
    VMemModel model;
    std::set<std::string> halts;
    std::optional<Faults> faults;

private:
    int Below(std::size_t n) { return static_cast<int>(random() % n); }

    // Strolls up or down for a while, then jumps; whole pages, pieces, and ranges over several pages.
    void Touch() {
        if (stroll-- <= 0) {
            stroll = Below(3) == 0 ? Below(90) : 0;
            step = 2 * Below(2) - 1;
            region = Below(3) * kFarPages;
            page = Below(kRegion);
        }
        page = std::clamp(page + step, 0, kRegion - 1);
        bool const whole = Below(3) == 0;
        std::int32_t const addr = (region + page) * 1024 + (whole ? 0 : Below(1024));
        int const len = std::min(whole ? 1024 : Below(Below(8) == 0 ? 5000 : 300), kEnd - addr);
        Below(2) ? Set(addr, len) : Get(addr, len);
    }

    std::mt19937 random;
    int region = 0, page = 0, step = 1, stroll = 0;
    std::byte bytes[2][5000] = {};
};

constexpr char const* kExtendFull = "VMem, ExtendFile():\nwriting on swap file failed (disk full?)";
constexpr char const* kFlushFull = "VMem, FlushCachePtr():\nwriting on swap file failed (disk full?)";
constexpr char const* kExtendSeek = "VMem, ExtendFile():\nseeking in swap file failed";
constexpr char const* kFlushSeek = "VMem, FlushCachePtr():\nseeking in swap file failed";
constexpr char const* kFindSeek = "VMem, FindPage():\nseeking in swap file failed";
constexpr char const* kFindRead = "VMem, FindPage():\nreading from swap file failed";
constexpr char const* kNoMemory = "VMem, NewCachePtr():\np==NIL";

// The same pages in the same order with the same bytes. Where anything may fail at any time and throw, still the
// same bytes: what stopped is done again.
TEST(VMemModel, RandomOperations) {
    std::set<std::string> halts;
    for (unsigned seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE(seed);
        bool const fails = seed % 2 == 1;
        Pair pair(seed);
        for (int i = 0; i < 40000 && !testing::Test::HasFailure(); ++i) {
            if (fails && i % 4 == 0) pair.Fail();
            pair.Step();
            ASSERT_TRUE(fails || pair.State() == pair.model.State()) << "step " << i;
            ASSERT_STREQ(i % 512 == 0 && !fails ? BrokenRule(pair.memory) : nullptr, nullptr);
        }
        halts.merge(pair.halts);
    }
    std::set<std::string> const all = {kExtendFull, kFlushFull, kExtendSeek, kFlushSeek,
                                       kFindSeek,   kFindRead,  kNoMemory};
    EXPECT_EQ(halts, all);
}

}  // namespace
}  // namespace vfile::test
