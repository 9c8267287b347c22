#include "frame/slots.h"

#include <algorithm>
#include <iterator>
#include <mutex>

#include "platform/platform.h"

namespace vfile {
namespace {

// -1 while the table is closed. Set before other threads use the library, read without a lock from then on.
constinit std::int32_t threadKey = -1;

// A thread's block, which counts only while the thread's word under the key points to it. Not from the heap: no
// one could free the blocks of the threads that still run when the library goes, at the end of the process they
// may even be in use, while this goes with the thread or with the library, whichever comes first.
constinit thread_local SlotWord threadBlock[kSlotCount] = {};

// The numbers that are taken. `highWater` is the next fresh one.
struct NumberTable {
    std::mutex mutex;
    bool inUse[kSlotCount] = {};
    std::int32_t highWater = 0;
};
constinit NumberTable numbers;

bool InRange(std::int32_t number) { return static_cast<std::uint32_t>(number) < kSlotCount; }

SlotWord* Block() {
    return threadKey == -1 ? nullptr : static_cast<SlotWord*>(platform::GetThreadWord(threadKey));
}

void ForgetParentsBlock() { platform::SetThreadWord(threadKey, nullptr); }

std::int32_t FirstClear() {
    for (std::int32_t number = 0; number < kSlotCount; ++number) {
        if (!numbers.inUse[number]) return number;
    }
    return kNoSlot;
}

bool NoneInUseBelow(std::int32_t end) {
    for (std::int32_t number = 0; number < end; ++number) {
        if (numbers.inUse[number]) return false;
    }
    return true;
}

}  // namespace

bool Slots_InitializeProcess(void (*atThreadEnd)()) {
    if (threadKey != -1) return false;
    threadKey = platform::AllocThreadKey(atThreadEnd);
    if (threadKey == -1) return false;
    platform::SetForkHandler(ForgetParentsBlock);
    for (bool& inUse : numbers.inUse) inUse = false;
    return true;
}

bool Slots_UninitializeProcess() {
    std::lock_guard const lock(numbers.mutex);
    if (threadKey == -1) return false;
    platform::SetForkHandler(nullptr);
    bool const freed = platform::FreeThreadKey(threadKey);
    threadKey = -1;
    return freed;
}

bool Slots_InitializeThread() {
    if (threadKey == -1) return false;
    std::fill(std::begin(threadBlock), std::end(threadBlock), SlotWord{0});
    return platform::SetThreadWord(threadKey, threadBlock);
}

bool Slots_UninitializeThread() { return threadKey != -1 && platform::SetThreadWord(threadKey, nullptr); }

bool Slots_IsThreadInitialized() { return Block() != nullptr; }

std::int32_t Slots_Alloc() {
    if (threadKey == -1) return kNoSlot;
    std::lock_guard const lock(numbers.mutex);
    std::int32_t const number = numbers.highWater < kSlotCount ? numbers.highWater++ : FirstClear();
    if (number != kNoSlot) numbers.inUse[number] = true;
    return number;
}

bool Slots_Free(std::int32_t number) {
    if (threadKey == -1 || !InRange(number)) return false;
    std::lock_guard const lock(numbers.mutex);
    numbers.inUse[number] = false;
    // Down by one only, even where the numbers below are free too.
    if (number == numbers.highWater - 1) --numbers.highWater;
    if (NoneInUseBelow(numbers.highWater)) numbers.highWater = 0;
    return true;
}

SlotWord Slots_Get(std::int32_t number) {
    SlotWord const* const block = InRange(number) ? Block() : nullptr;
    return block ? block[number] : 0;
}

bool Slots_Set(std::int32_t number, SlotWord word) {
    SlotWord* const block = InRange(number) ? Block() : nullptr;
    if (!block) return false;
    block[number] = word;
    return true;
}

}  // namespace vfile
