#include "report.h"

#include <cstdio>
#include <cstdlib>

#include "exit_status.h"

namespace vfile::tool {
namespace {

std::string WordsOf(FileRes res) {
    TChar words[64];
    GetTextResMsg(words, std::size(words), res);
    return BytesFromName(words);
}

// Keeps what it says on one line.
void Stop(TChar const* message) {
    std::string text = BytesFromName(message);
    for (char& c : text) {
        if (c == '\n') c = ' ';
    }
    ReportText(text);
    std::_Exit(kFailed);  // no destructor may touch what has just stopped
}

}  // namespace

void ReportText(std::string const& text) {
    std::string const line =
        "vfile: " + text + "\n";  // in one piece, so that lines of two programs do not mix
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void ReportFailure(std::string const& name, FileRes res) { ReportText(name + ": " + WordsOf(res)); }

void ReportStops() { InstallHaltProc(Stop); }

}  // namespace vfile::tool
