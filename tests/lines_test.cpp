// Lines of host files, of bytes and of units, against a list that knows all line ends beforehand.
#include "support/cut_file.h"
#include "support/test.h"

namespace vfile::test {
namespace {

struct Line {
    int start, size, eol;
};

// All lines of a text; the last one has no line end, and may be empty.
template <class Text>
std::vector<Line> LinesOf(Text const& text) {
    std::vector<Line> lines;
    for (std::size_t start = 0;;) {
        auto const end = std::min(text.find_first_of(Text{'\r', '\n'}, start), text.size());
        int const eol = end == text.size() ? 0 : text.compare(end, 2, Text{'\r', '\n'}) == 0 ? 2 : 1;
        auto const next = end + static_cast<std::size_t>(eol);
        lines.push_back({static_cast<int>(start), static_cast<int>(next - start), eol});
        if (eol == 0) return lines;
        start = next;
    }
}

template <class Text>
bool LoneCr(Text const& text, int position) {
    auto const at = static_cast<std::size_t>(position);
    return position > 0 && text[at - 1] == '\r' && !(at < text.size() && text[at] == '\n');
}

void ExpectLine(VFile& file, std::string const& text, int position, Line const& want) {
    int const length = static_cast<int>(text.size()), clipped = std::min(position, length);
    bool const touched = clipped > 0, behindCr = LoneCr(text, clipped);
    file.SetPos(length / 2);
    EXPECT_EQ(file.LineStart(position), want.start);
    EXPECT_EQ(file.GetPos(), !touched   ? length / 2
                             : behindCr ? std::min(clipped + 1, length)
                                        : std::max(want.start - 1, 0));
    EXPECT_EQ(file.eof, touched && (behindCr ? clipped == length : want.start == 0));

    std::int32_t start = -7, size = -7, eol = -7;
    file.res = ResNotDone;
    file.LineSize(position, start, size, eol);
    EXPECT_TRUE(file.res == ResDone && start == want.start && size == want.size && eol == want.eol);
    int const end = want.start + want.size;
    EXPECT_EQ(file.GetPos(), want.eol > 0 && LoneCr(text, end) ? std::min(end + 1, length) : end);
    EXPECT_EQ(file.LineEnd(position, true), end);
    EXPECT_EQ(file.LineEnd(position, false), end - want.eol);

    auto const from = static_cast<std::size_t>(want.start);
    auto const other = static_cast<int>(std::min(text.find_first_not_of(' ', from), text.size()));
    EXPECT_EQ(file.LineIndent(position), other - want.start);
    EXPECT_TRUE(file.GetPos() == std::min(other + 1, length) && file.eof == (other == length));
}

void ExpectPairTests(VFile& file, std::string const& text, int position) {
    int const length = static_cast<int>(text.size()), at = std::min(position, length);
    auto const is = [&](int p, std::string_view what) {
        return p >= 0 && p < length && text.compare(static_cast<std::size_t>(p), what.size(), what) == 0;
    };
    EXPECT_EQ(file.AfterCRLF(position), is(at - 2, "\r\n"));
    EXPECT_EQ(file.GetPos(), std::max(is(at - 1, "\n") ? at - 2 : at - 1, 0));
    EXPECT_EQ(file.BetweenCRLF(position), is(position - 1, "\r\n"));
    EXPECT_EQ(file.BeforeCRLF(position), is(at, "\r\n"));
    EXPECT_EQ(file.GetPos(), std::min(is(at, "\r") ? at + 2 : at + 1, length));
}

// ReadLine from the start to the end, with buffers of any size.
template <class File, class Text>
void ExpectReadLines(File& file, Text const& text, std::mt19937& random) {
    using Char = typename Text::value_type;
    file.SetPos(0);
    for (Line const& line : LinesOf(text)) {
        auto const capacity = 1 + static_cast<int>(random() % (random() % 4 ? 20 : 9000));
        std::vector<Char> buf(static_cast<std::size_t>(capacity) + 1, Char{'#'});
        int const kept = std::min(line.size - line.eol, capacity - 1);
        ASSERT_EQ(file.ReadLine(buf.data(), capacity), kept);
        buf.push_back(0);
        ASSERT_TRUE(Text(buf.data()).substr(0, 9000) ==
                    Text(text, std::size_t(line.start), std::size_t(kept)).c_str());
        ASSERT_TRUE(buf[std::size_t(kept)] == 0 && buf[std::size_t(capacity)] == '#');
        ASSERT_EQ(file.GetPos(), (line.start + line.size) * static_cast<int>(sizeof(Char)));
        ASSERT_EQ(file.eof, line.eol == 0);
    }
}

TEST(Lines, AgreeWithAListOfThem) {
    std::mt19937 random(5);
    BlockCutter cutter;
    TempDir const dir;
    VFile file;
    TCharVFile units;
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        constexpr std::string_view kAlphabets[] = {"\r\n", "\r\n a", std::string_view("\r\n  ab\0\xFF", 8),
                                                   "\nabcdefgh", "\rabcdefgh  "};
        std::string const text = RandomText(random, random() % 60, kAlphabets[round % 5]) +
                                 std::string(round % 7   ? 0
                                             : round % 2 ? 1100
                                                         : 4090,
                                             ' ') +
                                 RandomText(random, random() % 9, kAlphabets[round % 5]);
        cutter.Fill(file, text, 1 + round % 50, random);
        auto const lines = LinesOf(text);
        int const length = static_cast<int>(text.size());
        for (int position = 0; position <= length + 2 && !HasFailure(); ++position) {
            if (position > 80 && position < length - 40) continue;
            SCOPED_TRACE("position " + std::to_string(position));
            auto line = lines.begin();
            while (line + 1 != lines.end() && position >= line->start + line->size) ++line;
            ExpectLine(file, text, position, *line);
            ExpectPairTests(file, text, position);
        }
        std::string mapped, want;  // byte by byte, with one LF for each line end
        for (Line const& line : lines)
            want += text.substr(std::size_t(line.start), std::size_t(line.size - line.eol)) +
                    (line.eol ? "\n" : "");
        file.SetPos(0);
        for (char c; file.Read(c) > 0;) mapped += c;
        EXPECT_TRUE(mapped == want && file.eof);
        ExpectReadLines(file, text, random);
        WriteWhole(dir.Bytes("lines"), text);
        HFile host;
        ASSERT_TRUE(host.OpenSeqRead(dir.Name("lines").c_str()));
        ExpectReadLines(host, text, random);
        TString wide;  // CR and LF stand in halves of other units, too
        for (char const c : text)
            wide += c == 'b' ? u'\u0D0A' : c == 'c' ? u'\u0A0D' : static_cast<TChar>(c & 0x7F);
        std::string const bytes(reinterpret_cast<char const*>(wide.data()), wide.size() * 2);
        // NOLINTNEXTLINE(google-readability-casting): the one cast that reaches a private base.
        cutter.Fill((VFile&)units, bytes, 1 + round % 50, random);
        ExpectReadLines(units, wide, random);
    }
}

}  // namespace
}  // namespace vfile::test
