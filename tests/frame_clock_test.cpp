// The clock's fields and their order, on a clock that stands still: the two platform operations are this file's own.
#include <gtest/gtest.h>
#include <vfile/clock.h>

#include <array>

#include "platform/platform.h"

namespace vfile {
namespace {

platform::LocalTime clock;

}  // namespace

void platform::ReadLocalTime(LocalTime& time) { time = clock; }
bool platform::WriteLocalTime(LocalTime const& time) {
    clock = time;
    return false;  // a refusal is not looked at
}

namespace {

TEST(Clock, EachFieldInItsPlace) {
    clock = {2031, 4, 5, 6, 7, 8, 999};
    std::int32_t a, b, c, d;
    GetTime(a, b, c, d);
    EXPECT_EQ((std::array{a, b, c, d}), (std::array{6, 7, 8, 999}));
    GetDate(a, b, c);
    EXPECT_EQ((std::array{a, b, c}), (std::array{5, 4, 2031}));
    SetTime(23, 59, 0x10001, 1);
    SetDate(30, 12, -1);
    auto const& [year, month, day, hour, minute, second, millisecond] = clock;
    EXPECT_EQ((std::array{hour, minute, second, millisecond}), (std::array<std::uint16_t, 4>{23, 59, 1, 1}));
    EXPECT_EQ((std::array{day, month, year}), (std::array<std::uint16_t, 3>{30, 12, 0xFFFF}));
}

}  // namespace
}  // namespace vfile
