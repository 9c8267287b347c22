// Threads, forks, the clock and the last words. The linker leads the clock's calls through here, so that no test
// depends on the time or changes it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/platform.h"
#include "support/child.h"

namespace {

std::optional<timespec> clockShows;
timespec clockSetTo{};

}  // namespace

extern "C" {

int __real_clock_gettime(clockid_t clock, timespec* time);
int __wrap_clock_gettime(clockid_t clock, timespec* time) {
    if (!clockShows) return __real_clock_gettime(clock, time);
    *time = *clockShows;
    return 0;
}

int __wrap_clock_settime(clockid_t, timespec const* time) {
    clockSetTo = *time;
    return 0;
}
}

namespace vfile::platform {

using test::InChild;

namespace {

std::int32_t key = -1;
std::string ended;  // what happened at the end of a thread, in order
void* wordAtEnd = nullptr;
std::atomic<int> childHandlers = 0;

void AtThreadEnd() {
    ended += 'k';
    wordAtEnd = GetThreadWord(key);
    SetThreadWord(key, nullptr);
}

struct AtExitOfThread {
    ~AtExitOfThread() { ended += 'o'; }
};

void EndThreadWithWord(void* word) {
    ended.clear();
    wordAtEnd = nullptr;
    std::thread([word] {
        EXPECT_EQ(GetThreadWord(key), nullptr) << "a thread begins without a word";
        SetThreadWord(key, word);
        thread_local AtExitOfThread object;
        [[maybe_unused]] auto const* const used = &object;
    }).join();
}

}  // namespace

TEST(Threads, AWordEndsWithItsThreadAndAfterItsObjects) {
    int word = 0;
    key = AllocThreadKey(AtThreadEnd);
    ASSERT_GE(key, 0);
    EXPECT_TRUE(SetThreadWord(key, &key));
    EndThreadWithWord(&word);
    EXPECT_EQ(ended, "ok");
    EXPECT_EQ(wordAtEnd, &word);
    EXPECT_EQ(GetThreadWord(key), &key) << "each thread has its own";
    EndThreadWithWord(nullptr);
    EXPECT_EQ(ended, "o");

    std::atomic<bool> freed = false, set = false;
    ended.clear();
    std::thread late([&] {
        SetThreadWord(key, &word);
        set = true;
        while (!freed) std::this_thread::yield();
    });
    while (!set) std::this_thread::yield();
    EXPECT_TRUE(FreeThreadKey(key));
    freed = true;
    late.join();
    EXPECT_EQ(ended, "") << "a freed key calls nothing";
}

TEST(Threads, KeysEndAndUnderNoKeyThereIsNoWord) {
    std::vector<std::int32_t> keys;
    for (std::int32_t next; keys.size() < 1000 && (next = AllocThreadKey(AtThreadEnd)) != -1;)
        keys.push_back(next);
    EXPECT_EQ(LastError(), kNotEnoughMemory);
    EXPECT_GE(keys.size(), 4u);
    for (std::int32_t const one : keys) EXPECT_TRUE(SetThreadWord(one, &keys) && FreeThreadKey(one));
    keys.insert(keys.end(), {-1, 1000, INT32_MIN, INT32_MAX});
    for (std::int32_t const none : keys) {
        EXPECT_EQ(GetThreadWord(none), nullptr);
        EXPECT_FALSE(SetThreadWord(none, &keys));
        EXPECT_FALSE(FreeThreadKey(none));
    }
    for (int i = 0; i < 2000; ++i) {  // more than a process has
        key = AllocThreadKey(AtThreadEnd);
        EXPECT_EQ(GetThreadWord(key), nullptr) << "the word of an earlier key";
        ASSERT_TRUE(SetThreadWord(key, &keys) && FreeThreadKey(key));
    }
}

TEST(Threads, AThreadKnowsItselfItsFirstCallAndItsErrors) {
    std::uint32_t const mine = CurrentThreadId();
    FirstCallOfThread();
    SetLastError(kDiskFull);
    std::thread([mine] {
        EXPECT_TRUE(CurrentThreadId() != 0 && CurrentThreadId() != mine);
        EXPECT_EQ(LastError(), kNoError);
        EXPECT_TRUE(FirstCallOfThread());
        EXPECT_FALSE(FirstCallOfThread());
        SetLastError(kDataError);
    }).join();
    EXPECT_EQ(CurrentThreadId(), mine);
    EXPECT_FALSE(FirstCallOfThread());
    EXPECT_EQ(LastError(), kDiskFull);
}

TEST(Threads, AForkedChildIsANewThreadOfANewProcess) {
    std::uint32_t const forks = ForkCount(), mine = CurrentThreadId();
    FirstCallOfThread();
    SetForkHandler([] { ++childHandlers; });
    auto const isNew = [&](std::uint32_t generation) {
        bool const countsRight =
            ForkCount() == forks + generation && childHandlers == static_cast<int>(generation);
        return countsRight && CurrentThreadId() != mine && FirstCallOfThread() && !FirstCallOfThread();
    };
    EXPECT_EQ(InChild([&] { return isNew(1) && InChild([&] { return isNew(2); }) == 0; }), 0);
    SetForkHandler(nullptr);
    EXPECT_EQ(InChild([&] { return childHandlers == 0 && ForkCount() == forks + 1; }), 0);
    EXPECT_TRUE(ForkCount() == forks && CurrentThreadId() == mine && !FirstCallOfThread());
    EXPECT_EQ(childHandlers, 0);
}

TEST(Clock, LocalTimeBothWays) {
    ASSERT_EQ(setenv("TZ", "ABC-3:30", 1), 0);  // three and a half hours east
    tzset();
    LocalTime const leapDay{2024, 2, 29, 1, 2, 3, 456};
    EXPECT_TRUE(WriteLocalTime(leapDay));
    EXPECT_EQ(clockSetTo.tv_sec, 1'709'155'923);  // 2024-02-28 21:32:03 UTC
    EXPECT_EQ(clockSetTo.tv_nsec, 456'000'000);

    clockShows = clockSetTo;
    LocalTime now{};
    ReadLocalTime(now);
    EXPECT_EQ(std::memcmp(&now, &leapDay, sizeof now), 0);
    clockShows = timespec{5'000'000, 7'999'999};
    EXPECT_EQ(TickCount(), 5'000'000'007ull % (1ull << 32));
    clockShows.reset();

    clockSetTo = {};
    auto const allows = [&](std::uint16_t LocalTime::*field, std::uint16_t value) {
        LocalTime time = leapDay;
        time.*field = value;
        return WriteLocalTime(time) || LastError() != kInvalidParameter;
    };
    EXPECT_FALSE(allows(&LocalTime::month, 0) || allows(&LocalTime::month, 13) ||
                 allows(&LocalTime::day, 0) || allows(&LocalTime::day, 30) ||
                 allows(&LocalTime::year, 2023) || allows(&LocalTime::hour, 24) ||
                 allows(&LocalTime::minute, 60) || allows(&LocalTime::second, 60) ||
                 allows(&LocalTime::millisecond, 1000));
    EXPECT_EQ(clockSetTo.tv_sec, 0);
    unsetenv("TZ");
    tzset();
}

TEST(HaltDisplay, ShowsTitleAndMessageAndAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto const aborted = testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(ShowAndAbort(u"Program halted", u"Disk\nfull"), aborted, "^Program halted: Disk\nfull\n$");
    EXPECT_EXIT(ShowAndAbort(u"\u00E4\U0001F600", u"\xD800!"), aborted,
                "^\xC3\xA4\xF0\x9F\x98\x80: \xEF\xBF\xBD!\n$");
    EXPECT_EXIT(ShowAndAbort(nullptr, TString(5000, u'\u20AC').c_str()), aborted,
                "^: (\xE2\x82\xAC){5000}\n$");
}

}  // namespace vfile::platform
