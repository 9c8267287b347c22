// Loading and saving text in other encodings with a small cache, against the program that converts files from one
// encoding into another. Loading writes the text to the swap file, as the peer writes its output.

#include <algorithm>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/command.h"
#include "support/host_files.h"
#include "support/library.h"
#include "support/process.h"
#include "support/run.h"
#include "support/samples.h"

using namespace bench;

namespace {

using Encoding = vfile::TCharVFile::Encoding;

struct Kind {
    char const* name;
    char const* set;  // by the peer's name
    Encoding encoding;
    std::string_view part;
};

constexpr Kind kKinds[] = {
    {"UTF-8, nearly all ASCII", "UTF-8",        Encoding::EncodingUtf8,
     "The quick brown fox jumps over the lazy dog, and the caf\u00E9 on the corner is closed again today.\n"},
    {"UTF-8, mixed scripts",    "UTF-8",        Encoding::EncodingUtf8,
     "Latin, \u043A\u0438\u0440\u0438\u043B\u043B\u0438\u0446\u0430, "
     "\u03B5\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC, "
     "\u65E5\u672C\u8A9E\u306E\u6587\u7AE0, \U0001F600\n"                                                   },
    {"ANSI (Windows-1252)",     "WINDOWS-1252", Encoding::EncodingAnsi,
     "The quick brown fox jumps over the lazy dog, and the caf\xE9 on the corner costs 3 \x80.\n"           },
};

void MakeText(std::string const& path, std::string_view part, std::int64_t bytes) {
    std::string step;
    while (step.size() < kStep) step += part;
    std::ofstream file(path, std::ios::binary);
    for (std::int64_t done = 0; done < bytes; done += static_cast<std::int64_t>(step.size())) file << step;
    Require(file.good(), "no room for the text");
}

void Convert(std::string const& from, std::string const& to, std::string const& source,
             std::string const& target) {
    RunCommand("iconv -f " + from + " -t " + to + " -o " + target + " " + source);
}

struct Names {
    std::string source, units, target;
};

template <class Work>
double Step(Context const& context, Work&& work) {
    SyncDisk(context.directory);
    WakeMemory(2 * context.bytes + context.bytes / 8);  // a text takes up to twice its file
    ForgetPeak();
    return Seconds(work);
}

// Times of load and save, ours and the peer's, and the peaks of ours.
std::vector<double> Round(Context const& context, Kind const& kind, Names const& names, bool oursFirst) {
    UseSettings(context);
    vfile::TCharVFile text;
    double loaded = 0, saved = 0, peaks[2] = {};
    auto const ours = [&] {
        loaded =
            Step(context, [&] { text.LoadTextAs(vfile::NameFromBytes(names.source), kind.encoding, 1); });
        Require(text.res == vfile::ResDone, "loading failed");
        peaks[0] = static_cast<double>(PeakResidentKB()) / 1024;
        saved = Step(context,
                     [&] { text.SaveText(vfile::NameFromBytes(names.target), true, kind.encoding, false); });
        Require(text.res == vfile::ResDone, "saving failed");
        peaks[1] = static_cast<double>(PeakResidentKB()) / 1024;
        Require(SameBytes(names.source, names.target), "what was saved is not what was loaded");
        Remove(names.target);
    };
    double in = 0, out = 0;
    auto const peer = [&] {
        in = Step(context, [&] { Convert(kind.set, "UTF-16LE", names.source, names.units); });
        out = Step(context, [&] { Convert("UTF-16LE", kind.set, names.units, names.target); });
        Remove(names.units);
        Remove(names.target);
    };
    if (oursFirst) ours();
    peer();
    if (!oursFirst) ours();
    double const gb = static_cast<double>(context.bytes) / 1e9;
    return {gb / loaded, gb / in, gb / saved, gb / out, peaks[0], peaks[1]};
}

void MeasureKind(Context const& context, Kind const& kind, Figures& figures) {
    Names const names = {context.Path("source"), context.Path("units"), context.Path("target")};
    MakeText(names.source, kind.part, context.bytes);
    Paired load, save;
    Samples loadPeak, savePeak;
    for (int round = 0; round < context.rounds; ++round) {
        std::vector<double> const n = InChild([&] { return Round(context, kind, names, round % 2 == 0); });
        Require(n.size() == 6, "a round gave no figures");
        load.Add(n[0], n[1]);
        save.Add(n[2], n[3]);
        loadPeak.Add(n[4]);
        savePeak.Add(n[5]);
    }
    std::string const what = std::string(kind.name) + ", " + context.SizeName();
    Unit const speed = {"GB/s", 2};
    figures.AddPaired("Load " + what, load, speed, {Bar::AtLeast, 0.5});
    figures.AddRatio("The same, against `iconv`", load, speed, {Bar::AtLeast, 1});
    figures.AddPaired("Save " + what, save, speed, {Bar::AtLeast, 0.5});
    figures.AddRatio("The same, against `iconv`", save, speed, {Bar::AtLeast, 1});
    figures.AddSingle("Peak resident memory while loading it", loadPeak, {"MiB", 1}, {Bar::AtMost, 64});
    figures.AddSingle("Peak resident memory while saving it", savePeak, {"MiB", 1}, {Bar::AtMost, 64});
    Remove(names.source);
}

// No more than 512 MiB of file: as text they take twice as much, of an address range of 2 GiB.
void Measure(Context const& given, Figures& figures) {
    Context context = given;
    context.bytes = std::min(given.bytes, std::int64_t{512} << 20);
    for (Kind const& kind : kKinds) MeasureKind(context, kind, figures);
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
