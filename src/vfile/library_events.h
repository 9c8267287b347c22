// The four events in the library's life, and the steps that answer each. How they are raised is the business
// of library_entry.cpp in the folder of each system.
//
// A halt procedure that throws in the two detach events terminates: nobody could catch what it throws.
#pragma once

namespace vfile {

// The library comes, and the thread that loads it gets its state. False: the library is not usable, and every
// use of a virtual file stops.
bool RaiseProcessAttach();

// False for want of memory: the thread stays without state.
bool RaiseThreadAttach();

// The thread ends. The system's hook for it may run with or without state on the thread.
void RaiseThreadDetach() noexcept;

// The library goes, on the thread that unloads it or ends the process. Threads that still run are left alone.
void RaiseProcessDetach() noexcept;

// Raises the calling thread's attach event unless the system or an earlier call did, once in the thread's
// life. Stands in library_entry.cpp, so that whoever uses a thread slot links the library's entry too.
void EnsureThreadAttached();

}  // namespace vfile
