// The bare table of thread slots: numbers, words, ends of threads.
#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

#include "frame/slots.h"

namespace vfile {
namespace {

std::vector<SlotWord> wordsAtEnd;  // word 7 of each thread that ended with a block

void NoteEnd() {
    wordsAtEnd.push_back(Slots_Get(7));
    Slots_UninitializeThread();
}

TEST(Slots, NumbersAreFreshUntilAllWereOut) {
    EXPECT_FALSE(Slots_UninitializeProcess() || Slots_InitializeThread() || Slots_Free(0));
    EXPECT_EQ(Slots_Alloc(), kNoSlot);
    ASSERT_TRUE(Slots_InitializeProcess(NoteEnd) && !Slots_InitializeProcess(NoteEnd));
    constexpr std::int32_t kFree = 100;  // added to a number that is given back
    std::vector<std::int32_t> moves = {
        0,         1, 2,         3,         kFree + 1, 4, kFree + 3,
        kFree + 4, 4, kFree + 4, kFree + 2, kFree + 0, 0};  // none was in use any more
    for (std::int32_t number = 1; number < kSlotCount; ++number) moves.push_back(number);
    moves.insert(moves.end(), {kNoSlot, kFree + 40, kFree + 5, 5, 40, kNoSlot});
    for (std::int32_t const move : moves) {
        EXPECT_TRUE(move < kFree ? Slots_Alloc() == move : Slots_Free(move - kFree)) << move;
    }
    EXPECT_FALSE(Slots_Free(kNoSlot) || Slots_Free(kSlotCount));
    EXPECT_TRUE(Slots_UninitializeProcess() && !Slots_UninitializeProcess());
}

TEST(Slots, WordsAreTheThreadsOwn) {
    ASSERT_TRUE(Slots_InitializeProcess(NoteEnd) && Slots_Alloc() == 0);
    EXPECT_FALSE(Slots_IsThreadInitialized() || Slots_Set(7, 1));
    for (int life = 0; life < 2; ++life) {
        ASSERT_TRUE(Slots_InitializeThread());
        for (std::int32_t number = -1; number <= kSlotCount; ++number) {
            bool const exists = number >= 0 && number < kSlotCount;
            EXPECT_EQ(Slots_Get(number), 0u);
            EXPECT_EQ(Slots_Set(number, 1000), exists) << number;
        }
        std::thread([] { EXPECT_FALSE(Slots_IsThreadInitialized() || Slots_Get(7)); }).join();
        std::thread([] { EXPECT_TRUE(Slots_InitializeThread() && Slots_Set(7, 70)); }).join();
        EXPECT_EQ(std::exchange(wordsAtEnd, {}), std::vector<SlotWord>{70}) << "not without a block";
        EXPECT_EQ(Slots_Get(7), 1000u);
        EXPECT_TRUE(Slots_UninitializeThread() && !Slots_IsThreadInitialized());
    }
    EXPECT_TRUE(Slots_UninitializeProcess());
}

}  // namespace
}  // namespace vfile
