// A paged memory told in the plainest way: the cache is a list that is walked, pages move one at a time, the file
// is a table of pages. A VMem beside it must keep the same pages in the same order, and hold the same bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <list>
#include <map>
#include <utility>
#include <vector>

namespace vfile::test {

using PageBytes = std::array<std::byte, 1024>;

class VMemModel {
public:
    struct Page {
        std::int32_t addr;
        bool dirty;
        PageBytes data;
    };

    void Get(std::int32_t addr, std::byte* buf, std::int32_t len) {
        Walk(addr, len, [&](Page& page, std::int32_t offset, std::size_t n) {
            std::memcpy(buf, page.data.data() + offset, n);
            buf += n;
        });
    }
    void Set(std::int32_t addr, std::byte const* buf, std::int32_t len) {
        Walk(addr, len, [&](Page& page, std::int32_t offset, std::size_t n) {
            std::memcpy(page.data.data() + offset, buf, n);
            page.dirty = true;
            buf += n;
        });
    }
    void SetLimit(std::int32_t kilobytes) {
        limit = static_cast<std::size_t>(kilobytes < 0 ? 0 : kilobytes * 1024 / 1036);
        Shrink(limit);
    }
    void Flush() {
        for (Page& page : cache) Write(page);
    }
    void Release() { Shrink(0); }

    std::list<Page> cache;  // newest first
    std::int64_t swapSize = 0;

private:
    template <class Copy>
    void Walk(std::int32_t addr, std::int32_t len, Copy copy) {
        while (len > 0) {
            std::int32_t const offset = addr % 1024;
            std::int32_t const n = len < 1024 - offset ? len : 1024 - offset;
            copy(Find(addr - offset), offset, static_cast<std::size_t>(n));
            addr += n;
            len -= n;
        }
    }

    std::list<Page>::iterator Listed(std::int64_t addr) {
        auto page = cache.begin();
        while (page != cache.end() && page->addr != addr) ++page;
        return page;
    }

    Page& Find(std::int32_t addr) {
        std::int32_t const slot = addr / 1024 % 16384;
        auto const page = Listed(addr);
        if (page != cache.end()) {
            auto const owner = slots.find(slot);
            if (owner != slots.end() && owner->second == addr) return *page;
            cache.splice(cache.begin(), cache, page);
        } else {
            if (!cache.empty() && cache.size() >= limit) Drop(std::prev(cache.end()));
            cache.push_front({addr, false, file[addr]});
        }
        slots[slot] = addr;
        return cache.front();
    }

    void Drop(std::list<Page>::iterator page) {
        Write(*page);
        auto const owner = slots.find(page->addr / 1024 % 16384);
        if (owner != slots.end() && owner->second == page->addr) slots.erase(owner);
        cache.erase(page);
    }

    void Shrink(std::size_t pages) {
        while (cache.size() > pages) Drop(cache.begin());
    }

    // A dirty page takes its dirty neighbours along, 64 pages in all, those above it first.
    void Write(Page& page) {
        if (!page.dirty) return;
        int room = 64;
        for (int step : {1024, -1024}) {
            for (auto next = Listed(page.addr + step); room > 1 && next != cache.end() && next->dirty;
                 --room) {
                Store(*next);
                next = Listed(std::int64_t{next->addr} + step);
            }
        }
        Store(page);
    }

    void Store(Page& page) {
        file[page.addr] = page.data;
        page.dirty = false;
        if (swapSize < page.addr + 1024) swapSize = page.addr + 1024;
    }

    std::size_t limit = 69;
    std::map<std::int32_t, std::int32_t> slots;  // which page has the slot
    std::map<std::int32_t, PageBytes> file;
};

}  // namespace vfile::test
