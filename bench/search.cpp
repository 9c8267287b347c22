// Search, lines and global replace in a text whose bytes lie in the swap file. Where the system has a program that does
// the same to a host file, that is the peer; the text that it works on is the one that was loaded.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/command.h"
#include "support/host_files.h"
#include "support/library.h"
#include "support/process.h"
#include "support/run.h"
#include "support/samples.h"
#include "support/text_file.h"

using namespace bench;

namespace {

// Passes over the whole of a file in search of what is not there, in GB/s.
template <class Search>
Samples Absent(Context const& context, std::int32_t length, Search&& search) {
    Samples rate;
    for (int round = 0; round < context.rounds; ++round) {
        vfile::VFile::ReleaseCache();
        SyncDisk(context.directory);
        double const seconds = Seconds([&] { Require(!search(), "found what is not there"); });
        rate.Add(length / seconds / 1e9);
    }
    return rate;
}

void MeasureAbsent(Context const& context, vfile::VFile& file, Figures& figures) {
    struct Shape {
        char const* name;
        char const* pattern;
        bool forward;
        bool ignoreCase;
        double bar;
    };
    constexpr Shape kShapes[] = {
        {"forward",                                      kAbsent,       true,  false, 4},
        {"backward",                                     kAbsent,       false, false, 4},
        {"forward, ignoring case",                       kAbsent,       true,  true,  2},
        {"forward, its first byte the text's commonest", kAbsentCommon, true,  false, 1},
    };
    for (Shape const& shape : kShapes) {
        Samples const rate = Absent(context, file.Length(), [&] {
            std::int32_t position = shape.forward ? 0 : file.Length();
            return shape.forward ? file.Find(position, shape.pattern, shape.ignoreCase, false)
                                 : file.FindBack(position, shape.pattern, shape.ignoreCase, false);
        });
        figures.AddSingle("Find an absent pattern of 13 bytes in " + context.SizeName() + ", " + shape.name,
                          rate, {"GB/s", 2}, {Bar::AtLeast, shape.bar});
    }
}

void MeasureWide(Context const& context, Figures& figures) {
    MakeText(context.Path("units"), context.bytes, true);
    vfile::TCharVFile file;
    file.Load(vfile::NameFromBytes(context.Path("units")).c_str(), 1);
    Require(file.res == vfile::ResDone, "loading units failed");
    Remove(context.Path("units"));
    vfile::TString const pattern(kAbsent, kAbsent + std::strlen(kAbsent));
    for (bool const forward : {true, false}) {
        Samples const rate = Absent(context, file.Length(), [&] {
            std::int32_t position = forward ? 0 : file.TCharLength();
            return forward ? file.FindTChars(position, pattern, false, false)
                           : file.FindBackTChars(position, pattern, false, false);
        });
        figures.AddSingle("The same for 13 units in a text of " + context.SizeName() +
                              (forward ? ", forward" : ", backward"),
                          rate, {"GB/s", 2}, {Bar::AtLeast, 4});
    }
}

// Patterns and texts that repeat themselves, so that matches fail late and everywhere.
void MeasureRepeating(Context const& context, Figures& figures) {
    std::int64_t const bytes = context.bytes / 16;
    auto const measure = [&](std::string const& name, auto const& byteAt, std::string const& pattern) {
        vfile::VFile file;
        std::string piece(kStep, '\0');
        for (std::int64_t done = 0; done < bytes; done += static_cast<std::int64_t>(piece.size())) {
            for (std::size_t i = 0; i < piece.size(); ++i) piece[i] = byteAt(i);
            file.AppendBytes(piece.data(), static_cast<std::int32_t>(piece.size()));
        }
        std::string const mirrored(pattern.rbegin(), pattern.rend());
        for (bool const forward : {true, false}) {
            Samples const rate = Absent(context, file.Length(), [&] {
                std::int32_t position = forward ? 0 : file.Length();
                return forward ? file.Find(position, pattern.c_str(), false, false)
                               : file.FindBack(position, mirrored.c_str(), false, false);
            });
            figures.AddSingle(name + (forward ? ", forward" : ", backward"), rate, {"GB/s", 2},
                              {Bar::AtLeast, 0.5});
        }
    };
    for (std::size_t const n : {16u, 256u, 4096u}) {
        measure(
            "Find " + std::to_string(n) + " times `a` and a `b` among nothing but `a`",
            [](std::size_t) { return 'a'; }, std::string(n, 'a') + 'b');
    }
    std::string aab;
    for (int i = 0; i < 20; ++i) aab += "aab";
    std::mt19937 random(1);
    measure(
        "Find 20 times `aab` and a `c` among `a` and `b` at random",
        [&](std::size_t) { return random() % 2 ? 'a' : 'b'; }, aab + 'c');
    measure(
        "The same among `aa` and `a` or `b` at random",
        [&](std::size_t i) { return i % 3 == 2 && random() % 2 ? 'b' : 'a'; }, aab + 'c');
}

void MeasureRareWord(Context const& context, vfile::VFile& file, Figures& figures) {
    int count = 0;
    auto const ours = [&] {
        return Seconds([&] {
            std::int32_t position = 0;
            for (count = 0; file.Find(position, kRareWord, false, false);) ++count;
        });
    };
    std::string const output = context.Path("count");
    Paired const seconds = Alternate(context.rounds, ours, [&] {
        return SecondsOf("grep -c -F " + std::string(kRareWord) + " " + context.Path("text") + " > " +
                         output);
    });
    int peerCount = -1;
    std::ifstream(output) >> peerCount;
    Require(count == peerCount && count > 0, "not as many rare words as the peer counted");
    figures.AddRatio("Count a rare word, against `grep -c -F`", seconds, {"s", 3}, {Bar::AtMost, 1});
}

void MeasureLines(Context const& context, vfile::VFile& file, Figures& figures) {
    std::int64_t bytes = 0, peerBytes = 0;
    auto const ours = [&] {
        std::vector<char> line(kStep);
        bytes = 0;
        return Seconds([&] {
            file.SetPos(0);
            while (!file.Eof()) bytes += file.ReadLine(line.data(), static_cast<std::int32_t>(line.size()));
        });
    };
    auto const peer = [&] {
        std::string line;
        peerBytes = 0;
        return Seconds([&] {
            std::ifstream lines(context.Path("text"), std::ios::binary);
            while (std::getline(lines, line)) peerBytes += static_cast<std::int64_t>(line.size());
        });
    };
    Paired const seconds = Alternate(context.rounds, ours, peer);
    Require(bytes == peerBytes, "other lines than the peer's");
    figures.AddRatio("Read all lines, against `std::getline`", seconds, {"s", 2}, {Bar::AtMost, 1});
}

// In blocks that have been used before, and in blocks that were split.
void MeasureUsed(Context const& context, std::string const& source, Figures& figures) {
    vfile::VFile file;
    auto const measure = [&](std::string const& when) {
        Samples const rate = Absent(context, file.Length(), [&] {
            std::int32_t position = 0;
            return file.Find(position, kAbsent, false, false);
        });
        figures.AddSingle("Find an absent pattern of 13 bytes " + when + ", forward", rate, {"GB/s", 2},
                          {Bar::AtLeast, 4});
    };
    LoadOrFail(file, source);
    LoadOrFail(file, source);
    measure("after loading over a loaded file of " + context.SizeName());
    file.ReplaceGlobal(kWord, kLonger, false, false);
    RequireDone(file, "replacing");
    measure("after replacing 6 bytes by 9 in most of its blocks");
}

// From file to file, as the peer does it.
void MeasureReplace(Context const& context, Figures& figures) {
    Context half = context;
    half.bytes = context.bytes / 2;
    std::string const source = context.Path("half"), ours = context.Path("ours"), peer = context.Path("peer");
    MakeText(source, half.bytes, false);
    auto const step = [&](std::string const& target, auto const& work) {
        Remove(target);
        SyncDisk(context.directory);
        WakeMemory(2 * context.bytes);  // the swap file, with room for split blocks, and the target
        return work();
    };
    auto const replace = [&] {
        vfile::VFile file;
        LoadOrFail(file, source);
        Require(file.ReplaceGlobal(kWord, kLonger, false, false) > 0, "nothing was replaced");
        file.Save(vfile::NameFromBytes(ours).c_str(), true);
        RequireDone(file, "replacing");
    };
    std::string const command = std::string("sed s/") + kWord + "/" + kLonger + "/g " + source + " > " + peer;
    Paired const seconds = Alternate(
        context.rounds, [&] { return step(ours, [&] { return Seconds(replace); }); },
        [&] { return step(peer, [&] { return SecondsOf(command); }); });
    Require(SameBytes(ours, peer), "replaced otherwise than the peer");
    figures.AddRatio("Replace 6 bytes by 9, one in about 600, in " + half.SizeName() + ", against `sed`",
                     seconds, {"s", 2}, {Bar::AtMost, 0.9});
    MeasureUsed(half, source, figures);
    for (std::string const& name : {source, ours, peer}) Remove(name);
}

void Measure(Context const& context, Figures& figures) {
    UseSettings(context);
    {
        vfile::VFile file;
        MakeText(context.Path("text"), context.bytes, false);
        LoadOrFail(file, context.Path("text"));
        MeasureAbsent(context, file, figures);
        MeasureRareWord(context, file, figures);
        MeasureLines(context, file, figures);
        Remove(context.Path("text"));
    }
    MeasureRepeating(context, figures);
    MeasureWide(context, figures);
    MeasureReplace(context, figures);
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
