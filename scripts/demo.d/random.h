/// Numbers that look random and are the same on every machine, for the demo's text and its edits.
#pragma once

#include <cstdint>
#include <string_view>

namespace demo {

class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}

    std::uint64_t Next() {
        state += 0x9E3779B97F4A7C15u;
        std::uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }

    /// From 0 to `limit` - 1; `limit` is above 0.
    std::int64_t Below(std::int64_t limit) {
        return static_cast<std::int64_t>(Next() % static_cast<std::uint64_t>(limit));
    }

    std::string_view Word() {
        static constexpr std::string_view kWords[] = {
            "a",    "block", "byte",  "chain", "cold",  "cursor", "page", "edit",  "every", "file", "fresh",
            "goes", "in",    "index", "it",    "line",  "long",   "map",  "moves", "never", "of",   "old",
            "one",  "over",  "past",  "read",  "small", "swap",   "text", "the",   "then",  "where"};
        return kWords[Next() % (sizeof kWords / sizeof *kWords)];
    }

private:
    std::uint64_t state;
};

}  // namespace demo
