// The five slots in which a thread keeps what its virtual files share, each with its accessors.
//
//   FileCount       live virtual files of the thread
//   VMem, BlkPool   their memory and pool, null while there is no file; not owned here
//   TempDir         copy of the temporary directory, from malloc and owned here, or null
//   MaxCacheSize    cache limit in kilobytes, kept as it was set, negative values too
//
// While the thread has a VMem the two settings live there, and their slots are not kept up to date.
//
// Every accessor first sees to it that the thread's attach event has been raised, then makes an assertion
// stop if the library is not attached. A thread without state reads 0, and what it sets is lost.
#pragma once

#include <vfile/types.h>

namespace vfile {

class BlkPool;
class VMem;

inline constexpr std::int16_t kDefaultMaxCacheSize = 70;

std::int32_t TLS_GetFileCount();
void TLS_SetFileCount(std::int32_t count);
void TLS_IncFileCount();
void TLS_DecFileCount();

VMem* TLS_GetVMem();
void TLS_SetVMem(VMem* memory);

BlkPool* TLS_GetBlkPool();
void TLS_SetBlkPool(BlkPool* pool);

// Stores the pointer itself; what the slot held is not freed.
TChar const* TLS_GetTempDir();
void TLS_SetTempDir(TChar* dir);

// Stores a copy and frees the one that was there; null and the empty string store null, and so does want of
// memory. `dir` may be the string that TLS_GetTempDir gave.
void TLS_CopyTempDir(TChar const* dir);

std::int16_t TLS_GetMaxCacheSize();
void TLS_SetMaxCacheSize(std::int16_t kilobytes);

// The five slot numbers, all taken or all kNoSlot.
enum NamedSlot { kFileCountSlot, kVMemSlot, kBlkPoolSlot, kTempDirSlot, kMaxCacheSizeSlot, kNamedSlotCount };
extern std::int32_t namedSlots[kNamedSlotCount];

}  // namespace vfile
