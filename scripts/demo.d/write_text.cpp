// write_text BYTES: that many bytes of lines of words, to standard output.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "random.h"

namespace {

constexpr std::size_t kChunk = 1 << 16;
constexpr std::size_t kLineWidth = 76;

// Fills up with whole lines; the last one may go past kChunk.
void FillChunk(demo::Random& random, std::string& chunk) {
    std::size_t lineBegin = chunk.size();
    while (chunk.size() < kChunk) {
        chunk += random.Word();
        bool const full = chunk.size() - lineBegin >= kLineWidth;
        chunk += full ? '\n' : ' ';
        if (full) lineBegin = chunk.size();
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    long long left = std::atoll(argv[1]);
    demo::Random random(1);
    std::string chunk;
    while (left > 0) {
        chunk.clear();
        FillChunk(random, chunk);
        std::size_t const len =
            static_cast<std::size_t>(std::min<long long>(left, static_cast<long long>(chunk.size())));
        if (std::fwrite(chunk.data(), 1, len, stdout) != len) break;
        left -= static_cast<long long>(len);
    }
    return left > 0 || std::fclose(stdout) != 0 ? 1 : 0;
}
