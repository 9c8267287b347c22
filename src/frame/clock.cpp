#include <vfile/clock.h>

#include "platform/platform.h"

namespace vfile {
namespace {

platform::LocalTime Now() {
    platform::LocalTime now;
    platform::ReadLocalTime(now);
    return now;
}

std::uint16_t Field(std::int32_t value) { return static_cast<std::uint16_t>(value); }

}  // namespace

void GetTime(std::int32_t& hour, std::int32_t& minute, std::int32_t& second, std::int32_t& millisecond) {
    platform::LocalTime const now = Now();
    hour = now.hour;
    minute = now.minute;
    second = now.second;
    millisecond = now.millisecond;
}

void SetTime(std::int32_t hour, std::int32_t minute, std::int32_t second, std::int32_t millisecond) {
    platform::LocalTime time = Now();
    time.hour = Field(hour);
    time.minute = Field(minute);
    time.second = Field(second);
    time.millisecond = Field(millisecond);
    platform::WriteLocalTime(time);
}

void GetDate(std::int32_t& day, std::int32_t& month, std::int32_t& year) {
    platform::LocalTime const now = Now();
    day = now.day;
    month = now.month;
    year = now.year;
}

void SetDate(std::int32_t day, std::int32_t month, std::int32_t year) {
    platform::LocalTime date = Now();
    date.day = Field(day);
    date.month = Field(month);
    date.year = Field(year);
    platform::WriteLocalTime(date);
}

}  // namespace vfile
