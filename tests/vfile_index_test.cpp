// Files of thousands of tiny blocks, so that seeks go by marks: what they say is checked after every step.
#include <gtest/gtest.h>
#include <vfile.h>

#include <optional>

#include "support/cut_file.h"
#include "support/faults.h"
#include "support/twin.h"
#include "vfile/blk_index.h"

namespace vfile::test {
namespace {

struct Edited {
    VFile file;
    std::string bytes;
    std::mt19937 random;

    explicit Edited(unsigned seed) : random(seed) {
        BlockCutter cutter;
        bytes = RandomText(random, 12000, "abc\n");
        cutter.Fill(file, bytes, 3, random);
    }
    int Below(std::size_t limit) { return static_cast<int>(random() % (limit + 1)); }
    int Place() { return Below(bytes.size()); }

    void Replace(int start, int delLen, std::string const& by) {
        auto const at = static_cast<std::size_t>(start);
        bytes.replace(at, static_cast<std::size_t>(delLen), by);
        file.ReplaceBuf(start, delLen, by.data(), static_cast<int>(by.size()));
    }
    void Copy(int start, int from, int len) {
        file.ReplaceTxt(start, 0, file, from, len);
        bytes.insert(static_cast<std::size_t>(start),
                     bytes.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(len)));
    }
    // Reads by a place of its own, while the block that was edited is still the current one.
    void ReadAside(int from) {
        std::string const got = PartOf(file, from, std::min<int>(50, file.Length() - from));
        ASSERT_EQ(got, bytes.substr(static_cast<std::size_t>(from), 50));
    }

    void Step() {
        int const at = Place();
        int const len = std::min(Below(random() % 8 ? 4 : 3000), static_cast<int>(bytes.size()) - at);
        switch (random() % 7) {
            case 0:
                return Replace(at, len, {});
            case 1:
                return Replace(at, len, RandomText(random, static_cast<std::size_t>(Below(2500)), "xyz"));
            case 2:
                for (int i = 0; i < 5; ++i) Replace(at + i, 0, "t");
                return ReadAside(Place());
            case 3:
                return Copy(at, Place() / 2, std::min(Below(2000), static_cast<int>(bytes.size()) / 2));
            case 4:
                file.SetPos(at);
                return ReadAside(Place());
            case 5:
                return Replace(at, len, RandomText(random, static_cast<std::size_t>(len), "same"));
            default:
                file.SetPos(at);
        }
    }
    void ExpectTruth() {
        ASSERT_EQ(file.res, ResDone);
        for (auto const check : {VFileInspector::BrokenChain, VFileInspector::BrokenCursor}) {
            char const* const broken = check(file);
            ASSERT_EQ(broken, nullptr) << broken;
        }
    }
};

TEST(VFileIndex, MarksAreTrueThroughAllChanges) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
        Edited edited(seed);
        std::size_t most = 0;
        for (int i = 0; i < 700; ++i) {
            edited.Step();
            edited.ExpectTruth();
            if (HasFatalFailure()) FAIL() << "seed " << seed << " step " << i;
            BlkIndex const* const index = VFileInspector::Index(edited.file);
            most = std::max(most, index ? index->Count() : 0);
        }
        EXPECT_GT(most, 60U) << "no marks: nothing was tested";
        EXPECT_TRUE(AllBytes(edited.file) == edited.bytes);
        VFile other("other");
        swap(other, edited.file);
        EXPECT_EQ(VFileInspector::BrokenChain(edited.file), nullptr) << "what another's index says";
        edited.file.SetPos(3);
        other.SetPos(static_cast<int>(edited.bytes.size() / 3));
        EXPECT_EQ(VFileInspector::BrokenChain(other), nullptr);
        other.ReplaceBuf(0, MaxLen, nullptr, 0);
        EXPECT_EQ(VFileInspector::BrokenChain(other), nullptr);
    }
}

TEST(VFileIndex, SeeksWithoutMemoryForIt) {
    for (int nth = 1; nth <= 4; ++nth) {
        Edited edited(9);
        std::optional<Faults> faults(std::in_place, Fault{Fault::kFailOnward, nth, 0, 0, Call::kAllocate});
        for (int i = 0; i < 40; ++i) {
            edited.file.SetPos(edited.Place());
            edited.ReadAside(edited.Place());
        }
        faults.reset();
        edited.ExpectTruth();
        edited.file.SetPos(edited.Place());
        edited.ExpectTruth();
        ASSERT_NE(VFileInspector::Index(edited.file), nullptr) << "memory has come back";
    }
}

}  // namespace
}  // namespace vfile::test
