// A thread's state: its slots with their default values, from the thread's attach to its end.
#include <vfile/thread.h>
#include <vfile/virtual_file.h>

#include <cstdlib>

#include "frame/slots.h"
#include "frame/stop.h"
#include "vfile/library_events.h"
#include "vfile/thread_slots.h"

namespace vfile {
namespace {

void RequireSlots() {
    for (std::int32_t const number : namedSlots) VFILE_REQUIRE(u"VFile", number != kNoSlot);
}

}  // namespace

bool VFile::TLS_InitializeProcess() {
    for (std::int32_t const number : namedSlots) VFILE_REQUIRE(u"VFile", number == kNoSlot);
    for (std::int32_t& number : namedSlots) number = Slots_Alloc();
    RequireSlots();
    return true;
}

bool VFile::TLS_UninitializeProcess() {
    RequireSlots();
    for (std::int32_t const number : namedSlots) Slots_Free(number);
    for (std::int32_t& number : namedSlots) number = kNoSlot;
    return true;
}

bool VFile::TLS_InitializeThread() {
    EnsureThreadAttached();
    RequireSlots();
    if (!Slots_IsThreadInitialized()) return true;
    TLS_SetFileCount(0);
    TLS_SetVMem(nullptr);
    TLS_SetBlkPool(nullptr);
    TLS_SetTempDir(nullptr);
    TLS_SetMaxCacheSize(kDefaultMaxCacheSize);
    return true;
}

bool VFile::TLS_UninitializeThread() {
    EnsureThreadAttached();
    RequireSlots();
    if (!Slots_IsThreadInitialized()) return true;
    VFILE_REQUIRE(u"VFile", TLS_GetFileCount() == 0);
    VFILE_REQUIRE(u"VFile", TLS_GetVMem() == nullptr);
    VFILE_REQUIRE(u"VFile", TLS_GetBlkPool() == nullptr);
    TLS_CopyTempDir(nullptr);
    return true;
}

bool VFile_InitializeThread() {
    EnsureThreadAttached();
    return Slots_IsThreadInitialized() || (Slots_InitializeThread() && VFile::TLS_InitializeThread());
}

bool VFile_UninitializeThread() {
    EnsureThreadAttached();
    if (Slots_IsThreadInitialized()) {
        VFile::TLS_UninitializeThread();
        Slots_UninitializeThread();
    }
    return true;
}

bool VFile_IsThreadInitialized() {
    EnsureThreadAttached();
    return Slots_IsThreadInitialized();
}

}  // namespace vfile
