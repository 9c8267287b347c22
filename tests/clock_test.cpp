// The clock of the library and that of the platform below it. The linker leads the system's calls through here, so
// that no test depends on the time or changes it.
#include "platform/platform.h"
#include "support/test.h"

static timespec clockShows{};

extern "C" {

int __wrap_clock_gettime(clockid_t, timespec* time) {
    *time = clockShows;
    return 0;
}
int __wrap_clock_settime(clockid_t, timespec const* time) {
    clockShows = *time;
    return 0;
}
}

namespace vfile::platform {

TEST(Clock, LocalTimeBothWays) {
    ASSERT_EQ(setenv("TZ", "ABC-3:30", 1), 0);  // three and a half hours east
    tzset();
    LocalTime const leapDay{2024, 2, 29, 1, 2, 3, 456};
    LocalTime now{};
    EXPECT_TRUE(WriteLocalTime(leapDay));
    ReadLocalTime(now);
    EXPECT_EQ(std::memcmp(&now, &leapDay, sizeof now), 0);
    EXPECT_EQ(clockShows.tv_sec, 1'709'155'923);  // 2024-02-28 21:32:03 UTC
    EXPECT_EQ(TickCount(), 1'709'155'923'456ull % (1ull << 32));

    std::int32_t day, month, year, hour, minute, second, millisecond;
    SetTime(23, 58, 57, 65536 + 999);
    SetDate(31, 12, 2023);  // each leaves the other's fields
    GetDate(day, month, year);
    GetTime(hour, minute, second, millisecond);
    EXPECT_EQ((std::vector{day, month, year, hour, minute, second, millisecond}),
              (std::vector{31, 12, 2023, 23, 58, 57, 999}));
    EXPECT_EQ(clockShows.tv_sec, 1'704'054'537);  // 2023-12-31 20:28:57 UTC

    constexpr std::uint16_t kWrong[] = {2023, 13, 30, 24, 60, 60, 1000};
    for (std::size_t i = 0; i < std::size(kWrong); ++i) {
        std::memcpy(&now, &leapDay, sizeof now);
        std::memcpy(&now.year + i, kWrong + i, sizeof kWrong[i]);
        EXPECT_TRUE(!WriteLocalTime(now) && LastError() == kInvalidParameter) << i;
    }
    unsetenv("TZ");
    tzset();
}

}  // namespace vfile::platform
