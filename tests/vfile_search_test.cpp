// Search against a plain one that looks at every place, and global replace against the rule told in strings.
#include <gtest/gtest.h>
#include <vfile.h>

#include <algorithm>
#include <optional>

#include "support/cut_file.h"
#include "support/halts.h"

namespace vfile::test {
namespace {

struct Query {
    std::string pattern;
    bool ignoreCase;
    bool wholeWord;
};

// What a search gives and leaves.
struct Outcome {
    bool found;
    std::int32_t position;
    std::int32_t cursor;
    bool eof;
    bool operator==(Outcome const&) const = default;
};

std::ostream& operator<<(std::ostream& out, Outcome const& o) {
    return out << (o.found ? "found " : "missed ") << o.position << ", cursor " << o.cursor
               << (o.eof ? ", eof" : "");
}

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

class Text {
public:
    explicit Text(std::string bytes) : bytes_(std::move(bytes)) {}

    Outcome Find(int from, Query const& q) const {
        int const m = static_cast<int>(q.pattern.size());
        int const length = static_cast<int>(bytes_.size());
        for (int start = from; start + m <= length; ++start) {
            if (!IsAt(start, q)) continue;
            int const end = start + m;
            if (!q.wholeWord) return {true, end, std::min(end + 1, length), end == length};
            if (!IsWord(end) && !IsWord(start - 1)) return {true, end, std::max(start - 1, 0), start == 0};
            start = end - 1;  // passed as a whole
        }
        return {false, std::max(from, length) + 1, length, true};
    }

    Outcome FindBack(int limit, Query const& q) const {
        int const m = static_cast<int>(q.pattern.size());
        int const length = static_cast<int>(bytes_.size());
        for (int start = std::min(limit, length) - m; start >= 0; --start) {
            if (!IsAt(start, q)) continue;
            int const end = start + m;
            if (!q.wholeWord) return {true, start, std::max(start - 1, 0), start == 0};
            if (!IsWord(start - 1) && !IsWord(end))
                return {true, start, std::min(end + 1, length), end == length};
            start -= m - 1;
        }
        return {false, -1, 0, true};
    }

    std::string Replaced(Query const& q, std::string const& by, int& count) const {
        Text done(bytes_);
        count = 0;
        int from = 0;
        for (Outcome o = done.Find(from, q); o.found; o = done.Find(from, q)) {
            int const m = static_cast<int>(q.pattern.size());
            done.bytes_.replace(static_cast<std::size_t>(o.position - m), q.pattern.size(), by);
            from = o.position - m + static_cast<int>(by.size());
            ++count;
        }
        return done.bytes_;
    }

private:
    bool IsAt(int start, Query const& q) const {
        for (std::size_t k = 0; k < q.pattern.size(); ++k) {
            char const a = bytes_[static_cast<std::size_t>(start) + k];
            char const b = q.pattern[k];
            if (q.ignoreCase ? Upper(a) != Upper(b) : a != b) return false;
        }
        return true;
    }
    bool IsWord(int at) const {
        if (at < 0 || at >= static_cast<int>(bytes_.size())) return false;
        char const c = Upper(bytes_[static_cast<std::size_t>(at)]);
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
    }

