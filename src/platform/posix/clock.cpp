#include <cerrno>
#include <chrono>
#include <ctime>

#include "platform/platform.h"
#include "platform/posix/errors.h"

namespace vfile::platform {

namespace {

bool IsValid(LocalTime const& time) {
    auto const date = std::chrono::year{time.year} / time.month / time.day;
    return date.ok() && time.hour < 24 && time.minute < 60 && time.second < 60 && time.millisecond < 1000;
}

}  // namespace

void ReadLocalTime(LocalTime& time) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    auto const field = [](long value) { return static_cast<std::uint16_t>(value); };
    time = {field(local.tm_year + 1900),   field(local.tm_mon + 1), field(local.tm_mday),
            field(local.tm_hour),          field(local.tm_min),     field(local.tm_sec),
            field(now.tv_nsec / 1'000'000)};
}

bool WriteLocalTime(LocalTime const& time) {
    // mktime would carry a 61st minute into the next hour.
    if (!IsValid(time)) return Fail(EINVAL);
    tm local{};
    local.tm_year = time.year - 1900;
    local.tm_mon = time.month - 1;
    local.tm_mday = time.day;
    local.tm_hour = time.hour;
    local.tm_min = time.minute;
    local.tm_sec = time.second;
    local.tm_isdst = -1;
    std::time_t const seconds = mktime(&local);
    if (seconds == -1) return Fail(EINVAL);
    timespec const wanted{seconds, time.millisecond * 1'000'000L};
    return clock_settime(CLOCK_REALTIME, &wanted) == 0 || Fail(errno);
}

std::uint32_t TickCount() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    auto const milliseconds = std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
    return static_cast<std::uint32_t>(milliseconds);
}

}  // namespace vfile::platform
