#include "vfile/thread_slots.h"

#include <vfile/bounded_strings.h>

#include <cstdlib>
#include <string>

#include "frame/slots.h"
#include "frame/stop.h"
#include "vfile/library_events.h"

namespace vfile {

constinit std::int32_t namedSlots[kNamedSlotCount] = {kNoSlot, kNoSlot, kNoSlot, kNoSlot, kNoSlot};

namespace {

std::int32_t NumberOf(NamedSlot slot) {
    EnsureThreadAttached();
    VFILE_REQUIRE(u"VFile", namedSlots[slot] != kNoSlot);
    return namedSlots[slot];
}

SlotWord Word(NamedSlot slot) { return Slots_Get(NumberOf(slot)); }

template <class T>
T* Pointer(NamedSlot slot) {
    return reinterpret_cast<T*>(Word(slot));
}

void SetWord(NamedSlot slot, SlotWord word) { Slots_Set(NumberOf(slot), word); }

void SetPointer(NamedSlot slot, void* pointer) { SetWord(slot, reinterpret_cast<SlotWord>(pointer)); }

TChar* CopyOf(TChar const* text) {
    if (!text || !*text) return nullptr;
    std::size_t const units = std::char_traits<TChar>::length(text) + 1;
    auto* const copy = static_cast<TChar*>(std::malloc(units * sizeof(TChar)));
    if (copy) AssignStr(copy, static_cast<std::uint32_t>(units), text);
    return copy;
}

}  // namespace

std::int32_t TLS_GetFileCount() { return static_cast<std::int32_t>(Word(kFileCountSlot)); }
void TLS_SetFileCount(std::int32_t count) { SetWord(kFileCountSlot, static_cast<SlotWord>(count)); }
void TLS_IncFileCount() { TLS_SetFileCount(TLS_GetFileCount() + 1); }
void TLS_DecFileCount() { TLS_SetFileCount(TLS_GetFileCount() - 1); }

VMem* TLS_GetVMem() { return Pointer<VMem>(kVMemSlot); }
void TLS_SetVMem(VMem* memory) { SetPointer(kVMemSlot, memory); }

BlkPool* TLS_GetBlkPool() { return Pointer<BlkPool>(kBlkPoolSlot); }
void TLS_SetBlkPool(BlkPool* pool) { SetPointer(kBlkPoolSlot, pool); }

TChar const* TLS_GetTempDir() { return Pointer<TChar>(kTempDirSlot); }
void TLS_SetTempDir(TChar* dir) { SetPointer(kTempDirSlot, dir); }

void TLS_CopyTempDir(TChar const* dir) {
    auto* const old = Pointer<TChar>(kTempDirSlot);
    if (!Slots_IsThreadInitialized()) return;  // nobody would keep the copy
    TLS_SetTempDir(CopyOf(dir));               // before the old one goes, which `dir` may be
    std::free(old);
}

std::int16_t TLS_GetMaxCacheSize() { return static_cast<std::int16_t>(Word(kMaxCacheSizeSlot)); }
void TLS_SetMaxCacheSize(std::int16_t kilobytes) {
    SetWord(kMaxCacheSizeSlot, static_cast<SlotWord>(kilobytes));
}

}  // namespace vfile
