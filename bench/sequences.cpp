// What a sequence costs by its size: insertions and reads at random places, a search that passes over all of it, and
// memory; ours beside others. Writes lines of tab-separated figures:
//
//   sequence   MiB   us of an insertion   us of a read   GB/s of a search   MiB of memory at most
//
// A figure that cannot be had is a question mark.
#include "support/sequences.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "support/host_files.h"
#include "support/process.h"
#include "support/run.h"
#include "support/samples.h"
#include "support/text_file.h"
#ifdef VFILE_BENCH_STXXL
#include "support/stxxl_vector.h"
#endif

using namespace bench;

namespace {

constexpr int kSizes[] = {1, 4, 16, 64, 256, 1024, 1536};  // MiB
constexpr int kMost = 100'000;                             // operations, or as many as a second has time for
constexpr double kLimit = 1;

// Microseconds that each of many operations at random places takes.
template <class Operation>
double MicrosecondsEach(Operation&& operation) {
    int done = 0;
    double seconds = 0;
    for (int batch = 1; done < kMost && seconds < kLimit; batch = std::min(2 * batch, 1024)) {
        seconds += Seconds([&] {
            for (int i = 0; i < batch; ++i) operation();
        });
        done += batch;
    }
    return seconds / done * 1e6;
}

template <class Sequence>
std::vector<double> Round(Context const& context, std::string const& path) {
    UseSettings(context);
    std::mt19937_64 random(7);
    Sequence sequence(path);
    auto const place = [&] {
        return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(sequence.Length()));
    };
    double insert = NAN;
    if (Sequence::kInserts) insert = MicrosecondsEach([&] { sequence.Insert(place(), "0123456789"); });
    unsigned sum = 0;
    double const read = MicrosecondsEach([&] { sum += sequence.At(place()); });
    Require(sum > 0, "nothing was read");
    double const search = Seconds([&] { Require(!sequence.Has(kAbsent), "found what is not there"); });
    return {insert, read, static_cast<double>(sequence.Length()) / search / 1e9,
            static_cast<double>(PeakResidentKB()) / 1024};
}

std::string Shown(double figure) {
    char text[32];
    std::snprintf(text, sizeof text, figure < 100 ? "%.3g" : "%.0f", figure);
    return std::isnan(figure) ? "?" : text;
}

template <class Sequence>
void Show(Context const& context, int mib) {
    std::vector<Samples> figures(4);
    bool known[4] = {};
    int const rounds = mib > 64 ? 1 : std::min(context.rounds, 3);  // a rope takes half a minute for each
    for (int round = 0; round < rounds; ++round) {
        SyncDisk(context.directory);
        WakeMemory(std::int64_t{mib} << 21);
        auto const found = InChild([&] { return Round<Sequence>(context, context.Path("text")); });
        Require(found.size() == figures.size(), "a round gave no figures");
        for (std::size_t i = 0; i < found.size(); ++i) {
            known[i] = !std::isnan(found[i]);
            if (known[i]) figures[i].Add(found[i]);
        }
    }
    std::string line = Sequence::kName + ("\t" + std::to_string(mib));
    for (std::size_t i = 0; i < figures.size(); ++i)
        line += "\t" + Shown(known[i] ? figures[i].Median() : NAN);
    std::puts(line.c_str());
}

// The bytes of all sizes are the beginning of one text.
void Measure(Context const& context, Figures&) {
    for (int const mib : kSizes) {
        if (std::int64_t{mib} << 20 > context.bytes + context.bytes / 2) break;
        MakeText(context.Path("text"), std::int64_t{mib} << 20, false);
        Show<VirtualFile>(context, mib);
        Show<StdString>(context, mib);
        Show<Rope>(context, mib);
#ifdef VFILE_BENCH_STXXL
        Show<StxxlVector>(context, mib);
#endif
    }
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
