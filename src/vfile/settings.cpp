// The settings of a thread: in its VMem while there is one, in its slots otherwise.
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>

#include "vfile/thread_slots.h"

namespace vfile {

std::int16_t VFile::GetCacheSize() {
    VMem const* const memory = TLS_GetVMem();
    return memory ? memory->GetCacheSize() : std::int16_t{0};
}

std::int16_t VFile::GetMaxCacheSize() {
    VMem const* const memory = TLS_GetVMem();
    return memory ? memory->GetMaxCacheSize() : TLS_GetMaxCacheSize();
}

void VFile::SetMaxCacheSize(std::int16_t kilobytes) {
    if (VMem* const memory = TLS_GetVMem()) return memory->SetMaxCacheSize(kilobytes);
    TLS_SetMaxCacheSize(kilobytes);
}

TChar const* VFile::GetTempDir() {
    VMem const* const memory = TLS_GetVMem();
    return memory ? memory->GetTempDir() : TLS_GetTempDir();
}

void VFile::SetTempDir(TChar const* dir) {
    if (VMem* const memory = TLS_GetVMem()) return memory->SetTempDir(dir);
    TLS_CopyTempDir(dir);
}

void VFile::ReleaseCache() {
    if (VMem* const memory = TLS_GetVMem()) memory->ReleaseCache();
}

}  // namespace vfile
