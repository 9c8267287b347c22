#include "support/text_file.h"

#include <algorithm>
#include <fstream>
#include <string_view>

#include "support/host_files.h"
#include "support/run.h"

namespace bench {
namespace {

// Lines of words, in which those above stand as often as they should.
class TextMaker {
public:
    std::string_view NextLine() {
        static constexpr std::string_view kWords[] = {
            "the",    "of",     "and",     "a",       "to",     "in",      "that", "it",
            "page",   "disk",   "memory",  "line",    "buffer", "window",  "name", "small",
            "reader", "before", "another", "written", "under",  "question"};
        line.clear();
        if (Next() % 16384 == 0) return line.append(kRareWord).append("\n");
        std::size_t const length = 40 + Next() % 50;
        while (line.size() < length) {
            line += Next() % 109 == 0 ? std::string_view(kWord) : kWords[Next() % std::size(kWords)];
            line += ' ';
        }
        line.back() = '\n';
        return line;
    }

private:
    std::uint64_t Next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state >> 11;
    }

    std::uint64_t state = 0x9E3779B97F4A7C15u;
    std::string line;
};

// At least kStep bytes of whole lines: of single bytes, or of 16-bit units, the low byte first.
std::string NextPiece(TextMaker& text, bool wide) {
    std::string piece;
    while (piece.size() < kStep) {
        for (char const c : text.NextLine()) piece.append(&c, 1).append(wide ? 1 : 0, '\0');
    }
    return piece;
}

}  // namespace

void MakeText(std::string const& path, std::int64_t bytes, bool wide) {
    std::ofstream file(path, std::ios::binary);
    TextMaker text;
    for (std::int64_t left = bytes; left > 0;) {
        std::string const piece = NextPiece(text, wide);
        std::int64_t const len = std::min<std::int64_t>(left, static_cast<std::int64_t>(piece.size()));
        file.write(piece.data(), len);
        left -= len;
    }
    Require(file.flush().good(), "the text could not be written");
}

}  // namespace bench
