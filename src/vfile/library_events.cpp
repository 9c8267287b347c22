#include "vfile/library_events.h"

#include <vfile/thread.h>
#include <vfile/virtual_file.h>

#include "frame/slots.h"

namespace vfile {

bool RaiseProcessAttach() {
    return Slots_InitializeProcess(RaiseThreadDetach) && VFile::TLS_InitializeProcess() &&
           VFile_InitializeThread();
}

bool RaiseThreadAttach() { return VFile_InitializeThread(); }

void RaiseThreadDetach() noexcept { VFile_UninitializeThread(); }

void RaiseProcessDetach() noexcept {
    VFile_UninitializeThread();
    VFile::TLS_UninitializeProcess();
    Slots_UninitializeProcess();
}

}  // namespace vfile
