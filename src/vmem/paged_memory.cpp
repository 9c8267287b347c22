// The life of a memory, its settings, and the copying of byte ranges.
#include "vmem/paged_memory.h"

#include <vfile/halt.h>
#include <vfile/numbers.h>

#include <algorithm>
#include <cstring>

#include "platform/platform.h"

namespace vfile {

using internal::PagedMemory;

PagedMemory::PagedMemory() : ownerThread(platform::CurrentThreadId()) {
    ForgetChunks();
    SetMaxCacheSize(70);
}

PagedMemory::~PagedMemory() { DeallocAll(); }

void PagedMemory::DeallocAll() {
    if (!pages.FromParent()) CheckOwner(__LINE__);
    pages.Clear();
    maxAddress = 0;
    ForgetChunks();
}

void PagedMemory::CheckOwner(std::int32_t line) const {
    if (platform::CurrentThreadId() != ownerThread) HaltA(u"VMem", line);
}

std::int16_t PagedMemory::GetCacheSize() const {
    CheckOwner(__LINE__);
    return Short(pages.CachedCount() * kPageCost / 1024);
}

std::int16_t PagedMemory::GetMaxCacheSize() const {
    CheckOwner(__LINE__);
    return maxCacheKB;
}

void PagedMemory::SetMaxCacheSize(std::int16_t kilobytes) {
    CheckOwner(__LINE__);
    maxCacheKB = std::max<std::int16_t>(kilobytes, 0);
    pages.SetLimit(maxCacheKB * 1024 / kPageCost);
}

TChar const* PagedMemory::GetTempDir() const {
    CheckOwner(__LINE__);
    return pages.TempDir();
}

void PagedMemory::SetTempDir(TChar const* dir) {
    CheckOwner(__LINE__);
    pages.SetTempDir(dir);
}

void PagedMemory::FlushCache() {
    CheckOwner(__LINE__);
    pages.Flush();
}

void PagedMemory::ReleaseCache() {
    CheckOwner(__LINE__);
    pages.Release();
}

// Stops when Get and Set, by the name `proc`, must not touch this range.
inline bool PagedMemory::AdmitRange(TChar const* proc, std::int32_t addr, void const* buf,
                                    std::int16_t len) const {
    TChar const* msg = nullptr;
    if (len < 0) {
        msg = u"length of specified virt.memory must be >0";
    } else if (addr < 0) {
        msg = u"illegal address (<0)";
    } else if (len > maxAddress - addr) {
        msg = u"illegal address (>max.address)";
    } else if (!buf) {
        msg = u"buffer address must not be 0";
    } else {
        return true;
    }
    Halt(u"VMem", proc, msg);
    return false;
}

void PagedMemory::Get(std::int32_t addr, void* buf, std::int16_t len) {
    if (len == 0 || !AdmitRange(u"Get", addr, buf, len)) return;
    auto* dst = static_cast<std::byte*>(buf);
    std::int32_t offset = addr % kPageSize;
    std::int32_t page = addr - offset;
    for (std::int32_t left = len;;) {
        std::int32_t const n = std::min(left, kPageSize - offset);
        std::memcpy(dst, pages.Find(page).data + offset, static_cast<std::size_t>(n));
        left -= n;
        if (left == 0) return;
        dst += n;
        page += kPageSize;
        offset = 0;
    }
}

unsigned char const* PagedMemory::PageAt(std::int32_t addr) {
    return reinterpret_cast<unsigned char const*>(pages.Find(addr).data);
}

void PagedMemory::Set(std::int32_t addr, void const* buf, std::int16_t len) {
    if (len == 0 || !AdmitRange(u"Set", addr, buf, len)) return;
    auto const* src = static_cast<std::byte const*>(buf);
    std::int32_t offset = addr % kPageSize;
    std::int32_t page = addr - offset;
    for (std::int32_t left = len;;) {
        std::int32_t const n = std::min(left, kPageSize - offset);
        CacheDesc& desc = n == kPageSize ? pages.FindToOverwrite(page) : pages.Find(page);
        std::memcpy(desc.data + offset, src, static_cast<std::size_t>(n));
        desc.dirty = true;
        left -= n;
        if (left == 0) return;
        src += n;
        page += kPageSize;
        offset = 0;
    }
}

}  // namespace vfile
