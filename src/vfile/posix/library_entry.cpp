// Raises the events of the library's life on POSIX.
//
//   process attach   a constructor function, before the static objects of this library and, where it is linked
//                    statically, of the program
//   thread attach    the thread's first use of the library: the system tells nobody that a thread starts
//   thread detach    by the thread key of the slots
//   process detach   a destructor function, after all static objects and exit handlers
#include "frame/slots.h"
#include "platform/platform.h"
#include "vfile/library_events.h"
#include "vfile/thread_slots.h"

namespace vfile {
namespace {

// The earliest priority that is not the system's own; destructors run in the opposite order.
constexpr int kEarlyAndLate = 101;

// A load cannot be refused from here: when the system has no thread key left the slots stay away, every use of
// them stops, and there is nothing to end.
[[gnu::constructor(kEarlyAndLate)]] void Attach() { RaiseProcessAttach(); }

[[gnu::destructor(kEarlyAndLate)]] void Detach() {
    if (namedSlots[kFileCountSlot] != kNoSlot) RaiseProcessDetach();
}

}  // namespace

void EnsureThreadAttached() {
    if (platform::FirstCallOfThread()) RaiseThreadAttach();
}

}  // namespace vfile
