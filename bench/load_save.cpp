// Loading and saving a file with a small cache, against a plain copy loop of that file on the same disk. All
// three write a file of the same size that is new to the disk: the copy and the save their target, the load
// its swap file.

#include <functional>

#include "support/host_files.h"
#include "support/library.h"
#include "support/process.h"
#include "support/run.h"
#include "support/samples.h"

using namespace bench;

namespace {

struct Names {
    explicit Names(Context const& context) : source(context.Path("source")), target(context.Path("target")) {}
    std::string source, target;
};

// What the disk and the page cache do the first time is not what is asked.
void Prime(Context const& context, Names const& names) {
    MakeFile(names.source, context.bytes);
    for (char const* name : {"target", "swap"}) MakeFile(context.Path(name), context.bytes);
    SyncDisk(context.directory);
    for (char const* name : {"target", "swap"}) Remove(context.Path(name));
}

double Step(Context const& context, std::function<void()> const& work) {
    SyncDisk(context.directory);
    WakeMemory(context.bytes + context.bytes / 8);
    ForgetPeak();
    return Seconds(work);
}

double CopyOnce(Context const& context, Names const& names) {
    double const seconds = Step(context, [&] { CopyFile(names.source, names.target); });
    Remove(names.target);
    return seconds;
}

// Does `ours` next to a copy, in the order of the round. Gives both times and the peak of ours.
std::vector<double> BesideCopy(Context const& context, Names const& names, bool oursFirst,
                               std::function<void()> const& ours) {
    double copy = oursFirst ? 0 : CopyOnce(context, names);
    double const seconds = Step(context, ours);
    double const peak = static_cast<double>(PeakResidentKB()) / 1024;
    if (oursFirst) {
        Remove(names.target);
        copy = CopyOnce(context, names);
    }
    return {seconds, copy, peak};
}

std::vector<double> Round(Context const& context, Names const& names, int round) {
    UseSettings(context);
    vfile::VFile file;
    bool const oursFirst = round % 2 == 0;
    std::vector<double> numbers =
        BesideCopy(context, names, oursFirst, [&] { LoadOrFail(file, names.source); });
    bool const proves = round == 1;  // a round in which the copy goes first leaves what was saved
    std::vector<double> const save = BesideCopy(context, names, oursFirst, [&] {
        file.Save(vfile::NameFromBytes(names.target).c_str(), true);
        RequireDone(file, "saving");
    });
    if (proves) Require(SameBytes(names.source, names.target), "what was saved is not what was loaded");
    Remove(names.target);
    numbers.insert(numbers.end(), save.begin(), save.end());
    return numbers;
}

void Measure(Context const& context, Figures& figures) {
    Names const names(context);
    Prime(context, names);
    Paired load, save;
    Samples loadPeak, savePeak;
    for (int round = 0; round < context.rounds; ++round) {
        std::vector<double> const n = InChild([&] { return Round(context, names, round); });
        Require(n.size() == 6, "a round gave no figures");
        load.Add(n[0], n[1]);
        loadPeak.Add(n[2]);
        save.Add(n[3], n[4]);
        savePeak.Add(n[5]);
    }
    std::string const size = context.SizeName();
    figures.AddRatio("Load " + size + ", against copying it", load, {"s", 2}, {Bar::AtMost, 1.6});
    figures.AddRatio("Save " + size + ", against copying it", save, {"s", 2}, {Bar::AtMost, 1.6});
    figures.AddSingle("Peak resident memory while loading", loadPeak, {"MiB", 1}, {});
    figures.AddSingle("Peak resident memory while saving", savePeak, {"MiB", 1}, {});
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
