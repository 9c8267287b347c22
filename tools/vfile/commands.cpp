#include "commands.h"

#include <vfile.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>

#include "backup.h"
#include "convert.h"
#include "exit_status.h"
#include "line_counter.h"
#include "marks.h"
#include "report.h"
#include "search.h"
#include "streams.h"
#include "text_files.h"

namespace vfile::tool {
namespace {

int StatusOf(bool done) { return done ? kDone : kFailed; }

void Apply(Options const& options) {
    if (options.cacheKilobytes) VFile::SetMaxCacheSize(*options.cacheKilobytes);
    if (!options.tempDir.empty()) VFile::SetTempDir(NameFromBytes(options.tempDir).c_str());
}

// A last line without an end counts, an empty one behind the last line end does not.
void TellLines(std::string& answer, VFile& file) {
    using Counter = LineCounter<VFile>;
    Counter counter(file);
    counter.GoTo(file.Length());
    std::int32_t const ended = counter.Line() - 1;
    answer += "lines    " + std::to_string(counter.LineStart() < file.Length() ? ended + 1 : ended) + "\n";
    if (ended > 0) {
        static constexpr char const* kNames[] = {" LF", " CR LF", " CR"};
        char const* before = "ends     ";
        for (auto const kind : {Counter::kLf, Counter::kCrLf, Counter::kCr}) {
            if (counter.Ends(kind) == 0) continue;
            answer += before + std::to_string(counter.Ends(kind)) + kNames[kind];
            before = ", ";
        }
        answer += "\n";
    }
    if (counter.Longest() > 0) {
        answer += "longest  " + std::to_string(counter.Longest()) + " bytes, line " +
                  std::to_string(counter.LongestLine()) + "\n";
    }
}

int Info(Options const& options) {
    VFile file;
    if (!ReadAll(file, options.file)) return kFailed;
    std::string answer = "name     " + options.file + "\nbytes    " + std::to_string(file.Length());
    answer += file.Length() == 0 ? " (empty)\n" : "\n";
    char start[kMarkBytes];
    file.Reset();
    auto const got = static_cast<std::size_t>(file.ReadBytes(start, kMarkBytes));
    if (Mark const* const mark = MarkAt({start, got})) answer += std::string("mark     ") + mark->name + "\n";
    TellLines(answer, file);
    return StatusOf(WriteToStandardOutput(answer));
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

// Gives the number of matches, nothing when it failed.
std::optional<std::int32_t> ReplaceBytes(Options const& options) {
    VFile file;
    if (!ReadAll(file, options.file)) return std::nullopt;
    std::int32_t const count = file.ReplaceGlobal(options.pattern.c_str(), options.replacement.c_str(),
                                                  options.ignoreCase, options.wholeWord);
    if (SaveChanged(file, options) != kDone) return std::nullopt;
    return count;
}

// Written as it was read.
std::optional<std::int32_t> ReplaceText(Options const& options) {
    TCharVFile text;
    auto const form = ReadText(text, options.file, options.fromEncoding);
    if (!form) return std::nullopt;
    std::int32_t const count = text.ReplaceGlobalTChars(NameFromBytes(options.pattern).c_str(),
                                                        NameFromBytes(options.replacement).c_str(),
                                                        options.ignoreCase, options.wholeWord);
    if (text.res != ResDone) {
        ReportFailure(options.file, text.res);
        return std::nullopt;
    }
    if (!WriteText(text, options.output, *form)) return std::nullopt;
    return count;
}

// The count goes where the output does not.
int Replace(Options const& options) {
    auto const count = options.asText ? ReplaceText(options) : ReplaceBytes(options);
    if (!count) return kFailed;
    std::string const answer = std::to_string(*count) + "\n";
    if (options.output != kStandardStream) return StatusOf(WriteToStandardOutput(answer));
    std::fputs(answer.c_str(), stderr);
    return kDone;
}

void PassLines(VFile& file, std::int32_t count) {
    char nothing;
    while (count-- > 0 && !file.Eof()) file.ReadLine(&nothing, 1);
}

int Lines(Options const& options) {
    VFile file;
    if (!ReadAll(file, options.file)) return kFailed;
    file.Reset();
    PassLines(file, options.firstLine - 1);
    if (file.Eof()) return kNothingFound;
    std::int32_t const start = file.GetPos();
    PassLines(file, options.lastLine - options.firstLine);
    PassLines(file, 1);
    std::int32_t const end = file.GetPos();
    file.SetPos(start);
    return StatusOf(WriteToStandardOutput(file, end - start));
}

}  // namespace

int Run(Options const& options) {
    Apply(options);
    switch (options.command) {
        case Options::Command::kBackup:
            return Backup(options);
        case Options::Command::kInfo:
            return Info(options);
        case Options::Command::kConvert:
            return Convert(options);
        case Options::Command::kCut:
            return Cut(options);
        case Options::Command::kInsert:
            return Insert(options);
        case Options::Command::kFind:
            return Find(options);
        case Options::Command::kReplace:
            return Replace(options);
        case Options::Command::kLines:
            return Lines(options);
        case Options::Command::kDelete:
            break;
    }
    return Delete(options);
}

}  // namespace vfile::tool
