// A paged memory told in the plainest way: the cache is a list that is walked, bytes move one at a time, the file
// is a table of pages. A VMem beside it must keep the same pages in the same order, and hold the same bytes.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <list>
#include <map>
#include <vector>

namespace vfile::test {

class VMemModel {
public:
    void Get(std::int32_t addr, std::byte* buf, std::int16_t len) {
        for (std::int32_t i = 0; i < len; ++i) buf[i] = At(addr + i, false);
    }
    void Set(std::int32_t addr, std::byte const* buf, std::int16_t len) {
        for (std::int32_t i = 0; i < len; ++i) At(addr + i, true) = buf[i];
    }
    void SetMaxCacheSize(std::int16_t kilobytes) {
        limit = kilobytes < 0 ? 0 : static_cast<std::size_t>(kilobytes) * 1024 / 1036;
        Shrink(limit);
    }
    void FlushCache() {
        for (Page& page : cache) Write(page);
    }
    void ReleaseCache() { Shrink(0); }

    // The sizes of cache and file, then the cached pages, newest first; an odd address is that of a changed page.
    std::vector<std::int64_t> State() const {
        std::vector<std::int64_t> state = {static_cast<int>(cache.size()) * 1036 / 1024, swapSize};
        for (Page const& page : cache) state.push_back(page.addr + page.dirty);
        return state;
    }

private:
    using Bytes = std::array<std::byte, 1024>;
    struct Page {
        std::int64_t addr;
        bool dirty;
        Bytes data;
    };

    std::list<Page>::iterator Listed(std::int64_t addr) {
        return std::ranges::find(cache, addr, &Page::addr);
    }
    Page*& SlotOf(std::int64_t addr) { return slots[static_cast<std::size_t>(addr / 1024 % 16384)]; }

    std::byte& At(std::int32_t addr, bool changes) {
        Page*& slot = SlotOf(addr);
        if (!slot || slot->addr != addr - addr % 1024) slot = &Bring(addr - addr % 1024);
        slot->dirty |= changes;
        return slot->data[static_cast<std::size_t>(addr % 1024)];
    }

    Page& Bring(std::int32_t addr) {
        if (auto const listed = Listed(addr); listed != cache.end()) {
            cache.splice(cache.begin(), cache, listed);
        } else {
            if (!cache.empty() && cache.size() >= limit) Drop(--cache.end());
            cache.push_front({addr, false, file[addr]});
        }
        return cache.front();
    }

    void Drop(std::list<Page>::iterator page) {
        Write(*page);
        if (SlotOf(page->addr) == &*page) SlotOf(page->addr) = nullptr;
        cache.erase(page);
    }

    void Shrink(std::size_t pages) {
        while (cache.size() > pages) Drop(cache.begin());
    }

    // A dirty page takes its dirty neighbours along, 64 pages in all, those above it first.
    void Write(Page& page) {
        std::vector<Page*> run(page.dirty, &page);
        for (int const step : {1024, -1024}) {
            auto next = Listed(page.addr + step);
            while (page.dirty && run.size() < 64 && next != cache.end() && next->dirty) {
                run.push_back(&*next);
                next = Listed(next->addr + step);
            }
        }
        for (Page* written : run) {
            file[written->addr] = written->data;
            written->dirty = false;
            swapSize = std::max(swapSize, written->addr + 1024);
        }
    }

    std::list<Page> cache;  // newest first
    std::size_t limit = 69;
    std::array<Page*, 16384> slots = {};  // which page is found without a walk
    std::map<std::int64_t, Bytes> file;
    std::int64_t swapSize = 0;
};

}  // namespace vfile::test
