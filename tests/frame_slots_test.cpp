// The bare table of thread slots: numbers, words, ends of threads. The tests follow each other on one table.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "frame/slots.h"

namespace vfile {
namespace {

std::vector<SlotWord> wordsAtEnd;  // word 7 of each thread that ended with a block

void NoteEnd() {
    wordsAtEnd.push_back(Slots_Get(7));
    Slots_UninitializeThread();
}

void ExpectClosed() {
    EXPECT_FALSE(Slots_UninitializeProcess() || Slots_InitializeThread() || Slots_UninitializeThread());
    EXPECT_FALSE(Slots_IsThreadInitialized() || Slots_Get(0) || Slots_Set(0, 1) || Slots_Free(0));
    EXPECT_EQ(Slots_Alloc(), kNoSlot);
}

TEST(Slots, NumbersAreFreshUntilAllWereOut) {
    ExpectClosed();
    ASSERT_TRUE(Slots_InitializeProcess(NoteEnd));
    EXPECT_FALSE(Slots_InitializeProcess(NoteEnd)) << "open already";
    auto const takes = [](std::initializer_list<std::int32_t> wanted) {
        for (std::int32_t const number : wanted) EXPECT_EQ(Slots_Alloc(), number);
    };
    auto const frees = [](std::initializer_list<std::int32_t> numbers) {
        for (std::int32_t const number : numbers) EXPECT_TRUE(Slots_Free(number)) << number;
    };
    takes({0, 1, 2, 3}), frees({1}), takes({4});
    frees({3, 4}), takes({4});     // the mark went down by one only: the free 3 below it is not fresh
    frees({4, 2, 0}), takes({0});  // none was in use
    for (std::int32_t number = 1; number < kSlotCount; ++number) takes({number});
    takes({kNoSlot}), frees({40, 5}), takes({5, 40, kNoSlot});
    for (std::int32_t const number : {kNoSlot, kSlotCount, INT32_MIN}) EXPECT_FALSE(Slots_Free(number));
    for (std::int32_t number = 0; number < kSlotCount; ++number) frees({number});
    EXPECT_TRUE(Slots_UninitializeProcess());
    ExpectClosed();
}

TEST(Slots, WordsAreTheThreadsOwn) {
    ASSERT_TRUE(Slots_InitializeProcess(NoteEnd));
    auto const wordOf = [](std::int32_t number) { return ~static_cast<SlotWord>(number); };
    EXPECT_FALSE(Slots_IsThreadInitialized() || Slots_Set(7, 1));
    ASSERT_TRUE(Slots_InitializeThread());
    for (std::int32_t number = 0; number < kSlotCount; ++number) {
        EXPECT_TRUE(Slots_Get(number) == 0 && Slots_Set(number, wordOf(number)));
    }
    for (std::int32_t const number : {kNoSlot, kSlotCount, INT32_MAX, INT32_MIN}) {
        EXPECT_FALSE(Slots_Set(number, 1) || Slots_Get(number)) << number;
    }
    std::thread([] { EXPECT_FALSE(Slots_IsThreadInitialized() || Slots_Get(7)); }).join();
    std::thread([] { EXPECT_TRUE(Slots_InitializeThread() && Slots_Set(7, 70)); }).join();
    EXPECT_EQ(wordsAtEnd, std::vector<SlotWord>{70}) << "once, with its words, and not without a block";
    for (std::int32_t number = 0; number < kSlotCount; ++number) EXPECT_EQ(Slots_Get(number), wordOf(number));
    EXPECT_TRUE(Slots_UninitializeThread() && Slots_UninitializeThread() && !Slots_IsThreadInitialized());
    EXPECT_TRUE(Slots_InitializeThread() && Slots_Get(7) == 0 && Slots_UninitializeThread()) << "afresh";
    EXPECT_TRUE(Slots_UninitializeProcess());
}

}  // namespace
}  // namespace vfile
