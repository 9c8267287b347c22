/// What the library keeps for each thread, and when.
///
/// A thread works with virtual files through a state of its own: the count of its files, the memory they
/// share, and two settings (temporary directory, cache limit). The state comes into being by itself at the
/// thread's first use of the library, also when the thread ran before the library was loaded, and goes when
/// the thread ends; the thread that exits the process or unloads the library has its state ended there. No
/// call is needed.
///
/// All virtual files of a thread must be destroyed on it before its state ends: else an assertion stop of
/// module "VFile". Files with thread-local storage are gone by then, and so are static files at the end of
/// the process. A file that was made with `new` and leaked is not; nor, where `exit()` is called, is a local one
/// of the functions that are still running, which it does not unwind. Such a program says "VFile, line N:" and
/// "Assertion failure", and aborts (134 in a shell) whatever status it meant to end with; a thread that ends
/// with a file leaked does the same to it. Return from `main` instead of calling `exit()`, or end the scope of
/// every file first; where neither can be, `_Exit()` ends the process without a word, and flushes no stream.
///
/// Threads that still run when the process exits or the library is unloaded must make and destroy no file from
/// then on. A thread that runs on after an unload leaves a copy of its temporary directory behind, where
/// it has set one: VFile_UninitializeThread on that thread, called before, gives it back.
///
/// In a child made by `fork` the one thread starts without state and gets its own at its first use.
#pragma once

#include <vfile/export.h>

namespace vfile {

/// Gives the calling thread its state with the default settings; one that has its state keeps it as it is.
/// False for want of memory. Needed only after VFile_UninitializeThread.
VFILE_EXPORT bool VFile_InitializeThread();

/// Ends the calling thread's state, settings included; true in any case. Nothing happens to a thread without
/// state. From here on the thread cannot make a virtual file (an assertion stop) until it calls
/// VFile_InitializeThread. Stops when a virtual file of the thread still lives.
VFILE_EXPORT bool VFile_UninitializeThread();

/// Whether the calling thread has its state.
VFILE_EXPORT bool VFile_IsThreadInitialized();

}  // namespace vfile
