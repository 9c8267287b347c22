// replace_plain ABSENT PRESENT REPLACEMENT FOUND: standard input to standard output, PRESENT replaced by
// REPLACEMENT, on one plain string. FOUND gets one line for each of the two patterns: how often it stands in the
// input, and the sum of the places.

#include <cstdio>
#include <fstream>
#include <string>

namespace {

std::string ReadAll(std::FILE* in) {
    std::string text, piece(1 << 20, '\0');
    for (std::size_t len; (len = std::fread(piece.data(), 1, piece.size(), in)) > 0;)
        text.append(piece, 0, len);
    return text;
}

// Calls `match` with each place from left to right, none of them overlapping another.
template <class Match>
void ForEach(std::string const& text, std::string const& pattern, Match&& match) {
    std::size_t at = 0;
    while ((at = text.find(pattern, at)) != std::string::npos) {
        match(at);
        at += pattern.size();
    }
}

void Count(std::string const& text, std::string const& pattern, std::ostream& out) {
    long long count = 0, sum = 0;
    ForEach(text, pattern, [&](std::size_t at) {
        ++count;
        sum += static_cast<long long>(at);
    });
    out << count << '\t' << sum << '\n';
}

bool WriteReplaced(std::string const& text, std::string const& pattern, std::string const& replacement,
                   std::FILE* out) {
    std::size_t done = 0;
    ForEach(text, pattern, [&](std::size_t at) {
        std::fwrite(text.data() + done, 1, at - done, out);
        std::fwrite(replacement.data(), 1, replacement.size(), out);
        done = at + pattern.size();
    });
    std::fwrite(text.data() + done, 1, text.size() - done, out);
    return std::fflush(out) == 0 && !std::ferror(out);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    std::string const text = ReadAll(stdin);
    std::ofstream found(argv[4]);
    Count(text, argv[1], found);
    Count(text, argv[2], found);
    return found.flush() && !std::ferror(stdin) && WriteReplaced(text, argv[2], argv[3], stdout) ? 0 : 1;
}
