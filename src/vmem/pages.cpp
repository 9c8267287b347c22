#include "vmem/pages.h"

#include <vfile/bounded_strings.h>
#include <vfile/halt.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "platform/platform.h"

namespace vfile {
namespace {

void HaltUnless(bool done, TChar const* proc, TChar const* msg) {
    if (!done) Halt(u"VMem", proc, msg);
}

// Stops unless the transfer is done.
void Require(Transfer transfer, TChar const* proc, TChar const* failed) {
    HaltUnless(transfer != Transfer::kBadPosition, proc, u"seeking in swap file failed");
    HaltUnless(transfer != Transfer::kFailed, proc, failed);
}

constexpr TChar const* kNoMemory = u"p==NIL";
constexpr TChar const* kWritingFailed = u"writing on swap file failed (disk full?)";

// The changed pages around one that has to be written, as they lie in the file: first those above it, then those
// below, as many as one call writes.
class DirtyRun {
public:
    DirtyRun(Cache const& cache, CacheDesc& page) {
        pages[kMiddle] = &page;
        while (CacheDesc* const above = Next(cache, pages[last]->addr, kPageSize)) pages[++last] = above;
        while (CacheDesc* const below = Next(cache, pages[first]->addr, -kPageSize)) pages[--first] = below;
    }
    std::span<CacheDesc* const> Pages() const { return std::span(pages).subspan(first, Size()); }
    std::size_t Size() const { return last - first + 1; }

private:
    static constexpr std::size_t kMiddle = SwapFile::kRunPages - 1;

    CacheDesc* Next(Cache const& cache, std::int64_t addr, std::int32_t step) const {
        std::int64_t const next = addr + step;
        if (Size() == SwapFile::kRunPages || next < 0 || next > MaxLen) return nullptr;
        CacheDesc* const page = cache.Find(static_cast<std::int32_t>(next));
        return page && page->dirty ? page : nullptr;
    }

    CacheDesc* pages[2 * SwapFile::kRunPages - 1];
    std::size_t first = kMiddle;
    std::size_t last = kMiddle;
};

}  // namespace

Pages::Pages() : forkCount(platform::ForkCount()) {
    HaltUnless(cache.Init(), u"NewCachePtr", kNoMemory);
    NewCachePtr(cache.spareCache);
    if (cache.spareCache) std::memset(cache.spareCache, 0, sizeof(CacheDesc));
}

Pages::~Pages() { std::free(tempDir); }

void Pages::Clear() {
    cache.Clear();
    swap.Close();
}

void Pages::SetLimit(std::int32_t pages) {
    limit = pages;
    Shrink(limit);
}

void Pages::SetTempDir(TChar const* dir) {
    TChar* copy = nullptr;
    if (dir && dir[0] != 0) {
        std::size_t const units = std::char_traits<TChar>::length(dir) + 1;
        copy = static_cast<TChar*>(std::malloc(units * sizeof(TChar)));
        if (copy) AssignStr(copy, static_cast<std::uint32_t>(units), dir);
    }
    std::free(tempDir);  // last: `dir` may be this very string
    tempDir = copy;
}

// The page at `addr`, which has not got its slot. The descriptor is nobody's while the page is read: should that
// stop and the stop throw, it goes, and no list has ever known it with the wrong bytes.
CacheDesc& Pages::FindOutsideTable(std::int32_t addr, bool load) {
    if (CacheDesc* const listed = cache.Find(addr)) {
        cache.Promote(*listed);
        CheckSound();
        return *listed;
    }
    auto const giveBack = [this](CacheDesc* page) {
        if (page != cache.spareCache) DisposeCachePtr(page);
    };
    std::unique_ptr<CacheDesc, decltype(giveBack)> page(TakeDescriptor(), giveBack);
    if (load) LoadPage(*page, addr);
    cache.Add(*page, addr);
    CheckSound();
    return *page.release();
}

// A descriptor in no list: the spare one for an empty cache, a new one below the limit, else that of the oldest page.
CacheDesc* Pages::TakeDescriptor() {
    if (cache.Count() == 0 && cache.spareCache) return cache.spareCache;
    if (cache.Count() == 0 || cache.Count() < limit) {
        CacheDesc* page = nullptr;
        NewCachePtr(page);
        return page;
    }
    CacheDesc& oldest = *cache.Oldest();
    FlushCachePtr(oldest);
    cache.Remove(oldest);
    cache.WarmOldest();
    return &oldest;
}

void Pages::LoadPage(CacheDesc& page, std::int32_t addr) {
    if (addr >= swap.Size()) {
        std::memset(page.data, 0, kPageSize);
    } else if (!StopsInChild(u"FindPage")) {
        Require(swap.Read(addr, page.data), u"FindPage", u"reading from swap file failed");
    }
}

void Pages::FlushCachePtr(CacheDesc& page) {
    if (!page.dirty || StopsInChild(u"FlushCachePtr")) return;
    if (!swap.IsOpen() && !swap.Create(tempDir)) {
        return Halt(u"VMem", u"FlushCachePtr", u"swap file creation failed");
    }
    if (FlushRun(page)) return;

    ExtendFile(page.addr);
    CacheDesc* const alone[] = {&page};
    std::size_t whole = 0;
    Transfer const written = swap.Write(page.addr, alone, whole);
    if (whole == 1) page.dirty = false;
    Require(written, u"FlushCachePtr", kWritingFailed);
}

// Writes a changed page with the changed pages next to it. False when it has no such company, or when the write did
// not get as far as the page: what was written is clean, and the page has to go alone.
bool Pages::FlushRun(CacheDesc& page) {
    DirtyRun const run(cache, page);
    if (run.Size() == 1) return false;

    auto const pages = run.Pages();
    ExtendFile(pages.front()->addr);
    std::size_t whole = 0;
    swap.Write(pages.front()->addr, pages, whole);
    for (CacheDesc* const written : pages.first(whole)) written->dirty = false;
    return !page.dirty;
}

// A changed page in the stretch gets zeros too. It is cached, so nobody reads them, and its own turn comes.
void Pages::ExtendFile(std::int32_t size) { Require(swap.Extend(size), u"ExtendFile", kWritingFailed); }

void Pages::NewCachePtr(CacheDesc*& page) {
    page = cache.ReserveOne() ? static_cast<CacheDesc*>(std::malloc(sizeof(CacheDesc))) : nullptr;
    if (!page) Halt(u"VMem", u"NewCachePtr", kNoMemory);
}

void Pages::DisposeCachePtr(CacheDesc*& page) {
    if (!page) return Halt(u"VMem", u"DisposeCachePtr", kNoMemory);
    std::free(page);
    page = nullptr;
}

// From the newest on: the opposite of the order in which pages leave one by one.
void Pages::Shrink(std::int32_t pages) {
    while (cache.Count() > pages) {
        CacheDesc* newest = cache.Newest();
        FlushCachePtr(*newest);
        cache.Remove(*newest);
        if (newest != cache.spareCache) DisposeCachePtr(newest);
    }
    CheckSound();
}

void Pages::Flush() {
    for (CacheDesc* page = cache.Newest(); page; page = page->next) FlushCachePtr(*page);
    CheckSound();
}

bool Pages::FromParent() const { return forkCount != platform::ForkCount(); }

// In a child process the file is the parent's: what the child wrote, the parent would read.
bool Pages::StopsInChild(TChar const* proc) const {
    if (!FromParent()) return false;
    Halt(u"VMem", proc, u"swap file belongs to the parent process");
    return true;
}

}  // namespace vfile
