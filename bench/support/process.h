/// What a process knows of itself: its memory and its calls into the system.
#pragma once

#include <cstdint>

namespace bench {

/// Kilobytes of memory that the process has had resident at most since it began or last forgot.
std::int64_t PeakResidentKB();

/// Begins a new peak. Where the system does not allow it, the peak stays that of the whole life.
void ForgetPeak();

/// Kilobytes of the process's own resident memory, files and program left out.
std::int64_t OwnResidentKB();

/// Bytes that the allocator has handed out, its own overhead on each piece included.
std::int64_t HeapBytes();

/// Reading calls into the system so far; -1 where the system does not count them.
std::int64_t ReadCalls();

/// Takes `bytes` of memory, touches all of it and gives it back. A virtual machine returns what lies idle to its
/// host; the next to use it, be it a process or the page cache, waits for every page to come back.
void WakeMemory(std::int64_t bytes);

/// Bytes of the largest file that the process holds open and that has no name, as a swap file has none; 0 without one.
std::int64_t NamelessFileBytes();

/// The process ends with the one that made it.
void DieWithParent();

}  // namespace bench
