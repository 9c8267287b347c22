// The view of a file as units: positions, reads, edits, and which of them a derived class sees.
#include "support/test.h"

namespace vfile::test {
namespace {

// NOLINTNEXTLINE(google-readability-casting): the one cast that reaches a private base.
VFile& BytesOf(TCharVFile& file) { return (VFile&)file; }

// "result: text cursor-in-bytes[+ for eof] res", a byte that is no unit behind the text.
std::string StateOf(TCharVFile& file, std::int64_t result) {
    std::ostringstream state;
    state << result << ": ";
    std::int32_t const pos = file.GetPos();
    bool const eof = file.eof;
    FileRes const res = file.res;
    file.SetPos(0);
    for (TChar unit = 0; file.ReadTChar(unit), !file.eof;) state << static_cast<char>(unit);
    state << (file.Length() % 2 ? "| " : " ") << pos << (eof ? "+ " : " ") << res;
    return state.str();
}

// On the units of abcd and one byte more, the cursor at unit 1: an expression, and what is so afterwards.
#define STEP(...)                          \
    [](TCharVFile& f) -> int {             \
        [[maybe_unused]] TChar u[9] = {7}; \
        return __VA_ARGS__;                \
    }
// clang-format off
constexpr struct {
    int (*run)(TCharVFile& f);
    char const* after;
} kSteps[] = {
    {STEP(f.SetTCharPos(3), f.GetTCharPos()), "3: abcd| 6 0"},
    {STEP(f.SetTCharPos(-1), f.TCharLength()), "4: abcd| 9 0"},
    {STEP(f.ReadTChars(u, -1)), "3: abcd| 9+ 0"},
    {STEP(f.ToString() == u"abcd"), "1: abcd| 8 0"},
    {STEP(f.ReadLine(u, 3) * 1000 + u[1]), "2099: abcd| 9+ 0"},
    {STEP(f.eof = true, f.InsertTChar(u'u', 0), f.InsertTChar(u'u', -1), 0), "0: abcd| 2+ 0"},
    {STEP(f.TruncateTChars(), f.AppendTChars(TString(u"xy"), 9), f.InsertTChars(TString(u"xy"), INT32_MAX), 0), "0: axyxy 10 0"},
    {STEP(f.InsertTChars(u"xyz", INT32_MIN), 0), "0: abcd| 2 2"},
    {STEP(f.InsertTChars(f, 2, 2), 0), "0: acdbcd| 6 0"},
    {STEP(f.SetPos(3), f.TruncateTChars(), 0), "0: a| 3 0"},
    {STEP(f.ReplaceTChar(2, u'u'), 0), "0: abud| 6 0"},
    {STEP(f.TruncateTChars(), f.AppendTChar(u'x', 2), f.ReplaceTChar(9, u'y'), 0), "0: axxy 8 0"},
    {STEP(f = *&f, f = u'u', 0), "0: u 2 0"},
};
// clang-format on

TEST(TextView, EveryStepLeavesItsState) {
    for (auto const& step : kSteps) {
        for (bool const insertMode : {false, true}) {
            SCOPED_TRACE(&step - kSteps);
            TCharVFile file;
            file << u"abcd";
            BytesOf(file).AppendByte('x');
            file.SetFlag(TCharVFile::InsertMode, insertMode);
            file.SetTCharPos(1);
            std::string const state = StateOf(file, step.run(file));
            EXPECT_EQ(state.substr(0, std::string(step.after).size()), step.after);
        }
    }
    TCharVFile none;
    none.eof = true;
    EXPECT_TRUE(none.ToString().empty() && none.eof);
}

TEST(TextView, ComparesAndCopies) {
    TString const rows[] = {u"",       u"A",       u"ABCD",   u"B",
                            u"\u0100", u"\u0100A", u"\uFFFF", TString(700, u'\uFFFF')};
    for (std::size_t n = 0; n < std::size(rows) * std::size(rows); ++n) {
        std::size_t const a = n / std::size(rows), b = n % std::size(rows);
        TCharVFile left, right;
        left << rows[a];
        right << rows[b];
        EXPECT_TRUE((left <=> right) == (a <=> b) && (left == right) == (a == b));
        BytesOf(right).AppendByte(0);
        EXPECT_TRUE((left < right) == (a <= b) && left != right) << "a lone byte makes it longer";
    }
    TCharVFile text;
    text << u"abcd";
    TCharVFile const all(text), moved(std::move(text));
    EXPECT_TRUE(moved == all && TCharVFile(all, 1, 2).ToString() == u"bc" &&
                TCharVFile(all, 2).ToString() == u"cd" && TCharVFile(all, -1, 2).Length() == 0);
}

// Letters beyond ASCII are those of the host's locale.
TEST(TextView, WordsFollowTheLocale) {
    TCharVFile file;
    file << u"caf\u00E9 caf";
    for (bool const inLocale : {true, false}) {
        ASSERT_TRUE(std::setlocale(LC_CTYPE, inLocale ? "C.UTF-8" : "C"));
        std::int32_t position = 0;
        EXPECT_TRUE(file.FindTChars(position, u"caf", false, true));
        EXPECT_EQ(position, inLocale ? 8 : 3);
    }
}

}  // namespace
}  // namespace vfile::test
