// What the random run meets too seldom: reasons to refuse, the blocks that changes leave, hooks that meddle.
#include <gtest/gtest.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <functional>
#include <sstream>

#include "support/halts.h"
#include "support/host_source.h"
#include "support/twin.h"

namespace vfile::test {
namespace {

constexpr char kTen[] = "0123456789";

// For each kind of change and each set of reasons. The longest length is set by hand, since 2 GiB would take
// hours; a change that keeps it gets as far as the hook.
TEST(VFileEdges, FirstReasonToRefuseCounts) {
    HostSource source(kTen);
    VFile const other("ab");
    for (int kind = 0; kind < 5; ++kind) {
        for (unsigned reasons = 1; reasons < 64; ++reasons) {
            SCOPED_TRACE(testing::Message() << "kind " << kind << ", reasons " << reasons);
            bool const stored = reasons & 32, bad = reasons & 16, locked = reasons & 8,
                       readOnly = reasons & 4;
            bool const tooLong = reasons & 2;
            std::int32_t const start = bad ? -1 : 5, delLen = tooLong ? 1 : 2;
            Probe file(kTen);
            source.At(0);
            file.SetPos(3);
            file.Begin({.act = Script::kVeto, .veto = 24});
            if (stored) file.res = ResNetworkError;
            VFileInspector::Flags(file) = (locked ? VFile::Locked : 0) | (readOnly ? VFile::ReadOnly : 0);
            VFileInspector::Length(file) = MaxLen;
            kind == 0   ? file.ReplaceBuf(start, delLen, "ab", 2)
            : kind == 1 ? file.ReplaceCh(start, delLen - 1, 'x', 1)
            : kind == 2 ? file.ReplaceTxt(start, delLen, other, 0, 2)
            : kind == 3 ? file.ReplaceFile(start, delLen, source.file, 2)
                        : file.ReplaceFile(start, delLen, source.AsHandle(file), 2);
            VFileInspector::Length(file) = 10;
            EXPECT_EQ(file.res, stored     ? ResNetworkError
                                : bad      ? ResCallError
                                : locked   ? ResContextError
                                : readOnly ? ResReadOnly
                                : tooLong  ? ResTooLong
                                           : 24);
            EXPECT_EQ(file.GetPos(), reasons == 1 ? 5 : 3);
            EXPECT_EQ(AllBytes(file), kTen);
        }
    }
}

// A change fills the current block or the one before, and merges where its last block meets a short one. What comes from a host
// file is a block of its own, which makes any layout.
TEST(VFileEdges, WhichBlocksMerge) {
    struct {
        char const* before;
        std::int32_t start, delLen, insLen;
        bool fromFile;
        std::string after;
    } const kCases[] = {
        {"1024 100",       1020, 0,      10,   false, "1024 110 "                    },
        {"1024 1014",      1020, 0,      10,   false, "1024 1024 "                   },
        {"1024 1015",      1020, 0,      10,   false, "1024 10 1015 "                },
        {"1000",           500,  0,      100,  false, "600 500 "                     },
        {"600",            100,  0,      5000, false, "1024 1024 1024 1024 1004 500 "},
        {"1000 1024",      1000, 0,      24,   false, "1024 1024 "                   },
        {"1024 600",       1024, 0,      24,   false, "1024 624 "                    },
        {"1024 1024",      1024, 0,      24,   false, "1024 24 1024 "                },
        {"600 1024",       1400, 0,      10,   false, "1024 610 "                    },
        {"600 1024",       605,  0,      10,   false, "1024 610 "                    },
        {"600 1024 1024",  2000, 0,      10,   false, "1024 1024 610 "               },
        {"1000 1024",      1500, 5,      10,   false, "1024 1005 "                   },
        {"1000 1024",      2024, 0,      10,   false, "1024 1010 "                   },
        {"1000 1024",      1010, 0,      20,   false, "1000 30 1014 "                },
        {"1000 100 1024",  1000, 100,    0,    false, "1000 1024 "                   },
        {"1000 100 1024",  1000, 99,     0,    false, "1000 1 1024 "                 },
        {"1024 1024 1024", 10,   2500,   0,    false, "10 562 "                      },
        {"1024 1024 1024", 1000, 2000,   30,   false, "1024 78 "                     },
        {"20 1024",        10,   0,      1,    true,  "10 11 1024 "                  },
        {"20 100",         10,   0,      1,    true,  "10 111 "                      },
        {"1024 1024 7",    0,    MaxLen, 0,    false, "0 "                           },
    };
    HostSource source(Pattern(5000));
    for (auto const& c : kCases) {
        SCOPED_TRACE(c.after);
        Twin twin;
        std::istringstream before(c.before);
        source.At(0);
        for (std::int32_t n = 0; before >> n; source.At(n))
            twin.Do([&](auto& f) { f.ReplaceFile(MaxLen, 0, source.AsHandle(f), n); });
        twin.Do([&](auto& f) {
            c.fromFile ? f.ReplaceFile(c.start, c.delLen, source.AsFile(f), c.insLen)
                       : f.ReplaceBuf(c.start, c.delLen, Pattern(c.insLen, 9).data(), c.insLen);
        });
        std::string lengths;
        BlkDesc const* const first = VFileInspector::First(twin.file);
        for (BlkDesc const* b = first; b; b = b->next) lengths += std::to_string(b->len) + ' ';
        EXPECT_EQ(lengths, c.after);
        EXPECT_EQ(first->addr == kNoAddr, twin.model.bytes.empty()) << "its page";
        twin.ExpectSameBytes();
    }
}

TEST(VFileEdges, BufferStaysWithItsBlock) {
    VFile file("abc");
    file.SetPos(1);
    EXPECT_TRUE(VFileInspector::BufDirty(file)) << "written back by a move inside the block";
    file.Flush();
    char taste[2];
    file.ReadBytes(taste, 2);
    EXPECT_EQ(VFileInspector::Buffer(file), nullptr) << "kept, or made by a bulk read";
}

}  // namespace
}  // namespace vfile::test
