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
    SetDate(30, 12, 0x10000 + 4031);
    SetTime(23, 59, 58, 999);
    std::int32_t values[7];
    GetDate(values[0], values[1], values[2]);
    GetTime(values[3], values[4], values[5], values[6]);
    EXPECT_EQ(std::to_array(values), (std::array{30, 12, 4031, 23, 59, 58, 999}));
    EXPECT_TRUE(clock.year == 4031 && clock.month == 12 && clock.minute == 59 && clock.second == 58);
}

}  // namespace
}  // namespace vfile
