#include "vfile/invariants.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "vfile/blk_index.h"

namespace vfile {

namespace {
constexpr int kShortChain = 64;

bool IsShort(BlkDesc const* block) {
    int count = 0;
    while (block && count <= kShortChain) {
        block = block->next;
        ++count;
    }
    return count <= kShortChain;
}
}  // namespace

char const* VFileInspector::BrokenBlock(VFile const& face, BlkDesc const& block) {
    Engine const& file = EngineOf(face);
    if (block.prev ? block.prev->next != &block : file.first != &block) return "1: links disagree";
    if (block.next ? block.next->prev != &block : file.last != &block) return "1: links disagree";
    if (block.len < 0 || block.len > BlkSize) return "2: block length out of range";
    if (block.len == 0 && (file.length > 0 || block.prev || block.next)) return "2: empty block";
    if (block.len > 0 && (block.addr < 0 || block.addr % BlkSize != 0)) return "5: no page";
    return nullptr;
}

char const* VFileInspector::BrokenCursor(VFile const& face) {
    Engine const& file = EngineOf(face);
    BlkRdr const& cur = file.cur;
    if (!cur.ptr) return "4: cursor without a block";
    if (cur.ix < 0 || cur.ix > cur.ptr->len) return "4: cursor outside its block";
    if (cur.start < 0 || file.pos != cur.start + cur.ix || file.pos > file.length)
        return "4: position disagrees";
    if (!cur.ptr->prev && cur.start != 0) return "4: start of the first block";
    if (!cur.ptr->next && cur.start != file.length - cur.ptr->len) return "4: start of the last block";
    if (file.bufDirty && !file.bufValid) return "6: dirty buffer is not valid";
    if (file.bufValid && !file.buf) return "6: valid buffer does not exist";
    return nullptr;
}

// `marks` are those of the blocks before this one. What the current block carries is not told to those behind it.
char const* VFileInspector::BrokenMark(VFile const& face, BlkDesc const& block, std::int64_t start,
                                       std::size_t& marks) {
    Engine const& file = EngineOf(face);
    BlkIndex const* const index = file.index;
    if (!index || marks == index->Count() || index->Block(marks) != &block) return nullptr;
    bool const behind = index->Start(marks) > file.cur.start;
    bool const wrong = index->Start(marks) + std::int64_t{behind ? file.carried : 0} != start;
    ++marks;
    return wrong ? "7: mark with another start" : nullptr;
}

char const* VFileInspector::BrokenChain(VFile const& face) {
    Engine const& file = EngineOf(face);
    std::int64_t sum = 0;  // wider than the length: the sum itself must not wrap
    std::int64_t cursorStart = -1;
    std::size_t marks = 0;
    for (BlkDesc const* block = file.first; block; block = block->next) {
        if (char const* const broken = BrokenBlock(face, *block)) return broken;
        if (block == file.cur.ptr) cursorStart = sum;
        if (char const* const broken = BrokenMark(face, *block, sum, marks)) return broken;
        sum += block->len;
    }
    if (sum != file.length) return "3: lengths do not add up";
    if (BlkIndex const* const index = file.index; index && marks != index->Count())
        return "7: mark of no block";
    return cursorStart == file.cur.start ? nullptr : "4: start of the current block";
}

char const* VFileInspector::BrokenPages(VFile const& face) {
    Engine const& file = EngineOf(face);
    std::vector<std::int32_t> pages;
    for (BlkDesc const* block = file.first; block; block = block->next) {
        if (block->addr != kNoAddr) pages.push_back(block->addr);
    }
    std::sort(pages.begin(), pages.end());
    bool const shared = std::adjacent_find(pages.begin(), pages.end()) != pages.end();
    return shared ? "5: two blocks on one page" : nullptr;
}

char const* VFileInspector::BrokenBuffer(VFile const& face) {
    Engine const& file = EngineOf(face);
    if (!file.bufValid || file.bufDirty) return nullptr;
    unsigned char page[BlkSize];
    BlkDesc const& block = *file.cur.ptr;
    file.mem->Get(block.addr, page, block.len);
    bool const same = std::memcmp(page, file.buf, static_cast<std::size_t>(block.len)) == 0;
    return same ? nullptr : "6: buffer and page disagree";
}

char const* BrokenRule(VFile const& file) {
    using Check = char const* (*)(VFile const&);
    constexpr Check kChecks[] = {VFileInspector::BrokenCursor, VFileInspector::BrokenChain,
                                 VFileInspector::BrokenPages, VFileInspector::BrokenBuffer};
    if (!VFileInspector::First(file) || !VFileInspector::Last(file)) return "1: no block";
    for (Check const check : kChecks) {
        if (char const* const broken = check(file)) return broken;
    }
    return nullptr;
}

char const* BrokenRuleAtCursor(VFile const& file) {
    if (char const* const broken = VFileInspector::BrokenCursor(file)) return broken;
    BlkDesc const& block = *VFileInspector::Cursor(file).ptr;
    BlkDesc const* const touched[] = {block.prev, &block, block.next};
    for (BlkDesc const* const one : touched) {
        char const* const broken = one ? VFileInspector::BrokenBlock(file, *one) : nullptr;
        if (broken) return broken;
    }
    return IsShort(VFileInspector::First(file)) ? VFileInspector::BrokenChain(file) : nullptr;
}

}  // namespace vfile
