// The line model against one that knows all line ends of a string beforehand.
#include <gtest/gtest.h>
#include <vfile.h>

#include <cstring>
#include <vector>

#include "support/cut_file.h"

namespace vfile::test {
namespace {

struct Line {
    int start, size, eol;
};

// All lines of a text; the last one has no line end, and may be empty.
std::vector<Line> LinesOf(std::string const& text) {
    std::vector<Line> lines;
    int start = 0;
    int const length = static_cast<int>(text.size());
    for (int i = 0; i < length; ++i) {
        auto const at = static_cast<std::size_t>(i);
        bool const pair = text[at] == '\r' && i + 1 < length && text[at + 1] == '\n';
        if (text[at] != '\r' && text[at] != '\n') continue;
        int const eol = pair ? 2 : 1;
        i += eol - 1;
        lines.push_back({start, i + 1 - start, eol});
        start = i + 1;
    }
    lines.push_back({start, length - start, 0});
    return lines;
}

Line LineOf(std::vector<Line> const& lines, int position) {
    for (Line const& line : lines) {
        if (position < line.start + line.size) return line;
    }
    return lines.back();
}

bool LoneCr(std::string const& text, int position) {
    auto const at = static_cast<std::size_t>(position);
    return position > 0 && text[at - 1] == '\r' && !(at < text.size() && text[at] == '\n');
}

void ExpectLine(VFile& file, std::string const& text, int position, Line const& want) {
    int const length = static_cast<int>(text.size());
    int const clipped = std::min(position, length);
    bool const touched = clipped > 0;

    file.SetPos(length / 2);
    EXPECT_EQ(file.LineStart(position), want.start);
    bool const behindCr = LoneCr(text, clipped);
    int const cursor = !touched   ? length / 2
                       : behindCr ? std::min(clipped + 1, length)
                                  : std::max(want.start - 1, 0);
    EXPECT_EQ(file.GetPos(), cursor);
    EXPECT_EQ(file.eof, touched && (behindCr ? clipped == length : want.start == 0));

    std::int32_t start = -7;
    std::int32_t size = -7;
    std::int32_t eol = -7;
    file.res = ResNotDone;
    file.LineSize(position, start, size, eol);
    EXPECT_EQ(file.res, ResDone);
    EXPECT_EQ(start, want.start);
    EXPECT_EQ(size, want.size);
    EXPECT_EQ(eol, want.eol);
    int const end = start + size;
    EXPECT_EQ(file.GetPos(), want.eol > 0 && LoneCr(text, end) ? std::min(end + 1, length) : end);

    EXPECT_EQ(file.LineEnd(position, true), end);
    EXPECT_EQ(file.LineEnd(position, false), end - eol);

    auto const from = static_cast<std::size_t>(start);
    auto const other = std::min(text.find_first_not_of(' ', from), text.size());
    EXPECT_EQ(file.LineIndent(position), static_cast<int>(other - from));
    EXPECT_EQ(file.GetPos(), std::min(static_cast<int>(other) + 1, length));
    EXPECT_EQ(file.eof, other == text.size());
}

void ExpectPairTests(VFile& file, std::string const& text, int position) {
    int const length = static_cast<int>(text.size());
    int const at = std::min(position, length);
    auto const pairAt = [&](int p) {
        return p >= 0 && text.compare(static_cast<std::size_t>(p), 2, "\r\n") == 0;
    };
    auto const is = [&](int p, char c) {
        return p >= 0 && p < length && text[static_cast<std::size_t>(p)] == c;
    };

    EXPECT_EQ(file.AfterCRLF(position), at >= 2 && pairAt(at - 2));
    EXPECT_EQ(file.GetPos(), std::max(is(at - 1, '\n') ? at - 2 : at - 1, 0));
    file.SetPos(0);
    bool const between = position >= 1 && position - 1 <= length && pairAt(position - 1);
    EXPECT_EQ(file.BetweenCRLF(position), between);
    EXPECT_TRUE(position >= 1 || file.GetPos() == 0);
    EXPECT_EQ(file.BeforeCRLF(position), at < length && pairAt(at));
    EXPECT_EQ(file.GetPos(), std::min(is(at, '\r') ? at + 2 : at + 1, length));
}

void ExpectReadLines(VFile& file, std::string const& text, std::vector<Line> const& lines, int capacity) {
    std::vector<char> buf(static_cast<std::size_t>(capacity) + 1, '#');
    file.SetPos(0);
    for (Line const& line : lines) {
        int const content = line.size - line.eol;
        int const kept = std::min(content, capacity - 1);
        ASSERT_EQ(file.ReadLine(buf.data(), capacity), kept);
        ASSERT_EQ(std::memcmp(buf.data(), text.data() + line.start, static_cast<std::size_t>(kept)), 0);
        ASSERT_EQ(buf[static_cast<std::size_t>(kept)], 0);
        ASSERT_EQ(buf.back(), '#');
        ASSERT_EQ(file.GetPos(), line.start + line.size);
        ASSERT_EQ(file.eof, line.eol == 0);
    }
}

void ExpectMappedStream(VFile& file, std::string const& text, std::vector<Line> const& lines) {
    std::string want;
    for (Line const& line : lines) {
        want +=
            text.substr(static_cast<std::size_t>(line.start), static_cast<std::size_t>(line.size - line.eol));
        if (line.eol > 0) want += '\n';
    }
    std::string got;
    int taken = 0;
    file.SetPos(0);
    for (char c; int const n = file.Read(c);) {
        got += c;
        taken += n;
    }
    EXPECT_EQ(got, want);
    EXPECT_EQ(taken, static_cast<int>(text.size()));
    EXPECT_TRUE(file.eof);
}

TEST(Lines, AgreeWithAListOfThem) {
    std::mt19937 random(5);
    BlockCutter cutter;
    VFile file;
    for (int round = 0; round < 400; ++round) {
        constexpr std::string_view kAlphabets[] = {"\r\n", "\r\n a", std::string_view("\r\n  ab\0\xFF", 8),
                                                   "\nabcdefgh", "\rabcdefgh  "};
        std::string const text = RandomText(random, random() % 60, kAlphabets[round % 5]) +
                                 (round % 7 ? "" : std::string(1100, ' ')) +
                                 RandomText(random, random() % 9, kAlphabets[round % 5]);
        cutter.Fill(file, text, 1 + round % 50, random);
        auto const lines = LinesOf(text);
        for (int position = 0; position <= static_cast<int>(text.size()) + 2; ++position) {
            if (position > 80 && position < static_cast<int>(text.size()) - 40) continue;
            SCOPED_TRACE("round " + std::to_string(round) + " position " + std::to_string(position));
            ExpectLine(file, text, position, LineOf(lines, position));
            ExpectPairTests(file, text, position);
            if (HasFailure()) return;
        }
        for (int capacity : {1, 4, 2000}) ExpectReadLines(file, text, lines, capacity);
        ExpectMappedStream(file, text, lines);
        if (HasFailure()) return;
    }
}

TEST(Lines, RefuseNegativePositionsAndBadBuffers) {
    VFile file("ab\r\ncd");
    char buf[4] = "xyz";
    std::int32_t a = 1;
    std::int32_t b = 2;
    std::int32_t c = 3;
    auto const refused = [&](auto call) {
        file.SetPos(3);
        call();
        return file.res == ResCallError && file.GetPos() == 3;
    };
    EXPECT_TRUE(refused([&] { EXPECT_EQ(file.LineStart(-1), 0); }));
    EXPECT_TRUE(refused([&] { file.LineSize(-1, a, b, c); }));
    EXPECT_TRUE(a == 1 && b == 2 && c == 3);
    EXPECT_TRUE(refused([&] { EXPECT_EQ(file.LineEnd(-1, true), 0); }));
    EXPECT_TRUE(refused([&] { EXPECT_EQ(file.LineIndent(-1), 0); }));
    EXPECT_TRUE(refused([&] { EXPECT_EQ(file.ReadLine(nullptr, 4), 0); }));
    EXPECT_TRUE(refused([&] { EXPECT_EQ(file.ReadLine(buf, 0), 0); }));
    EXPECT_STREQ(buf, "xyz");
    file.SetPos(3);
    EXPECT_FALSE(file.BetweenCRLF(-1));
    EXPECT_EQ(file.res, ResDone);
}

}  // namespace
}  // namespace vfile::test
