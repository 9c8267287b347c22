#include "vmem/page_map.h"

#include <cassert>
#include <new>
#include <utility>

namespace vfile {
namespace {

constexpr int kSmallestBits = 8;

std::uint32_t KeyOf(std::int32_t addr) { return static_cast<std::uint32_t>(addr) | 1; }

}  // namespace

// The golden ratio scatters pages in a row and pages at any power of two apart, which is how addresses come.
std::uint32_t PageMap::Home(std::uint32_t key) const { return (key >> 10) * 0x9E3779B1u >> (32 - bits); }

// The entry that holds `key`, or the free one where it would go.
std::uint32_t PageMap::Probe(std::uint32_t key) const {
    std::uint32_t at = Home(key);
    while (keys[at] != 0 && keys[at] != key) at = (at + 1) & mask;
    return at;
}

bool PageMap::Reserve(std::int32_t wanted) {
    int needed = kSmallestBits;
    while ((std::int64_t{1} << needed) < std::int64_t{wanted} * 2) ++needed;
    if (needed <= bits) return true;

    PageMap bigger;
    bigger.bits = needed;
    bigger.mask = (1u << needed) - 1;
    bigger.keys.reset(new (std::nothrow) std::uint32_t[std::size_t{bigger.mask} + 1]());
    bigger.pages.reset(new (std::nothrow) CacheDesc*[std::size_t{bigger.mask} + 1]);
    if (!bigger.keys || !bigger.pages) return false;

    for (std::uint32_t at = 0; bits != 0 && at <= mask; ++at) {
        if (keys[at] != 0) bigger.Insert(static_cast<std::int32_t>(keys[at] & ~1u), pages[at]);
    }
    *this = std::move(bigger);
    return true;
}

CacheDesc* PageMap::Find(std::int32_t addr) const {
    std::uint32_t const at = Probe(KeyOf(addr));
    return keys[at] != 0 ? pages[at] : nullptr;
}

void PageMap::Insert(std::int32_t addr, CacheDesc* page) {
    std::uint32_t const at = Probe(KeyOf(addr));
    assert(keys[at] == 0 && static_cast<std::uint32_t>(count) < mask);
    keys[at] = KeyOf(addr);
    pages[at] = page;
    ++count;
}

// Closes the gap by moving back every entry behind it that may stand nearer to its home, so that no search ever
// meets a gap before its page.
void PageMap::Erase(std::int32_t addr) {
    std::uint32_t gap = Probe(KeyOf(addr));
    assert(keys[gap] != 0);
    for (std::uint32_t at = (gap + 1) & mask; keys[at] != 0; at = (at + 1) & mask) {
        if (((at - Home(keys[at])) & mask) < ((at - gap) & mask)) continue;
        keys[gap] = keys[at];
        pages[gap] = pages[at];
        gap = at;
    }
    keys[gap] = 0;
    --count;
}

}  // namespace vfile
