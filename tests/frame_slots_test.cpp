// The bare table of thread slots: numbers, words, ends of threads, fork.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "frame/slots.h"

namespace vfile {
namespace {

constinit std::vector<SlotWord>* wordsAtEnd = nullptr;  // word 7 of each thread that ended with a block

class Slots : public testing::Test {
protected:
    Slots() {
        wordsAtEnd = &ended;
        opened = Slots_InitializeProcess([] {
            wordsAtEnd->push_back(Slots_Get(7));
            Slots_UninitializeThread();
        });
    }
    ~Slots() override {
        while (!taken.empty()) Free(taken.back());  // the numbers outlive the table
        Slots_UninitializeThread();
        Slots_UninitializeProcess();
    }
    std::int32_t Take() {
        std::int32_t const number = Slots_Alloc();
        if (number != kNoSlot) taken.push_back(number);
        return number;
    }
    bool Free(std::int32_t number) { return Slots_Free(number) && std::erase(taken, number) == 1; }
    void TakeAll() {
        for (std::int32_t wanted = 0; wanted < kSlotCount; ++wanted) ASSERT_EQ(Take(), wanted);
    }

    bool opened = false;
    std::vector<SlotWord> ended;
    std::vector<std::int32_t> taken;
};

TEST_F(Slots, NumbersAreFreshUntilAllWereOut) {
    ASSERT_TRUE(opened);
    TakeAll();
    EXPECT_EQ(Take(), kNoSlot);
    EXPECT_TRUE(Free(5) && Free(40));
    EXPECT_EQ(Take(), 5);
    EXPECT_EQ(Take(), 40);
    EXPECT_EQ(Take(), kNoSlot);
    for (std::int32_t const number : {kNoSlot, kSlotCount, INT32_MIN}) EXPECT_FALSE(Slots_Free(number));
}

TEST_F(Slots, FreeingLowersTheMarkByOneOnly) {
    for (std::int32_t wanted = 0; wanted < 4; ++wanted) ASSERT_EQ(Take(), wanted);
    EXPECT_TRUE(Free(1));
    EXPECT_EQ(Take(), 4);
    EXPECT_TRUE(Free(3) && Free(4));
    EXPECT_EQ(Take(), 4) << "the free 3 below the mark is not fresh";
    EXPECT_TRUE(Free(4) && Free(2) && Free(0));
    EXPECT_EQ(Take(), 0) << "none was in use";
}

TEST_F(Slots, WordsAreTheThreadsOwn) {
    for (std::int32_t const number : {0, 7, kSlotCount - 1}) EXPECT_FALSE(Slots_Set(number, 1));
    EXPECT_FALSE(Slots_IsThreadInitialized());
    ASSERT_TRUE(Slots_InitializeThread());
    for (std::int32_t number = 0; number < kSlotCount; ++number) {
        EXPECT_EQ(Slots_Get(number), 0u);
        EXPECT_TRUE(Slots_Set(number, ~SlotWord{0} - static_cast<SlotWord>(number)));
    }
    for (std::int32_t const number : {kNoSlot, kSlotCount, INT32_MAX, INT32_MIN}) {
        EXPECT_FALSE(Slots_Set(number, 1)) << number;
        EXPECT_EQ(Slots_Get(number), 0u) << number;
    }
    for (bool const withBlock : {false, true}) {
        std::thread([=] {
            EXPECT_FALSE(Slots_IsThreadInitialized());
            if (!withBlock) return;
            EXPECT_TRUE(Slots_InitializeThread() && Slots_Set(7, 70));
        }).join();
    }
    EXPECT_EQ(ended, std::vector<SlotWord>{70}) << "once, with its words, and not without a block";
    for (std::int32_t number = 0; number < kSlotCount; ++number) {
        EXPECT_EQ(Slots_Get(number), ~SlotWord{0} - static_cast<SlotWord>(number));
    }
    EXPECT_TRUE(Slots_UninitializeThread());
    EXPECT_FALSE(Slots_IsThreadInitialized());
    EXPECT_TRUE(Slots_UninitializeThread());
}

TEST_F(Slots, ClosedTableRefuses) {
    EXPECT_FALSE(Slots_InitializeProcess([] {})) << "open already";
    std::int32_t const number = Take();
    ASSERT_TRUE(Slots_InitializeThread() && Slots_Set(number, 1));
    EXPECT_TRUE(Slots_UninitializeThread() && Free(number));
    EXPECT_TRUE(Slots_UninitializeProcess());
    EXPECT_FALSE(Slots_UninitializeProcess() || Slots_InitializeThread() || Slots_UninitializeThread());
    EXPECT_FALSE(Slots_IsThreadInitialized() || Slots_Set(0, 1) || Slots_Free(0));
    EXPECT_EQ(Slots_Get(0), 0u);
    EXPECT_EQ(Slots_Alloc(), kNoSlot);
}

TEST_F(Slots, ForkedChildStartsWithoutBlock) {
    ASSERT_TRUE(Slots_InitializeThread() && Slots_Set(7, 1));
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        bool const sound = !Slots_IsThreadInitialized() && Slots_InitializeThread() && Slots_Get(7) == 0;
        _exit(sound ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Slots_Get(7), 1u);
}

}  // namespace
}  // namespace vfile
