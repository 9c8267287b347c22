#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <utility>

#include "platform/platform.h"
#include "platform/posix/errors.h"

namespace vfile::platform {

namespace {

// Nothing thread-local here has a destructor: one that is registered keeps a library from being unloaded.
constinit thread_local std::uint32_t threadId = 0;
constinit thread_local bool calledBefore = false;

constinit std::atomic<std::uint32_t> forkCount = 0;
constinit std::atomic<void (*)()> forkHandler = nullptr;

void EnterChild() {
    forkCount.fetch_add(1, std::memory_order_relaxed);
    threadId = 0;
    calledBefore = false;
    if (auto const inChild = forkHandler.load()) inChild();
}

// From the moment the library is there, so that every fork is counted. Taken back by the system at unload.
__attribute__((constructor(101))) void WatchForks() { pthread_atfork(nullptr, nullptr, EnterChild); }

enum class KeyState { kFree, kChanging, kLive };

struct ThreadKey {
    std::atomic<KeyState> state;
    pthread_key_t key;
    void (*atThreadEnd)();
};

constexpr std::size_t kMaxThreadKeys = 16;
constinit ThreadKey threadKeys[kMaxThreadKeys] = {};

// The system hands its destructor the word but not the key, so every key has a destructor of its own. The
// word is null by then and is put back, since the callback wants to read it.
template <std::size_t Index>
void EndThread(void* word) {
    ThreadKey const& key = threadKeys[Index];
    if (key.state.load(std::memory_order_acquire) != KeyState::kLive) return;
    if (pthread_setspecific(key.key, word) == 0) key.atThreadEnd();
}

template <std::size_t... Index>
int CreateKey(ThreadKey& key, std::index_sequence<Index...>) {
    static constexpr void (*kDestructors[])(void*) = {EndThread<Index>...};
    return pthread_key_create(&key.key, kDestructors[&key - threadKeys]);
}

ThreadKey* LiveKey(std::int32_t key) {
    if (key < 0 || key >= std::ssize(threadKeys)) return nullptr;
    ThreadKey& found = threadKeys[key];
    return found.state.load(std::memory_order_acquire) == KeyState::kLive ? &found : nullptr;
}

}  // namespace

std::uint32_t CurrentThreadId() {
    if (threadId == 0) threadId = static_cast<std::uint32_t>(gettid());
    return threadId;
}

std::int32_t AllocThreadKey(void (*atThreadEnd)()) {
    for (ThreadKey& key : threadKeys) {
        auto expected = KeyState::kFree;
        if (!key.state.compare_exchange_strong(expected, KeyState::kChanging)) continue;
        key.atThreadEnd = atThreadEnd;
        int const refusal = CreateKey(key, std::make_index_sequence<kMaxThreadKeys>());
        key.state.store(refusal == 0 ? KeyState::kLive : KeyState::kFree, std::memory_order_release);
        if (refusal == 0) return static_cast<std::int32_t>(&key - threadKeys);
        break;
    }
    Fail(ENOMEM);
    return -1;
}

bool FreeThreadKey(std::int32_t key) {
    ThreadKey* const found = LiveKey(key);
    auto expected = KeyState::kLive;
    if (!found || !found->state.compare_exchange_strong(expected, KeyState::kChanging)) return Fail(EINVAL);
    pthread_key_delete(found->key);
    found->state.store(KeyState::kFree, std::memory_order_release);
    return true;
}

void* GetThreadWord(std::int32_t key) {
    ThreadKey const* const found = LiveKey(key);
    return found ? pthread_getspecific(found->key) : nullptr;
}

bool SetThreadWord(std::int32_t key, void* word) {
    ThreadKey const* const found = LiveKey(key);
    if (!found) return Fail(EINVAL);
    int const refusal = pthread_setspecific(found->key, word);
    return refusal == 0 || Fail(refusal);
}

bool FirstCallOfThread() { return !std::exchange(calledBefore, true); }

std::uint32_t ForkCount() { return forkCount.load(std::memory_order_relaxed); }

void SetForkHandler(void (*inChild)()) { forkHandler.store(inChild); }

}  // namespace vfile::platform
