// Which descriptor holds a page, for every cached page: an open-addressed table with linear probing, never more
// than half full, that grows with the cache. Owns no descriptor.
#pragma once

#include <cstdint>
#include <memory>

namespace vfile {

struct CacheDesc;

class PageMap {
public:
    // Makes room for `count` pages in all. False for want of memory, and then nothing has changed.
    bool Reserve(std::int32_t count);

    // Null when the page is not there.
    CacheDesc* Find(std::int32_t addr) const;

    // A page that is not there yet, for which Reserve made room; a page that is there.
    void Insert(std::int32_t addr, CacheDesc* page);
    void Erase(std::int32_t addr);

    std::int32_t Count() const { return count; }

private:
    std::uint32_t Home(std::uint32_t key) const;
    std::uint32_t Probe(std::uint32_t key) const;

    // Keys stand apart from what they lead to, so that a search that finds nothing, the common one, reads keys
    // alone. A key is the page's address with its lowest bit set; 0 is a free entry.
    std::unique_ptr<std::uint32_t[]> keys;
    std::unique_ptr<CacheDesc*[]> pages;
    std::uint32_t mask = 0;
    int bits = 0;  // of the table's size; 0 while there is no table
    std::int32_t count = 0;
};

}  // namespace vfile
