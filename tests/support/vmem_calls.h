// A script for the system calls of a swap file: what becomes of the next opens, reads, writes and allocations. The
// linker's --wrap leads the calls here. Without a script all calls pass.
#pragma once

#include <climits>
#include <cstddef>
#include <utility>
#include <vector>

namespace vfile::test {

inline constexpr long kPass = LONG_MAX;  // 0 and above: so many bytes move; below 0: fails with the error -n

struct Script {
    std::vector<long> steps;
    std::size_t calls = 0;

    void Play(std::vector<long> next) {
        steps = std::move(next);
        calls = 0;
    }
    long Next() { return calls++ < steps.size() ? steps[calls - 1] : kPass; }
};

extern Script opens, reads, writes, allocations;

}  // namespace vfile::test
