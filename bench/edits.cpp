// Edits and seeks at random places of a large file, against a rope; and rows of edits that would show a cost that grows
// with their number.

#include <algorithm>
#include <ext/rope>
#include <functional>
#include <random>

#include "support/host_files.h"
#include "support/library.h"
#include "support/process.h"
#include "support/run.h"

using namespace bench;

namespace {

constexpr int kEdits = 100'000;
constexpr int kRow = 1'000'000;
constexpr std::int64_t kSmall = std::int64_t{64} << 20;
constexpr char kTen[] = "0123456789";

using Random = std::mt19937;

std::int32_t PlaceIn(Random& random, std::int64_t bytes) {
    return static_cast<std::int32_t>(random() % static_cast<std::uint64_t>(bytes));
}

// Microseconds that each of `count` runs of `edit` takes.
template <class Edit>
double MicrosecondsEach(int count, Edit&& edit) {
    return Seconds([&] {
               for (int i = 0; i < count; ++i) edit();
           }) /
           count * 1e6;
}

struct Costs {
    Samples insert, seek, cut, peakMiB;
};

// One round with a file of its own: what each kind of step costs, and the memory that it all takes.
std::vector<double> OneRound(Context const& context, std::int64_t bytes, std::string const& path) {
    UseSettings(context);
    Random random(7);
    vfile::VFile file;
    LoadOrFail(file, path);
    vfile::VFile::ReleaseCache();
    double const insert =
        MicrosecondsEach(kEdits, [&] { file.ReplaceBuf(PlaceIn(random, bytes), 0, kTen, 10); });
    double const seek = MicrosecondsEach(kEdits * 10, [&] { file.SetPos(PlaceIn(random, bytes)); });
    double const cut =
        MicrosecondsEach(kEdits / 20, [&] { file.ReplaceBuf(PlaceIn(random, bytes / 2), 5000, nullptr, 0); });
    std::int32_t position = 0;
    file.Find(position, "\1no such bytes\2", false, false);
    file.Save(vfile::NameFromBytes(path + ".saved").c_str(), true);
    RequireDone(file, "edits");
    Require(file.Length() == bytes + 10 * kEdits - 5000 * (kEdits / 20), "length after edits");
    Remove(path + ".saved");
    return {insert, seek, cut, static_cast<double>(PeakResidentKB()) / 1024};
}

Costs AtRandom(Context const& context, std::int64_t bytes) {
    std::string const path = context.Path("edited");
    MakeFile(path, bytes);
    Costs costs;
    for (int round = 0; round < std::min(context.rounds, 3); ++round) {
        SyncDisk(context.directory);
        WakeMemory(2 * bytes);  // the swap file, with room for split blocks
        auto const found = InChild([&] { return OneRound(context, bytes, path); });
        costs.insert.Add(found[0]);
        costs.seek.Add(found[1]);
        costs.cut.Add(found[2]);
        costs.peakMiB.Add(found[3]);
    }
    Remove(path);
    return costs;
}

double RopeInsert(std::int64_t bytes) {
    return InChild([bytes] {
        Random random(7);
        std::string const text(static_cast<std::size_t>(bytes), '.');
        __gnu_cxx::crope rope(text.data(), text.size());
        return std::vector<double>{MicrosecondsEach(
            kEdits / 10, [&] { rope.insert(static_cast<std::size_t>(PlaceIn(random, bytes)), kTen, 10); })};
    })[0];
}

void AddAtRandom(Context const& context, Figures& figures) {
    struct Size {
        std::int64_t bytes;
        std::string name;
    };
    Size const sizes[] = {
        {kSmall,        "64 MiB"          },
        {context.bytes, context.SizeName()}
    };
    Samples inserts[2];
    for (int i = 0; i < 2; ++i) {
        Costs const costs = AtRandom(context, sizes[i].bytes);
        Paired insert;
        insert.Add(costs.insert.Median(), RopeInsert(sizes[i].bytes));
        figures.AddPaired("Insert 10 bytes at random places of " + sizes[i].name + ", against a rope", insert,
                          {"us", 1}, {Bar::AtMost, 10});
        figures.AddSingle("Go to a random place after 100,000 of these, " + sizes[i].name, costs.seek,
                          {"us", 2}, {Bar::AtMost, 1});
        figures.AddSingle("Delete 5,000 bytes at random places, " + sizes[i].name, costs.cut, {"us", 1},
                          {Bar::AtMost, 25});
        figures.AddSingle("Peak resident memory through load, edits, search and save, " + sizes[i].name,
                          costs.peakMiB, {"MiB", 1}, {Bar::AtMost, 56});
        inserts[i] = costs.insert;
    }
    Paired growth;
    growth.Add(inserts[1].Median(), inserts[0].Median());
    figures.AddRatio("Insert at random, " + sizes[1].name + " against 64 MiB", growth, {"us", 1},
                     {Bar::AtMost, 2});
}

void AddInCache(Context const& context, Figures& figures) {
    Samples inserts;
    for (int round = 0; round < context.rounds; ++round) {
        inserts.Add(InChild([&] {
            UseSettings(context, 32000);
            constexpr std::int32_t kBytes = 16 << 20;
            vfile::VFile file('.', kBytes);
            Random random(7);
            double const each =
                MicrosecondsEach(kEdits, [&] { file.ReplaceBuf(PlaceIn(random, kBytes), 0, kTen, 10); });
            RequireDone(file, "edits in the cache");
            return std::vector<double>{each};
        })[0]);
    }
    figures.AddSingle("The same in 16 MiB under a cache of 32,000 KB", inserts, {"us", 2}, {Bar::AtMost, 1});
}

// A row of a million edits; the last tenth against the first.
void AddRow(Context const& context, Figures& figures, char const* what,
            std::function<void(vfile::VFile&, int)> const& edit) {
    Paired cost;
    for (int round = 0; round < std::min(context.rounds, 3); ++round) {
        auto const found = InChild([&] {
            UseSettings(context);
            vfile::VFile file('.', 1 << 20);
            std::vector<double> tenths;
            for (int tenth = 0; tenth < 10; ++tenth) {
                int i = tenth * (kRow / 10);
                tenths.push_back(MicrosecondsEach(kRow / 10, [&] { edit(file, i++); }));
            }
            RequireDone(file, what);
            return std::vector<double>{tenths.back(), tenths.front()};
        });
        cost.Add(found[0] * 1000, found[1] * 1000);
    }
    figures.AddRatio(std::string("A million single bytes ") + what + ", the last tenth against the first",
                     cost, {"ns", 0}, {Bar::AtMost, 3});
}

void Measure(Context const& context, Figures& figures) {
    AddAtRandom(context, figures);
    AddInCache(context, figures);
    auto const insertAt = [](vfile::VFile& file, std::int32_t at) { file.ReplaceBuf(at, 0, "x", 1); };
    AddRow(context, figures, "inserted at the front", [&](vfile::VFile& f, int) { insertAt(f, 0); });
    AddRow(context, figures, "inserted in the middle",
           [&](vfile::VFile& f, int) { insertAt(f, f.Length() / 2); });
    AddRow(context, figures, "inserted at the end", [&](vfile::VFile& f, int) { insertAt(f, f.Length()); });
    AddRow(context, figures, "inserted at either end in turn",
           [&](vfile::VFile& f, int i) { insertAt(f, i % 2 ? f.Length() : 0); });
    AddRow(context, figures, "deleted from the end on",
           [](vfile::VFile& f, int) { f.ReplaceBuf(f.Length() - 1, 1, nullptr, 0); });
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
