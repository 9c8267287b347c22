// The edges of cursor, reads, changes and flags, worked out by hand, and the blocks that changes leave. All that
// a row does is done to a model too.
#include <gtest/gtest.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>

#include "support/halts.h"
#include "support/host_source.h"
#include "support/model.h"
#include "support/temp_dir.h"
#include "vfile/block.h"
#include "vfile/invariants.h"
#include "vfile/seek.h"

namespace vfile::test {
namespace {

constexpr char kTen[] = "0123456789";

// Does what a script says, word by word, and gives what it saw: "." stands for a zero byte, "_" for one that was
// left alone.
template <class Side>
class Player {
public:
    Player(Side& side, char const* script) : f(side), words(script) {}

    std::string Play() {
        for (std::string word; words >> word;) Step(word);
        std::replace(seen.begin(), seen.end(), '\0', '.');
        return seen;
    }

private:
    Side& f;
    std::istringstream words;
    std::string seen;

    std::int32_t Number() {
        std::string word;
        words >> word;
        return word == "max"    ? MaxLen
               : word == "same" ? SameLen
                                : static_cast<std::int32_t>(std::stol(word, nullptr, 0));
    }

    void Step(std::string const& word) {
        unsigned char b = '_';
        std::int32_t const n = word == "byte" || word == "back" ? 0 : Number();
        if (word == "byte") f.ReadByte(b), seen += static_cast<char>(b);
        if (word == "back") f.ReadPrevByte(b), seen += static_cast<char>(b);
        if (word == "read") seen += ReadSome(f, n);
        if (word == "readnull") seen += std::to_string(f.ReadBytes(nullptr, n));
        if (word == "text") Text(n);
        if (word == "textnull") f.ReadTxt(nullptr, n, 0, 1);
        if (word == "seek") f.SetPos(n);
        if (word == "seekfrom") f.SetPos(Number(), n);
        if (word == "type") f.SetType(n);
        if (word == "lock") f.Lock(n != 0);
        if (word == "on") f.InclFlag(n), seen += std::to_string(f.GetFlags());
        if (word == "flags") f.SetFlags(n), seen += std::to_string(f.GetFlags());
        if (word == "buf" || word == "bufnull" || word == "copies" || word == "self")
            Replace(word, n, Number());
    }

    void Text(std::int32_t size) {
        std::string out(6, '_');
        std::int32_t const start = Number(), count = Number();
        seen += std::to_string(f.ReadTxt(out.data(), size, start, count)) + out;
    }

