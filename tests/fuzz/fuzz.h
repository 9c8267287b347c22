// What every fuzz target needs: its entry, the input read piece by piece, and a check that ends the run.
#pragma once

#include "support/test.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

// Not an assertion: it counts in every build.
#define FUZZ_CHECK(condition) \
    ((condition) ? void(0)    \
                 : (std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition), std::abort()))

namespace vfile::test {

class FuzzInput {
public:
    FuzzInput(std::uint8_t const* data, std::size_t size) : next_(data), left_(size) {}

    bool HasMore() const { return left_ > 0; }

    std::uint8_t Byte() { return left_ > 0 ? (--left_, *next_++) : std::uint8_t{0}; }

    // Up to `most` units, none of them NUL. One byte makes one unit, so that letters and signs come often; from 0xF0
    // on it makes one that is far from ASCII.
    TString Units(std::size_t most) {
        TString units;
        while (left_ > 0 && units.size() < most) {
            std::uint8_t const b = Byte();
            if (b == 0) break;
            units += static_cast<TChar>(b < 0xF0 ? b : 0xD7F0 + b * 16);
        }
        return units;
    }

private:
    std::uint8_t const* next_;
    std::size_t left_;
};

}  // namespace vfile::test
