// A long random run, whose seed is printed and can be given.
#include "support/random_run.h"
#include "support/test.h"

namespace vfile::test {
namespace {

constexpr std::uint32_t kEpoch = 20'000;  // operations between two choices of cache and size

std::uint32_t FromEnvironment(char const* name, std::uint32_t otherwise) {
    char const* const text = std::getenv(name);
    return text ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)) : otherwise;
}

TEST(VFileRandom, BehavesLikeItsModel) {
    std::uint32_t const seed = FromEnvironment("VFILE_TEST_SEED", std::random_device{}());
    std::uint32_t const operations = FromEnvironment("VFILE_TEST_OPERATIONS", 1'200'000);
    std::printf("VFILE_TEST_SEED=%u, %u operations\n", seed, operations);
    RandomRun run(std::mt19937{seed});
    for (std::uint32_t n = 1; n <= operations; ++n) {
        run.Step();
        if (HasFailure()) FAIL() << "at operation " << n << " of seed " << seed;
        if (n % kEpoch == 0) run.NewEpoch();
    }
    EXPECT_GT(run.applied, operations / 4) << "too many operations were refused";
    EXPECT_GT(run.exchanged, operations / 500) << "too few files changed places";
}

// Each has memory, settings and files of its own.
TEST(VFileRandom, ThreadsDoNotMeet) {
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < 8; ++i) {
        threads.emplace_back([i] {
            RandomRun run(std::mt19937{i}, false);
            for (int n = 0; n < 100'000 && !HasFailure(); ++n) run.Step();
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace vfile::test
