// edit_file FILE SCRIPT OUT TEMPDIR CACHE ABSENT PRESENT REPLACEMENT: loads FILE with a cache of CACHE kilobytes,
// does the edits of the script, finds both patterns forward and backward, replaces all of PRESENT and saves the
// result as OUT. For each step one line on standard output, its fields parted by tabs: name, count of edits or
// matches, bytes moved or searched, seconds, peak of resident memory in kilobytes, sum of the matches' places.

#include <vfile.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "edit_script.h"
#include "support/process.h"
#include "support/samples.h"

namespace {

struct Work {
    long edits = 0;
    long long bytes = 0;
    long long places = 0;
};

[[noreturn]] void Fail(std::string const& reason) {
    std::fprintf(stderr, "edit_file: %s\n", reason.c_str());
    std::exit(2);
}

std::string Words(vfile::FileRes res) {
    vfile::TChar words[80];
    vfile::GetTextResMsg(words, 80, res);
    return vfile::BytesFromName(words);
}

// Does one step and tells what it took.
template <class Step>
void Tell(char const* name, vfile::VFile const& file, Step&& step) {
    bench::ForgetPeak();
    Work work;
    double const seconds = bench::Seconds([&] { work = step(); });
    if (file.res != vfile::ResDone) Fail(std::string(name) + ": " + Words(file.res));
    std::printf("%s\t%ld\t%lld\t%.6f\t%lld\t%lld\n", name, work.edits, work.bytes, seconds,
                static_cast<long long>(bench::PeakResidentKB()), work.places);
    std::fflush(stdout);
}

void Apply(vfile::VFile& file, demo::Edit const& edit) {
    auto const at = static_cast<std::int32_t>(edit.at), len = static_cast<std::int32_t>(edit.len);
    if (edit.kind == '+')
        file.ReplaceBuf(at, 0, edit.bytes.data(), len);
    else
        file.ReplaceBuf(at, len, nullptr, 0);
}

// The edits up to the copy, which is left in `edit`.
Work ApplyAll(vfile::VFile& file, std::istream& script, demo::Edit& edit) {
    Work work;
    while (demo::ReadEdit(script, edit) && edit.kind != '=') {
        Apply(file, edit);
        ++work.edits;
        work.bytes += edit.len;
    }
    if (edit.kind != '=') Fail("the script has no copy at its end");
    return work;
}

Work FindAll(vfile::VFile& file, std::string const& pattern) {
    auto const len = static_cast<std::int32_t>(pattern.size());
    Work work{0, file.Length()};
    for (std::int32_t pos = 0; file.Find(pos, pattern.c_str(), false, false); ++work.edits)
        work.places += pos - len;  // a match leaves its end
    return work;
}

Work FindAllBack(vfile::VFile& file, std::string const& pattern) {
    Work work{0, file.Length()};
    for (std::int32_t pos = file.Length(); file.FindBack(pos, pattern.c_str(), false, false); ++work.edits)
        work.places += pos;
    return work;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 9) return 2;
    std::ifstream script(argv[2], std::ios::binary);
    if (!script) Fail(std::string("cannot open ") + argv[2]);
    vfile::VFile::SetTempDir(vfile::NameFromBytes(argv[4]).c_str());
    vfile::VFile::SetMaxCacheSize(static_cast<std::int16_t>(std::atoi(argv[5])));

    vfile::VFile file;
    demo::Edit edit;
    Tell("load", file, [&] {
        file.Load(vfile::NameFromBytes(argv[1]).c_str(), 1);
        return Work{0, file.Length()};
    });
    Tell("edit", file, [&] { return ApplyAll(file, script, edit); });
    Tell("copy", file, [&] {
        file.ReplaceTxt(static_cast<std::int32_t>(edit.to), 0, file, static_cast<std::int32_t>(edit.at),
                        static_cast<std::int32_t>(edit.len));
        return Work{1, edit.len};
    });
    Tell("find-absent", file, [&] { return FindAll(file, argv[6]); });
    Tell("find-absent-back", file, [&] { return FindAllBack(file, argv[6]); });
    Tell("find-present", file, [&] { return FindAll(file, argv[7]); });
    Tell("find-present-back", file, [&] { return FindAllBack(file, argv[7]); });
    Tell("replace", file, [&] {
        Work work{0, file.Length()};
        work.edits = file.ReplaceGlobal(argv[7], argv[8], false, false);
        return work;
    });
    Tell("save", file, [&] {
        file.Save(vfile::NameFromBytes(argv[3]).c_str(), true);
        return Work{0, file.Length()};
    });
    return 0;
}
