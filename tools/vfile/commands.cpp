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
#include "process.h"
#include "progress.h"
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
    SetVoice(options.voice);
}

// A last line without an end counts, an empty one behind the last line end does not.
void TellLines(std::string& answer, VFile& file) {
    using Counter = LineCounter<VFile>;
    Counter counter(file);
    Progress progress("counting", file.Length());
    for (std::int32_t at = 0; at < file.Length();) {
        at += std::min(kPiece, file.Length() - at);
        counter.GoTo(at);
        progress.Show(at);
    }
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

// Reads the file, whose changes are noticed from then on.
bool ReadToChange(VFile& file, Options const& options) {
    if (!ReadAll(file, options.file)) return false;
    file.InclFlag(VFile::TrackModified);
    return true;
}

// Saves `file` unless the change before has failed, or would be saved where it came from and was none.
int SaveChanged(VFile& file, Options const& options) {
    if (file.res != ResDone) {
        ReportFailure(options.file, file.res);
        return kFailed;
    }
    if (options.inPlace && !file.FlagOn(VFile::Modified)) {
        TellUntouched(options.file);
        return kDone;
    }
    return StatusOf(WriteAll(file, options.output));
}

int Insert(Options const& options) {
    VFile file;
    if (!ReadToChange(file, options)) return kFailed;
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
    if (!ReadToChange(file, options)) return kFailed;
    file.ReplaceBuf(options.at, options.len, nullptr, 0);
    return SaveChanged(file, options);
}

// Gives the number of matches, nothing when it failed.
std::optional<std::int32_t> ReplaceBytes(Options const& options) {
    VFile file;
    if (!ReadToChange(file, options)) return std::nullopt;
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
    text.InclFlag(TCharVFile::TrackModified);
    std::int32_t const count = text.ReplaceGlobalTChars(NameFromBytes(options.pattern).c_str(),
                                                        NameFromBytes(options.replacement).c_str(),
                                                        options.ignoreCase, options.wholeWord);
    if (text.res != ResDone) {
        ReportFailure(options.file, text.res);
        return std::nullopt;
    }
    if (options.inPlace && !text.FlagOn(TCharVFile::Modified))
        TellUntouched(options.file);
    else if (!WriteText(text, options.output, *form))
        return std::nullopt;
    return count;
}

// The count goes where the output does not.
int Replace(Options const& options) {
    auto const count = options.asText ? ReplaceText(options) : ReplaceBytes(options);
    if (!count) return kFailed;
    if (CurrentVoice() == Voice::kQuiet) return kDone;
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

int RunCommand(Options const& options) {
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

// A file lives on beside those of the command, so that the memory they shared is still there to be looked at.
int RunAndTellMemory(Options const& options) {
    VFile const witness;
    Step const all;
    std::int64_t const before = BytesWithoutName();
    int const status = RunCommand(options);
    all.Tell("in all: cache " + std::to_string(VFile::GetCacheSize()) + " KB, swap file " +
             std::to_string((BytesWithoutName() - before) / 1024) + " KB");
    return status;
}

}  // namespace

int Run(Options const& options) {
    Apply(options);
    return options.voice == Voice::kVerbose ? RunAndTellMemory(options) : RunCommand(options);
}

}  // namespace vfile::tool
