// What the allocator hands out and keeps, move by move.
#include <gtest/gtest.h>
#include <vfile/vmem.h>

#include <cstring>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "support/halts.h"
#include "vmem/invariants.h"

namespace vfile::test {
namespace {

using See = VMemInspector;

// Plays moves: "a10=0" allocates 10 bytes and must get 0, "f10@0" frees them; "p=0" and "d@0" do so with a page.
// Addresses count from `base`.
void Play(VMem& memory, std::string const& moves, std::int32_t base) {
    std::istringstream words(moves);
    for (std::string word; words >> word;) {
        int len = 1024, at = 0;
        bool const ofPage = word[0] == 'p' || word[0] == 'd';
        if (!ofPage) len = std::stoi(word.substr(1));
        at = base + std::stoi(word.substr(word.find_first_of("=@") + 1));
        std::int32_t addr = at;
        bool const releases = word.find('@') != std::string::npos;
        if (ofPage) {
            releases ? memory.DeallocPage(addr) : memory.AllocPage(addr);
        } else {
            auto const bytes = static_cast<std::int16_t>(len);
            releases ? memory.Dealloc(addr, bytes) : memory.Alloc(addr, bytes);
        }
        EXPECT_EQ(addr, releases ? -1 : at) << word;
    }
}

// The lists that hold something, those of 2000 bytes and more left out: "length*count@head", "page" for free pages.
std::string Lists(VMem const& memory, std::int32_t base) {
    std::string text;
    for (int list = -1; list <= See::NumLists(memory); ++list) {
        if (See::Count(memory, list) == 0 || (list > 3 && See::FreeLen(memory, list) >= 2000)) continue;
        text += list < 0 ? "page" : std::to_string(See::FreeLen(memory, list));
        text += "*" + std::to_string(See::Count(memory, list)) + "@" +
                std::to_string(See::Head(memory, list) - base) + " ";
    }
    return text;
}

// Fills the thirteen lists that can be made, so that releases go to the general list.
std::int32_t TakeAllLists(VMem& memory) {
    std::int32_t addrs[13], above = -1;
    for (int i = 0; i < 13; ++i) memory.Alloc(addrs[i], static_cast<std::int16_t>(2000 + i));
    memory.Alloc(above, 10);  // keeps the range from shrinking
    for (int i = 0; i < 13; ++i) memory.Dealloc(addrs[i], static_cast<std::int16_t>(2000 + i));
    return above + 10;
}

struct Case {
    char const* what;
    char const* moves;
    std::int32_t end;  // of the range
    char const* lists;
};

constexpr Case kCases[] = {
    {"from the range",                        "a10=0 a10=10",                                             20,   ""            },
    {"at least four bytes",                   "a1=0 a3=4 a4=8 a5=12",                                     17,   ""            },
    {"the top goes back",                     "a10=0 a7=10 f7@10 a8=10",                                  18,   ""            },
    {"a short top goes back whole",           "a2=0 f2@0",                                                0,    ""            },
    {"the chunk below the top stays",         "a10=0 a10=10 f10@0 f10@10",                                10,   "10*1@0 "     },
    {"pages",                                 "p=0 p=1024 p=2048 d@0 d@1024",                             3072, "page*2@1024 "},
    {"the last freed page comes first",       "p=0 p=1024 p=2048 d@0 d@1024 p=1024 a1024=0",              3072, ""            },
    {"the page below the top stays",          "p=0 p=1024 d@0 d@1024",                                    1024, "page*1@0 "   },
    {"a chunk on a boundary is a page",       "a1024=0 a9=1024 f1024@0 p=0",                              1033, ""            },
    {"gap of 924",                            "a100=0 p=1024",                                            2048, "0*1@100 "    },
    {"gap of 4",                              "a1020=0 p=1024",                                           2048, "4*1@1020 "   },
    {"gap of 5",                              "a1019=0 p=1024",                                           2048, "5*1@1019 "   },
    {"gap of 6",                              "a1018=0 p=1024",                                           2048, "0*1@1018 "   },
    {"gap of 1",                              "a1023=0 p=2048 a1015=1023 a10=2038",                       3072, ""            },
    {"gap of 3",                              "a1021=0 p=2048 a1027=1021",                                3072, ""            },
    {"a list comes and goes",                 "a100=0 a4=100 f100@0 a100=0",                              104,  ""            },
    {"those above an emptied list move down", "a10=0 a11=10 a12=21 a4=33 f10@0 f11@10 f12@21 a11=10",     37,
     "10*1@0 12*1@21 "                                                                                                        },
    {"permanent lists stay",                  "a4=0 a5=4 a1024=9 a4=1033 f4@0 f5@4 f1024@9 a1024=9 a2=0", 1037, "5*1@4 "      },
    {"1024 off the boundary, from the range", "a9=0 a1024=9",                                             1033, ""            },
};

// The same, when all lists are taken.
constexpr Case kGeneralCases[] = {
    {"the fourteenth length",               "a60=0 a4=60 f60@0",                                             64,  "0*1@0 " },
    {"cut with a rest of 10",               "a60=0 a4=60 f60@0 a50=0 a10=50",                                64,  ""       },
    {"cut with a rest of 4",                "a54=0 a4=54 f54@0 a50=0",                                       58,  "4*1@50 "},
    {"a rest of 3 is no rest",              "a53=0 a4=53 f53@0 a50=57",                                      107, "0*1@0 " },
    {"the first of the two largest is cut", "a60=0 a4=60 a60=64 a20=124 a4=144 f60@0 f60@64 f20@124 a10=64",
     148,                                                                                                         "0*3@74 "},
    {"an exact one behind a larger",        "a20=0 a4=20 a60=24 a4=84 f20@0 f60@24 a20=0",                   88,  "0*1@24 "},
};

void ExpectResult(Case const& c, bool general) {
    SCOPED_TRACE(c.what);
    VMem memory;
    std::int32_t const base = general ? TakeAllLists(memory) : 0;
    Play(memory, c.moves, base);
    EXPECT_EQ(See::MaxAddress(memory), base + c.end);
    EXPECT_EQ(Lists(memory, base), c.lists);
    EXPECT_TRUE(!general || See::NumLists(memory) == 16);
    char const* const rule = BrokenRule(memory);
    EXPECT_EQ(rule, nullptr) << rule;

    memory.DeallocAll();
    EXPECT_EQ(See::NumLists(memory), 3);
    Play(memory, "a10=0 p=1024", 0);
}

TEST(VMemChunks, WhatIsHandedOutAndKept) {
    for (Case const& c : kCases) ExpectResult(c, false);
    for (Case const& c : kGeneralCases) ExpectResult(c, true);
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
