// A table of 64 slots in which every thread has words of its own.
//
//   Numbers   0 to 63, process-wide. A number that was given back is handed out again only once no fresh one
//             is left, or all have been given back.
//   Words     a pointer or a small number, 0 at first, in a block of 64 that a thread asks for. A thread
//             without a block reads 0 and stores nothing.
//   Fork      the one thread of a child process has no block.
//   Threads   any, at once. Only the table of numbers is shared and locked; opening and closing it is for a
//             time when no other thread uses it.
#pragma once

#include <cstdint>

namespace vfile {

using SlotWord = std::uintptr_t;

inline constexpr std::int32_t kNoSlot = -1;
inline constexpr std::int32_t kSlotCount = 64;

// Opens the table. `atThreadEnd` is called on every thread that ends with a block, while its words can still be
// read, and must end the block by Slots_UninitializeThread. False when the table is open already or the system
// has no per-thread key left.
bool Slots_InitializeProcess(void (*atThreadEnd)());

// Closes it; false when it was closed. No thread is called back from here on; those that still have a block keep
// their words until they or the library are gone, but nothing reads them any more.
bool Slots_UninitializeProcess();

// Gives the calling thread a zeroed block; it must have none. False when the table is closed or memory is short.
bool Slots_InitializeThread();

// Takes the calling thread's block, if it has one. False when the table is closed.
bool Slots_UninitializeThread();

bool Slots_IsThreadInitialized();

// A number, or kNoSlot when the table is closed or all are taken; all threads' words under it keep what they
// held.
std::int32_t Slots_Alloc();

// False when the table is closed or `number` is out of range.
bool Slots_Free(std::int32_t number);

// The calling thread's word. A number out of range, a closed table or a thread without block gives 0, and false.
SlotWord Slots_Get(std::int32_t number);
bool Slots_Set(std::int32_t number, SlotWord word);

}  // namespace vfile
