// Search against a plain one that looks at every place, and global replace against the rule told in strings.
#include <gtest/gtest.h>
#include <vfile.h>

#include <cctype>

#include "support/search_model.h"

namespace vfile::test {
namespace {

struct OfBytes {
    using Char = char;
    using File = VFile;

    // So small that partial matches, repetitions and word borders come all the time; the bytes between the cases of
    // the letters and above 0x7F must not fold.
    static constexpr std::string_view kAlphabets[] = {"ab", "aAb ", "aA\x01!\xE1\xC1", "@`[{"};

    static VFile& BytesOf(VFile& file) { return file; }
    static std::int32_t Cursor(VFile const& file) { return file.GetPos(); }
    static bool Find(VFile& file, std::int32_t& at, Query<char> const& q) {
        return file.Find(at, q.pattern.c_str(), q.ignoreCase, q.wholeWord);
    }
    static bool FindBack(VFile& file, std::int32_t& at, Query<char> const& q) {
        return file.FindBack(at, q.pattern.c_str(), q.ignoreCase, q.wholeWord);
    }
    static int ReplaceGlobal(VFile& file, Query<char> const& q, std::string const& by) {
        return file.ReplaceGlobal(q.pattern.c_str(), by.c_str(), q.ignoreCase, q.wholeWord);
    }
};

class Search : public ::testing::TestWithParam<int> {
protected:
    SearchAgainstModel<OfBytes> run{GetParam()};
};

TEST_P(Search, BothWaysFromEverywhere) { run.BothWaysFromEverywhere(); }
TEST_P(Search, ReplacesAll) { run.ReplacesAll(); }
TEST_P(Search, PatternsLongerThanBlocks) { run.PatternsLongerThanBlocks(); }

INSTANTIATE_TEST_SUITE_P(Seeds, Search, ::testing::Range(1, 5));

TEST(SearchOfBytes, RefusesAndLeavesAlone) {
    VFile file("abcabc");
    file.SetPos(2);
    std::int32_t position = -1;
    EXPECT_FALSE(file.Find(position, "", false, false))
        << "a negative position is seen before an empty pattern";
    EXPECT_EQ(file.res, ResCallError);
    EXPECT_FALSE(file.FindBack(position, "a", false, false));
    EXPECT_EQ(position, -1);
    EXPECT_EQ(file.GetPos(), 2);

    position = 77;
    EXPECT_TRUE(file.Find(position, "", true, true));
    EXPECT_TRUE(file.FindBack(position, "", true, true));
    EXPECT_EQ(position, 77);
    EXPECT_EQ(file.res, ResCallError) << "an empty pattern wipes nothing";
    EXPECT_EQ(file.ReplaceGlobal("", "x", false, false), 0);
    EXPECT_EQ(file.res, ResCallError);
    EXPECT_EQ(file.GetPos(), 2);

    position = MaxLen;
    EXPECT_FALSE(file.Find(position, "abc", false, false));
    EXPECT_EQ(position, MaxLen);
}

TEST(SearchOfBytes, WordsAreOfLettersAndDigits) {
    for (int b = 0; b < 256; ++b) {
        bool const alone = b >= 128 || !std::isalnum(b);
        for (std::size_t const at : {0u, 2u}) {
            std::string text = " x ";
            text[at] = static_cast<char>(b);
            VFile file;
            file.ReplaceBuf(0, 0, text.data(), 3);
            std::int32_t ahead = 0, back = MaxLen;
            EXPECT_EQ(file.Find(ahead, "x", false, true), alone) << b;
            EXPECT_EQ(file.FindBack(back, "x", false, true), alone) << b;
        }
    }
}

TEST(ReplaceGlobal, RefusesOnlyWhatItFinds) {
    VFile locked("a-a-a");
    locked.InclFlag(VFile::ReadOnly);
    EXPECT_EQ(locked.ReplaceGlobal("x", "y", false, false), 0);
    EXPECT_EQ(locked.res, ResDone) << "nothing to replace is nothing to refuse";
    EXPECT_EQ(locked.ReplaceGlobal("a", "b", false, false), 0);
    EXPECT_EQ(locked.res, ResReadOnly);
}

}  // namespace
}  // namespace vfile::test
