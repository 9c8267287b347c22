#include "commands.h"

#include <vfile.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "exit_status.h"
#include "report.h"
#include "streams.h"

namespace vfile::tool {
namespace {

int StatusOf(bool done) { return done ? kDone : kFailed; }

void Apply(Options const& options) {
    if (options.cacheKilobytes) VFile::SetMaxCacheSize(*options.cacheKilobytes);
    if (!options.tempDir.empty()) VFile::SetTempDir(NameFromBytes(options.tempDir).c_str());
}

// The encoding that the first bytes of `file` announce, null when they announce none.
char const* MarkOf(VFile& file) {
    static constexpr struct {
        std::string_view bytes;
        char const* name;
    } kMarks[] = {
        {"\xEF\xBB\xBF", "UTF-8"                  },
        {"\xFF\xFE",     "UTF-16, low byte first" },
        {"\xFE\xFF",     "UTF-16, high byte first"}
    };
    char start[4];
    auto const got = static_cast<std::size_t>(file.ReadTxt(start, sizeof start, 0, sizeof start));
    for (auto const& mark : kMarks) {
        if (std::string_view(start, got).starts_with(mark.bytes)) return mark.name;
    }
    return nullptr;
}

int Info(Options const& options) {
    VFile file;
    if (!ReadAll(file, options.file)) return kFailed;
    std::string lines = "name   " + options.file + "\nbytes  " + std::to_string(file.Length());
    lines += file.Length() == 0 ? " (empty)\n" : "\n";
    if (char const* const mark = MarkOf(file)) lines += std::string("mark   ") + mark + "\n";
    VFile answer(lines.c_str());
    answer.Reset();
    return StatusOf(WriteToStandardOutput(answer, MaxLen));
}

int Cut(Options const& options) {
    VFile file;
    if (!ReadAll(file, options.file)) return kFailed;
    file.SetPos(options.at);
    return StatusOf(WriteToStandardOutput(file, options.len));
}

// Saves `file` unless the change before has failed.
int SaveChanged(VFile& file, Options const& options) {
    if (file.res == ResDone) return StatusOf(WriteAll(file, options.output));
    ReportFailure(options.file, file.res);
    return kFailed;
}

int Insert(Options const& options) {
    VFile file;
    if (!ReadAll(file, options.file)) return kFailed;
    file.SetPos(options.at);
    if (options.from) {
        if (!ReadAll(file, *options.from)) return kFailed;
    } else {
        auto const len = static_cast<std::int32_t>(std::min<std::size_t>(options.text->size(), MaxLen));
        file.ReplaceBuf(options.at, 0, options.text->data(), len);
    }
    return SaveChanged(file, options);
}

int Delete(Options const& options) {
    VFile file;
    if (!ReadAll(file, options.file)) return kFailed;
    file.ReplaceBuf(options.at, options.len, nullptr, 0);
    return SaveChanged(file, options);
}

}  // namespace

int Run(Options const& options) {
    Apply(options);
    switch (options.command) {
        case Options::Command::kInfo:
            return Info(options);
        case Options::Command::kCut:
            return Cut(options);
        case Options::Command::kInsert:
            return Insert(options);
        case Options::Command::kDelete:
            break;
    }
    return Delete(options);
}

}  // namespace vfile::tool
