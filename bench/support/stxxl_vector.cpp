#include "support/stxxl_vector.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stxxl/vector>
#include <tuple>
#include <vector>

namespace bench {

// 256 pages of one block of 4 KiB: 1 MiB of cache, in the pieces that suit access at random best.
struct StxxlVector::Vector {
    stxxl::VECTOR_GENERATOR<char, 1, 256, 4096>::result bytes;
};

namespace {

// Where its library is to keep its file, which is told before its first use. It talks on standard output, which is not to
// be heard.
void Prepare(std::string const& path) {
    std::string const settings = path + ".stxxl-settings";
    std::ofstream(settings) << "disk=" << path << ".stxxl,64MiB,syscall delete autogrow direct=off\n";
    setenv("STXXLCFG", settings.c_str(), 1);
    setenv("STXXLLOGFILE", "/dev/null", 1);
    setenv("STXXLERRLOGFILE", "/dev/null", 1);
    std::ignore = std::freopen("/dev/null", "w", stdout);
}

}  // namespace

StxxlVector::StxxlVector(std::string const& path) {
    Prepare(path);
    vector = std::make_unique<Vector>();
    std::ifstream file(path, std::ios::binary);
    std::vector<char> step(65536);
    while (file.read(step.data(), static_cast<std::streamsize>(step.size())) || file.gcount() > 0)
        for (std::streamsize i = 0; i < file.gcount(); ++i)
            vector->bytes.push_back(step[static_cast<std::size_t>(i)]);
    vector->bytes.flush();
}

StxxlVector::~StxxlVector() = default;

unsigned char StxxlVector::At(std::int64_t at) const {
    auto const& bytes = vector->bytes;
    return static_cast<unsigned char>(bytes[static_cast<std::uint64_t>(at)]);
}

bool StxxlVector::Has(char const* pattern) const {
    auto const& bytes = vector->bytes;
    char const* const end = pattern + std::strlen(pattern);
    return std::search(bytes.begin(), bytes.end(), pattern, end) != bytes.end();
}

std::int64_t StxxlVector::Length() const { return static_cast<std::int64_t>(vector->bytes.size()); }

}  // namespace bench