    // "buf START DELETE DATA" takes a number for data as so many bytes of which only a few are really there.
    void Replace(std::string const& word, std::int32_t start, std::int32_t delLen) {
        if (word == "copies") return f.ReplaceCh(start, delLen, 'x', Number());
        if (word == "bufnull") return f.ReplaceBuf(start, delLen, nullptr, Number());
        if (word == "self") {
            std::int32_t const from = Number();
            return f.ReplaceTxt(start, delLen, f, from, Number());
        }
        std::string data;
        words >> data;
        if (data == "endless") return f.ReplaceBuf(start, delLen, kTen, MaxLen - 2);
        if (data == "line") data = "a\nb";
        f.ReplaceBuf(start, delLen, data.data(), static_cast<std::int32_t>(data.size()));
    }
};

std::string Summary(Probe const& file, std::string const& seen) {
    std::string const bytes = AllBytes(file);
    std::ostringstream out;
    out << seen << '|' << (bytes.size() > 20 ? std::to_string(bytes.size()) + " bytes" : bytes) << " @"
        << file.GetPos();
    if (file.eof) out << " eof";
    if (file.res != ResDone) out << " res " << file.res;
    for (HookCall const& c : file.calls) {
        out << ' ' << c.kind << c.start << ',' << c.delLen;
        if (c.kind != 'f') out << ',' << c.insLen;
    }
    return out.str();
}

TEST(VFileEdges, ByHand) {
    struct {
        char const *content, *script, *want;
    } const kCases[] = {
        {"",         "byte",                                                    ".| @0 eof"                                                  },
        {"",         "back",                                                    ".| @0 eof"                                                  },
        {"",         "read 2",                                                  "__|0| @0 eof"                                               },
        {kTen,       "readnull 0",                                              "0|0123456789 @4"                                            },
        {kTen,       "byte readnull 1",                                         "40|0123456789 @5 res 2"                                     },
        {kTen,       "readnull -1",                                             "0|0123456789 @4 res 2"                                      },
        {kTen,       "seek 7 read 3",                                           "789|3|0123456789 @10"                                       },
        {kTen,       "seek 7 read 4",                                           "789_|3|0123456789 @10 eof"                                  },
        {kTen,       "seek 10 byte",                                            ".|0123456789 @10 eof"                                       },
        {kTen,       "seek 10 byte back",                                       ".9|0123456789 @9"                                           },
        {kTen,       "seek 10 byte readnull 1 seek -1",                         ".0|0123456789 @10 eof res 2"                                },
        {kTen,       "seek 10 byte seek 10",                                    ".|0123456789 @10"                                           },
        {kTen,       "seek 0 back",                                             ".|0123456789 @0 eof"                                        },
        {kTen,       "seek -1",                                                 "|0123456789 @4 res 2"                                       },
        {kTen,       "seek -1 byte read 2",                                     "456|2|0123456789 @7 res 2"                                  },
        {kTen,       "seek 110",                                                "|0123456789 @10"                                            },
        {kTen,       "seekfrom 3 0",                                            "|0123456789 @4 res 2"                                       },
        {kTen,       "seekfrom -1 0",                                           "|0123456789 @4 res 2"                                       },
        {kTen,       "seekfrom 2 -1",                                           "|0123456789 @9"                                             },
        {"",         "seekfrom 2 -1",                                           "| @0 res 2"                                                 },
        {kTen,       "seekfrom 1 max",                                          "|0123456789 @10"                                            },
        {kTen,       "seekfrom 2 max",                                          "|0123456789 @10"                                            },
        {kTen,       "seekfrom 1 same",                                         "|0123456789 @4 res 2"                                       },
        {kTen,       "seekfrom 9 0 seekfrom 1 0",                               "|0123456789 @4"                                             },
        {kTen,       "text 1 2 100",                                            "0._____|0123456789 @2"                                      },
        {kTen,       "text 4 2 100",                                            "3234.__|0123456789 @5"                                      },
        {kTen,       "text 6 8 max",                                            "289.___|0123456789 @10"                                     },
        {kTen,       "text 6 15 10",                                            "0._____|0123456789 @10"                                     },
        {kTen,       "text 0 0 1",                                              "0______|0123456789 @4 res 2"                                },
        {kTen,       "text 6 -1 1",                                             "0______|0123456789 @4 res 2"                                },
        {kTen,       "text 6 1 -1",                                             "0______|0123456789 @4 res 2"                                },
        {kTen,       "textnull 5",                                              "|0123456789 @4 res 2"                                       },
        {kTen,       "bufnull 5 0 0",                                           "|0123456789 @5"                                             },
        {kTen,       "bufnull 50 7 0",                                          "|0123456789 @10"                                            },
        {kTen,       "seek 10 byte bufnull 10 0 0",                             ".|0123456789 @10"                                           },
        {kTen,       "buf 100 5 ab",                                            "|0123456789ab @12 <10,0,2 >10,0,2"                          },
        {kTen,       "bufnull 0 0 5",                                           "|0123456789 @4 res 2"                                       },
        {kTen,       "buf 0 -1 x",                                              "|0123456789 @4 res 2"                                       },
        {kTen,       "buf -1 0 x",                                              "|0123456789 @4 res 2"                                       },
        {kTen,       "bufnull 0 same -1",                                       "|0123456789 @4 res 2"                                       },
        {kTen,       "buf 0 same abc",                                          "|abc3456789 @3 <0,3,3 >0,3,3"                               },
        {kTen,       "buf 9 same abc",                                          "|012345678abc @12 <9,1,3 >9,1,3"                            },
        {kTen,       "bufnull 3 same 0",                                        "|0123456789 @3"                                             },
        {kTen,       "bufnull 0 max 0",                                         "| @0 <0,10,0 >0,10,0"                                       },
        {kTen,       "buf 3 1 endless",                                         "|0123456789 @4 res 16"                                      },
        {kTen,       "on 2 buf 3 1 endless",                                    "2|0123456789 @4 res 4 f2,1"                                 },
        {kTen,       "on 2 bufnull 5 0 0",                                      "2|0123456789 @4 res 4 f2,1"                                 },
        {kTen,       "on 2 lock 1 bufnull 5 0 0",                               "2|0123456789 @4 res 3 f2,1"                                 },
        {kTen,       "on 2 lock 1 bufnull -5 0 0",                              "2|0123456789 @4 res 2 f2,1"                                 },
        {kTen,       "lock 1 on 1",                                             "512|0123456789 @4 res 3"                                    },
        {kTen,       "copies 1 7 0",                                            "|089 @1 <1,7,0 >1,7,0"                                      },
        {kTen,       "copies 1 same 1",                                         "|0x23456789 @2 <1,1,1 >1,1,1"                               },
        {kTen,       "copies 1 1 -1",                                           "|0123456789 @4 res 2"                                       },
        {"",         "copies 0 0 3000",
         "|3000 bytes @3000 <0,0,1024 >0,0,1024 <1024,0,1024 >1024,0,1024 <2048,0,952 >2048,0,952"                                           },
        {kTen,       "copies 5 2 1025",                                         "|1033 bytes @1030 <5,2,1024 >5,2,1024 <1029,0,1 >1029,0,1"  },
        {"a",        "copies 0x7ffffffa 0 1100",                                "|1101 bytes @1101 <1,0,1024 >1,0,1024 <1025,0,76 >1025,0,76"},
        {kTen,       "on 0x31 flags 0",                                         "490|0123456789 @4 f1,1 f16,1 f32,1 f1,0 f16,0 f32,0"        },
        {kTen,       "on 0x7ffffe00 on 5 on 4",                                 "055|0123456789 @4 f1,1 f4,1"                                },
        {kTen,       "on 0x20 bufnull 0 1 0 bufnull 0 1 0",
         "32|23456789 @0 f32,1 <0,1,0 >0,1,0 f8,1 <0,1,0 >0,1,0"                                                                             },
        {kTen,       "on 0x20 bufnull 3 0 0 on 0",                              "3232|0123456789 @3 f32,1"                                   },
        {kTen,       "seek -1 bufnull 0 1 0 copies 0 0 2000 self 0 0 0 9 on 1", "0|0123456789 @4 res 2"                                      },
        {"",         "type 1 on 0x100 buf 0 0 line flags 0",                    "2561024|a\nb @3 f256,1 <0,0,3 >0,0,3 f256,0"                },
        {"",         "type 1 on 0x180 buf 0 0 line on 0",                       "384384|a\nb @3 f128,1 f256,1 <0,0,3 >0,0,3"                 },
        {"",         "on 0x100 buf 0 0 line on 0",                              "256256|a\nb @3 f256,1 <0,0,3 >0,0,3"                        },
        {"abcdefgh", "self 5 0 0 max",                                          "|abcdeabcdefghfgh @13 <5,0,8 >5,0,8"                        },
        {"abcdefgh", "self 2 3 0 5",                                            "|ababcdefgh @7 <2,3,5 >2,3,5"                               },
        {"abcdefgh", "self 0 same 3 4",                                         "|defgefgh @4 <0,4,4 >0,4,4"                                 },
        {"abcdefgh", "self 0 same 0 max",                                       "|abcdefgh @8 <0,8,8 >0,8,8"                                 },
        {"abcdefgh", "self 0 max 2 3",                                          "|cde @3 <0,8,3 >0,8,3"                                      },
        {"abcdefgh", "self 20 0 6 99",                                          "|abcdefghgh @10 <8,0,2 >8,0,2"                              },
        {"abcdefgh", "self 3 same 20 5",                                        "|abcdefgh @3"                                               },
        {"abcdefgh", "self 3 2 20 5",                                           "|abcfgh @3 <3,2,0 >3,2,0"                                   },
        {"abcdefgh", "self 3 0 -1 5",                                           "|abcdefgh @4 res 2"                                         },
        {"abcdefgh", "self 3 0 0 -5",                                           "|abcdefgh @4 res 2"                                         },
        {"abcdefgh", "buf 3 2 DE self 8 0 2 4",                                 "|abcDEfghcDEf @12 <3,2,2 >3,2,2 <8,0,4 >8,0,4"              },
    };
    for (auto const& c : kCases) {
        SCOPED_TRACE(std::string(c.content) + ": " + c.script);
        Twin twin(c.content);
        std::string seen;
        twin.Do([&](auto& f) { return f.SetPos(4), seen = Player(f, c.script).Play(); });
        EXPECT_EQ(Summary(twin.file, seen), c.want);
        twin.ExpectSameBytes();
    }
}

TEST(VFileEdges, TypedReadsFillWhatThereIs) {
    VFile file("\x01\x02\x03");
    file.SetPos(0);
    std::uint32_t x = 0xAABBCCDD;
    file.ReadDWord(x);
    EXPECT_EQ(x, 0xAA030201u);
    EXPECT_TRUE(file.eof);
    file.SetPos(1);
    std::int16_t word = 0;
    file.ReadWord(word);
    EXPECT_EQ(word, 0x0302);
    EXPECT_FALSE(file.eof);
}

TEST(VFileEdges, BufferStaysWithItsBlock) {
    VFile file("abc");
    file.SetPos(1);
    EXPECT_TRUE(VFileInspector::BufDirty(file)) << "written back by a move inside the block";
    file.Flush();
    EXPECT_FALSE(VFileInspector::BufDirty(file));
    EXPECT_EQ(VFileInspector::Buffer(file), nullptr);
    file.ReadBytes(std::string(2, '\0').data(), 2);
    EXPECT_EQ(VFileInspector::Buffer(file), nullptr) << "made by a bulk read";
}

std::vector<std::int32_t> Lengths(std::string const& blocks) {
    std::istringstream in(blocks);
    return {std::istream_iterator<std::int32_t>(in), {}};
}

// A file of exactly these blocks: what comes from a host file is a block of its own.
std::unique_ptr<Twin> Blocks(std::vector<std::int32_t> const& lengths, HostSource& source) {
    auto twin = std::make_unique<Twin>();
    std::int32_t at = 0;
    for (std::int32_t const n : lengths) {
        source.At(at);
        twin->Do([&](auto& f) { f.ReplaceFile(MaxLen, 0, source.AsHandle(f), n); });
        at += n;
    }
    return twin;
}

std::vector<std::int32_t> BlockLengths(VFile const& file) {
    std::vector<std::int32_t> lengths;
    for (BlkDesc const* b = VFileInspector::First(file); b; b = b->next) lengths.push_back(b->len);
    return lengths;
}

class VFileBlocks : public testing::Test {
protected:
    VFileBlocks() {
        WriteWhole(dir_.Bytes("pattern"), Pattern(16 * BlkSize));
        source_ = std::make_unique<HostSource>(dir_.Bytes("pattern"));
    }
    TempDir dir_;
    std::unique_ptr<HostSource> source_;
};

// Every border of every layout, with lengths that just fit and just do not, from each kind of source, the
// block of the cursor clean and dirty.
TEST_F(VFileBlocks, EveryBorderAndLength) {
    constexpr char const* kLayouts[] = {
        "", "20", "1024", "1000 1024", "1024 1 1024 500", "1 1 1024 1024 1", "600 600 600"};
    constexpr std::int32_t kDeletions[] = {0, 1, 24, 600, 1023, 1024, 1025, 2048, MaxLen, SameLen};
    constexpr std::int32_t kInsertions[] = {0, 1, 10, 24, 25, 424, 1023, 1024, 1025, 2049, 5000};
    std::string const fresh = Pattern(5000, 3);
    int cases = 0;
    for (char const* const blocks : kLayouts) {
        std::vector<std::int32_t> const layout = Lengths(blocks);
        std::int32_t border = 0;
        std::vector<std::int32_t> starts{0};
        for (std::int32_t const n : layout) {
            border += n;
            for (std::int32_t const d : {-4, -1, 0, 1}) starts.push_back(std::max(0, border + d));
        }
        for (std::int32_t const start : starts) {
            for (std::int32_t const delLen : kDeletions) {
                for (std::int32_t const n : kInsertions) {
                    auto const twin = Blocks(layout, *source_);
                    int const kind = cases++ % 4;
                    source_->At(7);
                    twin->Do([&](auto& f) {
                        f.ReplaceBuf(cases % 3 ? start : 0, SameLen, "d", cases % 2);
                        kind == 0   ? f.ReplaceTxt(start, delLen, f, start / 2, n)
                        : kind == 1 ? f.ReplaceFile(start, delLen, source_->AsFile(f), n)
                        : kind == 2 ? f.ReplaceFile(start, delLen, source_->AsHandle(f), n)
                                    : f.ReplaceBuf(start, delLen, fresh.data(), n);
                    });
                    twin->ExpectSameBytes();
                    ASSERT_FALSE(HasFailure()) << layout.size() << " blocks, kind " << kind << ", start "
                                               << start << ", delete " << delLen << ", insert " << n;
                }
            }
        }
    }
}

// Which blocks a change leaves: it fills the current one, and merges where its last block meets a short one.
TEST_F(VFileBlocks, MergesWhatItShould) {
    struct {
        char const* what;
        char const* before;
        std::int32_t start, delLen, insLen;
        bool fromFile;
        char const* after;
    } const kCases[] = {
        {"into a full block, merged with its follower", "1024 100",       1020, 0,      10,   false, "1024 110"                    },
        {"into a full block, the follower too long",    "1024 1020",      1020, 0,      10,   false, "1024 10 1020"                },
        {"the tail moves out",                          "1000",           500,  0,      100,  false, "600 500"                     },
        {"much in the middle",                          "600",            100,  0,      5000, false, "1024 1024 1024 1024 1004 500"},
        {"behind a full last block",                    "1024",           1024, 0,      1500, false, "1024 1024 476"               },
        {"at a border, the block before has room",      "1000 1024",      1000, 0,      24,   false, "1024 1024"                   },
        {"at a border, the block before is full",       "1024 600",       1024, 0,      24,   false, "1024 624"                    },
        {"at a border, both full",                      "1024 1024",      1024, 0,      24,   false, "1024 24 1024"                },
        {"one whole block behind a full one",           "1024 100 1024",  1024, 100,    0,    false, "1024 1024"                   },
        {"one whole block behind one with room",        "1000 100 1024",  1000, 100,    0,    false, "1000 1024"                   },
        {"the head of a later block",                   "1000 100 1024",  1000, 99,     0,    false, "1000 1 1024"                 },
        {"a deletion merges nothing",                   "1024 1024 1024", 10,   2500,   0,    false, "10 562"                      },
        {"the rest of a cut block joins the new",       "1024 1024 1024", 1000, 2000,   30,   false, "1024 78"                     },
        {"a byte from a file",                          "20 1024",        10,   0,      1,    true,  "10 11 1024"                  },
        {"a byte from a file, merged",                  "20 100",         10,   0,      1,    true,  "10 111"                      },
        {"all of it",                                   "1024 1024 7",    0,    MaxLen, 0,    false, "0"                           },
    };
    for (auto const& c : kCases) {
        SCOPED_TRACE(c.what);
        auto const twin = Blocks(Lengths(c.before), *source_);
        ASSERT_EQ(BlockLengths(twin->file), Lengths(c.before));
        std::string const fresh = Pattern(c.insLen, 9);
        source_->At(0);
        twin->Do([&](auto& f) {
            c.fromFile ? f.ReplaceFile(c.start, c.delLen, source_->AsFile(f), c.insLen)
                       : f.ReplaceBuf(c.start, c.delLen, fresh.data(), c.insLen);
        });
        EXPECT_EQ(BlockLengths(twin->file), Lengths(c.after));
        EXPECT_EQ(VFileInspector::First(twin->file)->addr == kNoAddr, twin->model.bytes.empty())
            << "its page";
        twin->ExpectSameBytes();
    }
}

// The walk starts at the nearest place: links of the ways not to be taken are cut.
TEST(SeekBlk, TakesTheShortestWay) {
    struct {
        char const* what;
        std::int32_t rd, position;
        bool forwardFromFirst, backFromRd, forwardFromRd, backFromLast;
    } const kCases[] = {
        {"nearer to the head",              1000, 499,  true,  false, false, false},
        {"a tie goes back from the reader", 1000, 500,  false, true,  false, false},
        {"nearer to the reader",            0,    1499, false, false, true,  false},
        {"a tie comes back from the tail",  0,    1500, false, false, false, true },
    };
    for (auto const& c : kCases) {
        SCOPED_TRACE(c.what);
        std::vector<BlkDesc> blocks(30);
        for (std::size_t i = 0; i < 30; ++i)
            blocks[i] = {i ? &blocks[i - 1] : nullptr, i < 29 ? &blocks[i + 1] : nullptr, kNoAddr, 100};
        BlkDesc& at = blocks[static_cast<std::size_t>(c.rd / 100)];
        if (!c.forwardFromFirst && !c.forwardFromRd) blocks.front().next = nullptr;
        if (!c.backFromRd) at.prev = nullptr;
        if (!c.forwardFromRd && &at != &blocks.front()) at.next = nullptr;
        if (!c.backFromLast) blocks.back().prev = nullptr;
        BlkRdr rd{&at, c.rd, 0};
        SeekBlk(rd, &blocks.front(), &blocks.back(), 3000, c.position, false);
        EXPECT_EQ(rd.start, c.position / 100 * 100);
        EXPECT_EQ(rd.ix, c.position % 100);
    }
}

// At the longest length a change may not add a byte. The length is set by hand, since 2 GiB would take hours.
// One that keeps it gets as far as the hook, which then refuses.
TEST_F(VFileBlocks, NothingPassesMaxLen) {
    Probe file(kTen);
    VFile source("ab");
    auto& length = VFileInspector::Length(file);
    for (std::int32_t const delLen : {1, 2}) {
        std::function<void()> const kCalls[] = {
            [&] { file.ReplaceBuf(5, delLen, "ab", 2); },
            [&] { file.ReplaceCh(5, delLen - 1, 'x', 1); },
            [&] { file.ReplaceTxt(5, delLen, source, 0, 2); },
            [&] { file.ReplaceFile(5, delLen, source_->file, 2); },
            [&] { file.ReplaceFile(5, delLen, source_->AsHandle(file), 2); },
        };
        for (auto const& call : kCalls) {
            file.SetPos(3);
            file.Begin({.act = Script::kVeto, .veto = 24});
            length = MaxLen;
            call();
            length = 10;
            EXPECT_EQ(file.res, delLen == 1 ? ResTooLong : 24);
            EXPECT_EQ(file.GetPos(), delLen == 1 ? 3 : 5);
            EXPECT_EQ(AllBytes(file), kTen);
        }
    }
}

class Meddler : public VFile {
public:
    using VFile::VFile;
    std::function<void(VFile&)> meddle;

private:
    std::int32_t PreChange(std::int32_t, std::int32_t, std::int32_t) const override {
        if (meddle) const_cast<Meddler*>(this)->Once();
        return ResDone;
    }
    void Once() {
        auto const now = std::move(meddle);
        meddle = nullptr;
        now(*this);
    }
};

TEST(VFileEdges, PreChangeLeavesItsOwnFileAlone) {
    std::function<void(VFile&)> const kMeddlings[] = {
        [](VFile& f) { f.SetPos(3); }, [](VFile& f) { f.ReplaceBuf(0, 1, nullptr, 0); },
        [](VFile& f) {
            f.ReplaceBuf(f.GetPos(), SameLen, "zz", 2), f.SetPos(5);
        },  // same cursor, same length
    };
    for (auto const& meddling : kMeddlings) {
        Meddler file("0123456789");
        file.meddle = meddling;
        EXPECT_EQ(HaltOf([&] { file.ReplaceBuf(5, 0, "x", 1); }),
                  "VFile, ReplaceBuf():\nfile changed in PreChange");
        file.SetPos(5), file.meddle = meddling;
        EXPECT_EQ(HaltOf([&] { file.ReplaceTxt(5, 0, file, 0, 2); }),
                  "VFile, ReplaceTxt():\nfile changed in PreChange");
        EXPECT_EQ(BrokenRule(file), nullptr);
    }
    Meddler target("0123456789");
    VFile source("abcdef");
    target.meddle = [&](VFile&) { source.ReplaceBuf(0, MaxLen, nullptr, 0); };
    target.ReplaceTxt(5, 0, source, 0, 3);
    EXPECT_EQ(AllBytes(target), "01234abc56789") << "the source was emptied by the hook";
}

}  // namespace
}  // namespace vfile::test
