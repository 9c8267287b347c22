// The search of a text against a plain one that looks at every unit, and where it differs from that of bytes.
#include <gtest/gtest.h>
#include <vfile.h>
#include <vfile/char_file.h>

#include <clocale>

#include "support/search_model.h"

namespace vfile::test {
namespace {

struct OfUnits {
    using Char = TChar;
    using File = TCharVFile;

    // Units whose bytes make others across the border of two; letters that differ in the high byte alone.
    static constexpr std::u16string_view kAlphabets[] = {u"ab", u"aAb ", u"\u6161\u0061\u6100",
                                                         u"a\u0161A\u4100\u00E1\u00C1", u"@`[{"};

    // NOLINTNEXTLINE(google-readability-casting): the one cast that reaches a private base.
    static VFile& BytesOf(TCharVFile& file) { return (VFile&)file; }
    static std::int32_t Cursor(TCharVFile const& file) { return file.GetTCharPos(); }
    static bool Find(TCharVFile& file, std::int32_t& at, Query<TChar> const& q) {
        return file.FindTChars(at, q.pattern, q.ignoreCase, q.wholeWord);
    }
    static bool FindBack(TCharVFile& file, std::int32_t& at, Query<TChar> const& q) {
        return file.FindBackTChars(at, q.pattern, q.ignoreCase, q.wholeWord);
    }
    static int ReplaceGlobal(TCharVFile& file, Query<TChar> const& q, TString const& by) {
        return file.ReplaceGlobalTChars(q.pattern.c_str(), by.c_str(), q.ignoreCase, q.wholeWord);
    }
};

class TextSearch : public ::testing::TestWithParam<int> {
protected:
    SearchAgainstModel<OfUnits> run{GetParam()};
};

TEST_P(TextSearch, BothWaysFromEverywhere) { run.BothWaysFromEverywhere(); }
TEST_P(TextSearch, ReplacesAll) { run.ReplacesAll(); }
TEST_P(TextSearch, PatternsLongerThanBlocks) { run.PatternsLongerThanBlocks(); }

INSTANTIATE_TEST_SUITE_P(Seeds, TextSearch, ::testing::Range(1, 5));

TEST(SearchOfUnits, RefusesAndLeavesAlone) {
    TCharVFile file;
    file.InsertTStr(u"abcabc");
    file.SetTCharPos(2);
    std::int32_t position = -1;
    EXPECT_FALSE(file.FindTChars(position, u"", false, false));
    EXPECT_FALSE(file.FindBackTChars(position, u"a", false, false));
    EXPECT_EQ(position, -1);
    position = 77;
    EXPECT_TRUE(file.FindTChars(position, TString(u"\0a", 2), true, true)) << "a NUL ends the pattern";
    EXPECT_EQ(position, 77);
    EXPECT_EQ(file.ReplaceGlobalTChars(u"", u"x", false, false), 0);
    EXPECT_EQ(file.res, ResCallError) << "an empty pattern wipes nothing";
    EXPECT_EQ(file.GetTCharPos(), 2);
    for (std::int32_t const beyond : {0x40000000, MaxLen}) {
        position = beyond;
        EXPECT_FALSE(file.FindTChars(position, u"abc", false, false));
        EXPECT_EQ(position, beyond == MaxLen ? MaxLen : beyond + 1);
        position = beyond;
        EXPECT_TRUE(file.FindBackTChars(position, u"abc", false, false));
        EXPECT_EQ(position, 3);
    }
}

// Letters beyond ASCII are those of the host's locale.
TEST(SearchOfUnits, WordsFollowTheLocale) {
    TCharVFile file;
    file.InsertTStr(u"caf\u00E9 caf");
    for (bool const inLocale : {true, false}) {
        ASSERT_TRUE(std::setlocale(LC_CTYPE, inLocale ? "C.UTF-8" : "C"));
        std::int32_t position = 0;
        EXPECT_TRUE(file.FindTChars(position, u"caf", false, true));
        EXPECT_EQ(position, inLocale ? 8 : 3);
    }
}

}  // namespace
}  // namespace vfile::test
