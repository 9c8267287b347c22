// The face of the memory for hosts.
#include <vfile/halt.h>
#include <vfile/vmem.h>

#include <new>

#include "vmem/paged_memory.h"

namespace vfile {

VMem::VMem() : vfileState(new (std::nothrow) internal::PagedMemory) {
    if (!vfileState) Halt(u"VMem", u"NewCachePtr", u"p==NIL");
}

VMem::~VMem() = default;

void VMem::Get(std::int32_t addr, void* buf, std::int16_t len) { vfileState->Get(addr, buf, len); }
void VMem::Set(std::int32_t addr, void const* buf, std::int16_t len) { vfileState->Set(addr, buf, len); }
void VMem::CopyBytes(std::int32_t dst, std::int32_t src, std::int16_t len) {
    vfileState->CopyBytes(dst, src, len);
}

std::int16_t VMem::GetCacheSize() const { return vfileState->GetCacheSize(); }
std::int16_t VMem::GetMaxCacheSize() const { return vfileState->GetMaxCacheSize(); }
void VMem::SetMaxCacheSize(std::int16_t kilobytes) { vfileState->SetMaxCacheSize(kilobytes); }
TChar const* VMem::GetTempDir() const { return vfileState->GetTempDir(); }
void VMem::SetTempDir(TChar const* dir) { vfileState->SetTempDir(dir); }

bool VMem::CanAllocPage() const { return vfileState->CanAllocPage(); }
void VMem::AllocPage(std::int32_t& addr) { vfileState->AllocPage(addr); }
void VMem::DeallocPage(std::int32_t& addr) { vfileState->DeallocPage(addr); }
void VMem::Alloc(std::int32_t& addr, std::int16_t len) { vfileState->Alloc(addr, len); }
void VMem::Dealloc(std::int32_t& addr, std::int16_t len) { vfileState->Dealloc(addr, len); }

void VMem::FlushCache() { vfileState->FlushCache(); }
void VMem::ReleaseCache() { vfileState->ReleaseCache(); }
void VMem::DeallocAll() { vfileState->DeallocAll(); }

}  // namespace vfile