    std::string bytes_;
};

using Search = bool (VFile::*)(std::int32_t&, char const*, bool, bool);

Outcome Searched(VFile& file, Search search, int position, Query const& q) {
    file.res = ResNotDone;  // a search wipes it
    std::int32_t at = position;
    bool const found = (file.*search)(at, q.pattern.c_str(), q.ignoreCase, q.wholeWord);
    EXPECT_EQ(file.res, ResDone);
    return {found, at, file.GetPos(), file.eof};
}

// Alphabets so small that partial matches, repetitions and word borders come all the time; the bytes between the
// cases of the letters and above 0x7F must not fold.
constexpr std::string_view kAlphabets[] = {"ab", "aAb ", "aA\x01!\xE1\xC1", "@`[{"};

class SearchAgainstText : public ::testing::TestWithParam<int> {};

TEST_P(SearchAgainstText, BothWaysFromEverywhere) {
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    BlockCutter cutter;
    VFile file;
    for (int round = 0; round < 300; ++round) {
        auto const alphabet = kAlphabets[random() % std::size(kAlphabets)];
        std::size_t const length = random() % (round % 10 ? 120 : 3000);
        std::string const bytes = RandomText(random, length, alphabet);
        Text const text(bytes);
        cutter.Fill(file, bytes, round % 10 ? 1 + round % 40 : 1024, random);
        for (int i = 0; i < 40; ++i) {
            std::size_t const m = 1 + random() % (i % 8 ? 5 : 60);
            std::size_t const cut = random() % (length + 1);
            bool const taken = i % 2 == 0 && cut + m <= length;  // half of them are there to be found
            Query const q{taken ? bytes.substr(cut, m) : RandomText(random, m, alphabet), random() % 2 == 0,
                          random() % 2 == 0};
            int const from = static_cast<int>(random() % (length + 3));
            SCOPED_TRACE("round " + std::to_string(round) + " pattern '" + q.pattern + "' from " +
                         std::to_string(from) + (q.ignoreCase ? " -i" : "") + (q.wholeWord ? " -w" : ""));
            ASSERT_EQ(Searched(file, &VFile::Find, from, q), text.Find(from, q));
            ASSERT_EQ(Searched(file, &VFile::FindBack, from, q), text.FindBack(from, q));
        }
    }
}

TEST_P(SearchAgainstText, ReplacesAll) {
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    BlockCutter cutter;
    VFile file;
    for (int round = 0; round < 600; ++round) {
        auto const alphabet = kAlphabets[random() % std::size(kAlphabets)];
        std::string const bytes = RandomText(random, random() % 400, alphabet);
        cutter.Fill(file, bytes, 1 + round % 60, random);
        Query const q{RandomText(random, 1 + random() % 3, alphabet), random() % 2 == 0, random() % 2 == 0};
        std::string const by = RandomText(random, random() % 5, alphabet);
        int count = 0;
        std::string const want = Text(bytes).Replaced(q, by, count);
        SCOPED_TRACE("round " + std::to_string(round) + " '" + q.pattern + "' by '" + by + "'");
        ASSERT_EQ(file.ReplaceGlobal(q.pattern.c_str(), by.c_str(), q.ignoreCase, q.wholeWord), count);
        ASSERT_EQ(file.res, ResDone);
        ASSERT_TRUE(file.eof);
        ASSERT_EQ(file.GetPos(), static_cast<std::int32_t>(want.size()));
        std::string got(want.size(), '\0');
        ASSERT_EQ(file.Length(), static_cast<std::int32_t>(want.size()));
        file.SetPos(0);
        file.ReadBytes(got.data(), file.Length());
        ASSERT_EQ(got, want);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, SearchAgainstText, ::testing::Range(1, 7));

// Patterns longer than a block, matches that lie across many of them, and a near miss that repeats itself.
TEST(Search, PatternsLongerThanBlocks) {
    std::mt19937 random(11);
    BlockCutter cutter;
    VFile file;
    std::string const half(1500, 'a');
    Query const q{half + "b" + half + "c", false, false};
    std::string const bytes = half + "b" + half + half + "b" + half + "c" + half;
    for (int most : {3, 700, 1024}) {
        cutter.Fill(file, bytes, most, random);
        Text const text(bytes);
        for (int from : {0, 1, 1501, 3002, 6004}) {
            ASSERT_EQ(Searched(file, &VFile::Find, from, q), text.Find(from, q)) << from;
            ASSERT_EQ(Searched(file, &VFile::FindBack, 7504 - from, q), text.FindBack(7504 - from, q))
                << from;
        }
    }
}

TEST(Search, RefusesAndLeavesAlone) {
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

class Vetoing : public VFile {
public:
    using VFile::VFile;
    int admitted = MaxLen;

protected:
    std::int32_t PreChange(std::int32_t, std::int32_t, std::int32_t) const override {
        return const_cast<Vetoing*>(this)->admitted-- > 0 ? ResDone : ResNoPermission;
    }
};

TEST(ReplaceGlobal, EndsWithTheFirstRefusal) {
    VFile locked("a-a-a");
    locked.InclFlag(VFile::ReadOnly);
    EXPECT_EQ(locked.ReplaceGlobal("x", "y", false, false), 0);
    EXPECT_EQ(locked.res, ResDone) << "nothing to replace is nothing to refuse";
    EXPECT_EQ(locked.ReplaceGlobal("a", "b", false, false), 0);
    EXPECT_EQ(locked.res, ResReadOnly);

    Vetoing file("a-a-a");
    file.admitted = 2;
    EXPECT_EQ(file.ReplaceGlobal("a", "bb", false, false), 2);
    EXPECT_EQ(file.res, ResNoPermission);
    char text[16];
    file.ReadTxt(text, 16, 0, MaxLen);
    EXPECT_STREQ(text, "bb-bb-a");
}

}  // namespace
}  // namespace vfile::test
