// What the allocator hands out and keeps, move by move.
#include <gtest/gtest.h>
#include <vfile/vmem.h>

#include <cstring>
#include <initializer_list>
#include <numeric>
#include <string>
#include <vector>

#include "support/halts.h"
#include "vmem/invariants.h"

namespace vfile::test {
namespace {

using See = VMemInspector;

enum Op { kAlloc, kFree, kPage, kFreePage };
constexpr std::int32_t kAny = -2;

// `addr` is what an allocation must give, and what a release gives back.
struct Move {
    Op op;
    std::int32_t addr;
    int len = 1024;
};

void Play(VMem& memory, Move const& move) {
    auto const len = static_cast<std::int16_t>(move.len);
    std::int32_t addr = move.op == kFree || move.op == kFreePage ? move.addr : kAny;
    switch (move.op) {
        case kAlloc:
            memory.Alloc(addr, len);
            break;
        case kFree:
            memory.Dealloc(addr, len);
            break;
        case kPage:
            memory.AllocPage(addr);
            break;
        case kFreePage:
            memory.DeallocPage(addr);
            break;
    }
    bool const released = move.op == kFree || move.op == kFreePage;
    EXPECT_EQ(addr, released ? -1 : move.addr)
        << "op " << move.op << " of " << move.len << " at " << move.addr;
}

// The lists that hold something, as "number:length*count@head".
std::string Lists(VMem const& memory) {
    std::string text;
    for (int list = -1; list <= See::NumLists(memory); ++list) {
        if (See::Count(memory, list) == 0) continue;
        int const len = list < 0 ? 1024 : See::FreeLen(memory, list);
        text += (list < 0 ? "page" : std::to_string(list) + ":" + std::to_string(len)) + "*" +
                std::to_string(See::Count(memory, list)) + "@" + std::to_string(See::Head(memory, list)) +
                " ";
    }
    return text;
}

// Fills the thirteen lists that can be made, so that releases go to the general list: chunks of 2000 to 2012 bytes
// with 10 bytes above, which keep the range from shrinking.
void TakeAllLists(VMem& memory) {
    std::vector<std::int32_t> addrs(13);
    std::int32_t above = -1;
    for (int i = 0; i < 13; ++i)
        memory.Alloc(addrs[static_cast<std::size_t>(i)], static_cast<std::int16_t>(2000 + i));
    memory.Alloc(above, 10);
    for (int i = 0; i < 13; ++i)
        memory.Dealloc(addrs[static_cast<std::size_t>(i)], static_cast<std::int16_t>(2000 + i));
}
constexpr std::int32_t kBase = 13 * 2006 + 10;  // where the range ends then
constexpr char const* kMade =
    "4:2000*1@0 5:2001*1@2000 6:2002*1@4001 7:2003*1@6003 8:2004*1@8006 9:2005*1@10010 10:2006*1@12015 "
    "11:2007*1@14021 12:2008*1@16028 13:2009*1@18036 14:2010*1@20045 15:2011*1@22055 16:2012*1@24066 ";

struct Case {
    char const* what;
    bool general;  // all lists taken first
    std::vector<Move> moves;
    std::int32_t maxAddress;
    std::string lists;
};

TEST(VMemChunks, WhatIsHandedOutAndKept) {
    std::string const made = kMade;
    std::int32_t const b = kBase;
    Case const cases[] = {
        {"from the range",                         false, {{kAlloc, 0, 10}, {kAlloc, 10, 10}},                                           20,   ""                   },
        {"at least four bytes",
         false,                                           {{kAlloc, 0, 1}, {kAlloc, 4, 3}, {kAlloc, 8, 4}, {kAlloc, 12, 5}},
         17,                                                                                                                                   ""                   },
        {"the top goes back",
         false,                                           {{kAlloc, 0, 10}, {kAlloc, 10, 7}, {kFree, 10, 7}, {kAlloc, 10, 8}},
         18,                                                                                                                                   ""                   },
        {"a short top goes back whole",            false, {{kAlloc, 0, 2}, {kFree, 0, 2}},                                               0,    ""                   },
        {"the chunk below the top stays",
         false,                                           {{kAlloc, 0, 10}, {kAlloc, 10, 10}, {kFree, 0, 10}, {kFree, 10, 10}},
         10,                                                                                                                                   "4:10*1@0 "          },
        {"pages",
         false,                                           {{kPage, 0}, {kPage, 1024}, {kPage, 2048}, {kFreePage, 0}, {kFreePage, 1024}},
         3072,                                                                                                                                 "page*2@1024 "       },
        {"the last freed page comes first",
         false,                                           {{kPage, 0},
          {kPage, 1024},
          {kPage, 2048},
          {kFreePage, 0},
          {kFreePage, 1024},
          {kPage, 1024},
          {kAlloc, 0, 1024}},
         3072,                                                                                                                                 ""                   },
        {"the page below the top stays",
         false,                                           {{kPage, 0}, {kPage, 1024}, {kFreePage, 0}, {kFreePage, 1024}},
         1024,                                                                                                                                 "page*1@0 "          },
        {"a chunk on a boundary is a page",
         false,                                           {{kAlloc, 0, 1024}, {kAlloc, 1024, 9}, {kFree, 0, 1024}, {kPage, 0}},
         1033,                                                                                                                                 ""                   },
        {"gap of 924",                             false, {{kAlloc, 0, 100}, {kPage, 1024}},                                             2048, "0:0*1@100 "         },
        {"gap of 4",                               false, {{kAlloc, 0, 1020}, {kPage, 1024}},                                            2048, "1:4*1@1020 "        },
        {"gap of 5",                               false, {{kAlloc, 0, 1019}, {kPage, 1024}},                                            2048, "2:5*1@1019 "        },
        {"gap of 6",                               false, {{kAlloc, 0, 1018}, {kPage, 1024}},                                            2048, "0:0*1@1018 "        },
        {"gap of 1",                               false, {{kAlloc, 0, 1023}, {kPage, 2048}},                                            3072, "0:0*1@1023 "        },
        {"gap of 3",                               false, {{kAlloc, 0, 1021}, {kPage, 2048}},                                            3072, "0:0*1@1021 "        },
        {"a list comes and goes",
         false,                                           {{kAlloc, 0, 100}, {kAlloc, 100, 4}, {kFree, 0, 100}, {kAlloc, 0, 100}},
         104,                                                                                                                                  ""                   },
        {"an emptied list moves those above down",
         false,                                           {{kAlloc, 0, 10},
          {kAlloc, 10, 11},
          {kAlloc, 21, 12},
          {kAlloc, 33, 4},
          {kFree, 0, 10},
          {kFree, 10, 11},
          {kFree, 21, 12},
          {kAlloc, 10, 11}},
         37,                                                                                                                                   "4:10*1@0 5:12*1@21 "},
        {"permanent lists stay",
         false,                                           {{kAlloc, 0, 4},
          {kAlloc, 4, 5},
          {kAlloc, 9, 1024},
          {kAlloc, 1033, 4},
          {kFree, 0, 4},
          {kFree, 4, 5},
          {kFree, 9, 1024},
          {kAlloc, 9, 1024},
          {kAlloc, 0, 2}},
         1037,                                                                                                                                 "2:5*1@4 "           },
        {"1024 off the boundary, from the range",  false, {{kAlloc, 0, 9}, {kAlloc, 9, 1024}},                                           1033, ""                   },
        {"the fourteenth length",
         true,                                            {{kAlloc, b, 60}, {kAlloc, b + 60, 4}, {kFree, b, 60}},
         b + 64,
         "0:0*1@" + std::to_string(b) + " " + made                                                                                                                  },
        {"cut with a rest of 10",
         true,                                            {{kAlloc, b, 60}, {kAlloc, b + 60, 4}, {kFree, b, 60}, {kAlloc, b, 50}},
         b + 64,
         "0:0*1@" + std::to_string(b + 50) + " " + made                                                                                                             },
        {"cut with a rest of 4",
         true,                                            {{kAlloc, b, 54}, {kAlloc, b + 54, 4}, {kFree, b, 54}, {kAlloc, b, 50}},
         b + 58,
         "1:4*1@" + std::to_string(b + 50) + " " + made                                                                                                             },
        {"a rest of 3 is no rest",
         true,                                            {{kAlloc, b, 53}, {kAlloc, b + 53, 4}, {kFree, b, 53}, {kAlloc, b + 57, 50}},
         b + 107,
         "0:0*1@" + std::to_string(b) + " " + made                                                                                                                  },
        {"the largest is cut, the first of two",
         true,                                            {{kAlloc, b, 60},
          {kAlloc, b + 60, 4},
          {kAlloc, b + 64, 60},
          {kAlloc, b + 124, 20},
          {kAlloc, b + 144, 4},
          {kFree, b, 60},
          {kFree, b + 64, 60},
          {kFree, b + 124, 20},
          {kAlloc, b + 64, 10}},
         b + 148,
         "0:0*3@" + std::to_string(b + 74) + " " + made                                                                                                             },
        {"an exact one behind a larger",
         true,                                            {{kAlloc, b, 20},
          {kAlloc, b + 20, 4},
          {kAlloc, b + 24, 60},
          {kAlloc, b + 84, 4},
          {kFree, b, 20},
          {kFree, b + 24, 60},
          {kAlloc, b, 20}},
         b + 88,
         "0:0*1@" + std::to_string(b + 24) + " " + made                                                                                                             },
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        VMem memory;
        if (c.general) TakeAllLists(memory);
        for (Move const& move : c.moves) Play(memory, move);
        EXPECT_EQ(See::MaxAddress(memory), c.maxAddress);
        EXPECT_EQ(Lists(memory), c.lists);
        char const* const rule = BrokenRule(memory);
        EXPECT_EQ(rule, nullptr) << rule;

        memory.DeallocAll();
        EXPECT_EQ(Lists(memory), "");
        EXPECT_EQ(See::NumLists(memory), 3);
        Play(memory, {kAlloc, 0, 10});
    }
}

TEST(VMemChunks, TheRangeEndsBeforeTheAddressesDo) {
    VMem memory;
    std::int32_t addr = -1, first = -1;
    memory.AllocPage(first);
    while (memory.CanAllocPage()) memory.AllocPage(addr);
    EXPECT_EQ(addr, 0x7FFFF800);
    EXPECT_EQ(HaltOf([&] { memory.AllocPage(addr); }), "VMem, AllocPage():\nout of virtual memory");
    EXPECT_EQ(HaltOf([&] { memory.Alloc(addr, 1024); }), "VMem, Alloc():\nout of virtual memory");
    memory.Alloc(addr, 1023);  // to the very last address
    EXPECT_EQ(See::MaxAddress(memory), MaxLen);
    EXPECT_EQ(HaltOf([&] { memory.Alloc(addr, 1); }), "VMem, Alloc():\nout of virtual memory");

    char last = 'z', got = 0;
    memory.Set(MaxLen - 1, last);
    memory.Get(MaxLen - 1, got);
    EXPECT_EQ(got, 'z');
    EXPECT_EQ(HaltOf([&] { memory.Get(MaxLen, got); }), "VMem, Get():\nillegal address (>max.address)");
    EXPECT_EQ(HaltOf([&] { memory.CopyBytes(MaxLen - 1, 0, 2000); }),
              "VMem, Set():\nillegal address (>max.address)");
    EXPECT_EQ(HaltOf([&] { memory.CopyBytes(0, MaxLen - 1, 2); }),
              "VMem, Get():\nillegal address (>max.address)");

    memory.DeallocPage(first);  // one free page is enough
    EXPECT_TRUE(memory.CanAllocPage());
    memory.AllocPage(addr);
    EXPECT_EQ(addr, 0);
    EXPECT_FALSE(memory.CanAllocPage());
}

TEST(VMemChunks, CopyIsAMove) {
    constexpr int kSize = 8000;
    std::vector<unsigned char> want(kSize);
    std::iota(want.begin(), want.end(), static_cast<unsigned char>(0));
    for (std::size_t i = 0; i < want.size(); ++i) want[i] = static_cast<unsigned char>(want[i] ^ (i >> 8));
    VMem memory;
    memory.SetMaxCacheSize(3);
    std::int32_t base = -1;
    memory.Alloc(base, kSize);
    memory.Set(base, want.data(), kSize);
    struct {
        std::int32_t dst, src;
        std::int16_t len;
    } const copies[] = {
        {0,    1,    5000},
        {1,    0,    5000},
        {700,  0,    1024},
        {700,  0,    1025},
        {0,    700,  1025},
        {3000, 100,  4096},
        {10,   10,   3000},
        {50,   7000, 0   },
        {1023, 0,    3   },
        {1500, 0,    2048},
        {0,    1024, 6976}
    };
    for (auto const& c : copies) {
        memory.CopyBytes(c.dst, c.src, c.len);
        std::memmove(want.data() + c.dst, want.data() + c.src, static_cast<std::size_t>(c.len));
        std::vector<unsigned char> got(kSize);
        memory.Get(base, got.data(), kSize);
        ASSERT_EQ(got, want) << c.len << " bytes from " << c.src << " to " << c.dst;
    }
    memory.CopyBytes(-5, -5, 100);  // checks no address
    memory.CopyBytes(-5, 99999999, 0);
}

}  // namespace
}  // namespace vfile::test
