// The life of a VMem, its settings, and the copying of byte ranges.
#include <vfile/bounded_strings.h>
#include <vfile/halt.h>
#include <vfile/numbers.h>
#include <vfile/vmem.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "platform/platform.h"
#include "vmem/cache.h"
#include "vmem/swap_file.h"

namespace vfile {

VMem::VMem()
    : cache(new (std::nothrow) Cache),
      swap(new (std::nothrow) SwapFile),
      ownerThread(platform::CurrentThreadId()),
      forkCount(platform::ForkCount()) {
    if (!cache || !swap || !cache->Init()) Halt(u"VMem", u"NewCachePtr", u"p==NIL");
    NewCachePtr(cache->spareCache);
    if (cache->spareCache) std::memset(cache->spareCache, 0, sizeof(CacheDesc));
    ForgetChunks();
    SetMaxCacheSize(70);
}

VMem::~VMem() {
    DeallocAll();
    std::free(tempDir);
    ownerThread = 0;
}

void VMem::DeallocAll() {
    if (!FromParent()) CheckOwner(__LINE__);
    cache->Clear();
    swap->Close();
    maxAddress = 0;
    ForgetChunks();
}

bool VMem::FromParent() const { return forkCount != platform::ForkCount(); }

void VMem::CheckOwner(std::int32_t line) const {
    if (platform::CurrentThreadId() != ownerThread) HaltA(u"VMem", line);
}

std::int16_t VMem::GetCacheSize() const {
    CheckOwner(__LINE__);
    return Short(cache->Count() * kPageCost / 1024);
}

std::int16_t VMem::GetMaxCacheSize() const {
    CheckOwner(__LINE__);
    return maxCacheKB;
}

void VMem::SetMaxCacheSize(std::int16_t kilobytes) {
    CheckOwner(__LINE__);
    maxCacheKB = std::max<std::int16_t>(kilobytes, 0);
    maxCachePages = Short(maxCacheKB * 1024 / kPageCost);
    ShrinkCache(maxCachePages);
}

TChar const* VMem::GetTempDir() const {
    CheckOwner(__LINE__);
    return tempDir;
}

void VMem::SetTempDir(TChar const* dir) {
    CheckOwner(__LINE__);
    TChar* copy = nullptr;
    if (dir && dir[0] != 0) {
        std::size_t const units = std::char_traits<TChar>::length(dir) + 1;
        copy = static_cast<TChar*>(std::malloc(units * sizeof(TChar)));
        if (copy) AssignStr(copy, static_cast<std::uint32_t>(units), dir);
    }
    std::free(tempDir);  // last: `dir` may be this very string
    tempDir = copy;
}

inline CacheDesc& VMem::FindPage(std::int32_t addr) {
    CacheDesc* const page = cache->InSlot(addr);
    return page ? *page : FindOutsideTable(addr, true);
}

// The page, with whatever bytes: the caller covers them all before anything else happens.
inline CacheDesc& VMem::FindPageToOverwrite(std::int32_t addr) {
    CacheDesc* const page = cache->InSlot(addr);
    return page ? *page : FindOutsideTable(addr, false);
}

// Stops when Get and Set, by the name `proc`, must not touch this range.
inline bool VMem::AdmitRange(TChar const* proc, std::int32_t addr, void const* buf, std::int16_t len) const {
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

void VMem::Get(std::int32_t addr, void* buf, std::int16_t len) {
    if (len == 0 || !AdmitRange(u"Get", addr, buf, len)) return;
    auto* dst = static_cast<std::byte*>(buf);
    std::int32_t offset = addr % kPageSize;
    std::int32_t page = addr - offset;
    for (std::int32_t left = len;;) {
        std::int32_t const n = std::min(left, kPageSize - offset);
        std::memcpy(dst, FindPage(page).data + offset, static_cast<std::size_t>(n));
        left -= n;
        if (left == 0) return;
        dst += n;
        page += kPageSize;
        offset = 0;
    }
}

bool VMem::IsCached(std::int32_t addr) const { return cache->Find(addr) != nullptr; }

// The bytes of the page at `addr`, a multiple of kPageSize, where they lie. They stay there until the next operation.
unsigned char const* VMem::PageAt(std::int32_t addr) {
    return reinterpret_cast<unsigned char const*>(FindPage(addr).data);
}

void VMem::Set(std::int32_t addr, void const* buf, std::int16_t len) {
    if (len == 0 || !AdmitRange(u"Set", addr, buf, len)) return;
    auto const* src = static_cast<std::byte const*>(buf);
    std::int32_t offset = addr % kPageSize;
    std::int32_t page = addr - offset;
    for (std::int32_t left = len;;) {
        std::int32_t const n = std::min(left, kPageSize - offset);
        CacheDesc& desc = n == kPageSize ? FindPageToOverwrite(page) : FindPage(page);
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
