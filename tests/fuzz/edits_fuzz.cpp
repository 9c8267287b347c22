// Operations in any order against the model: the random run, with its choices made by the input.
#include "fuzz/fuzz.h"
#include "support/random_run.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace vfile::test;
    testing::GTEST_FLAG(break_on_failure) = true;
    FuzzInput input(data, size);
    RandomRun run([&input] {
        std::uint32_t const high = input.Byte();
        return high << 8 | input.Byte();
    });
    while (input.HasMore()) run.Step();
    return 0;
}
