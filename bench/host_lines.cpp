// Lines of a host file, against a program that reads them with a call into the system for each byte.

#include <fcntl.h>

#include <fstream>

#include "support/host_files.h"
#include "support/library.h"
#include "support/run.h"
#include "support/samples.h"

using namespace bench;

namespace {

constexpr int kLines = 20'000;
constexpr std::int32_t kLineBytes = 80;

char LetterOf(int line) { return static_cast<char>('a' + line % 26); }

// Microseconds for each line; `readLine` gives the number of bytes before the line end.
template <class ReadLine>
double EachLine(ReadLine&& readLine) {
    char line[kLineBytes + 1];
    bool good = true;
    double const seconds = Seconds([&] {
        for (int i = 0; i < kLines; ++i) good &= readLine(line) == kLineBytes - 1 && line[0] == LetterOf(i);
    });
    Require(good, "read other lines than were written");
    return seconds / kLines * 1e6;
}

double Ours(std::string const& path) {
    vfile::HFile file;
    Require(file.OpenSeqRead(vfile::NameFromBytes(path).c_str()), "cannot open the lines");
    return EachLine([&](char* line) { return file.ReadLine(line, kLineBytes + 1); });
}

double ByteByByte(std::string const& path) {
    Descriptor const file(path, O_RDONLY);
    std::int64_t at = 0;
    return EachLine([&](char* line) {
        std::int32_t len = 0;
        for (;; ++len) {
            ReadAt(file, at++, &line[len], 1);
            if (line[len] == '\n') return len;
        }
    });
}

void Measure(Context const& context, Figures& figures) {
    std::string const path = context.Path("lines");
    {
        std::ofstream file(path, std::ios::binary);
        for (int i = 0; i < kLines; ++i) file << std::string(kLineBytes - 1, LetterOf(i)) << '\n';
        Require(file.good(), "cannot write the lines");
    }
    Paired const line = Alternate(
        context.rounds, [&] { return Ours(path); }, [&] { return ByteByByte(path); });
    figures.AddRatio("Line of 80 bytes from a host file, against a read for each byte", line, {"us", 2},
                     {Bar::AtMost, 0.1});
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
