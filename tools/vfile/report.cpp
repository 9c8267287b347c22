#include "report.h"

#include <cstdio>
#include <cstdlib>

#include "exit_status.h"

namespace vfile::tool {
namespace {

std::string const* incomplete = nullptr;

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
    if (incomplete) ReportText(*incomplete + ":" + kPartlyWritten);
    std::_Exit(kFailed);  // no destructor may touch what has just stopped
}

}  // namespace

void ReportText(std::string const& text) {
    std::string const line =
        "vfile: " + text + "\n";  // in one piece, so that lines of two programs do not mix
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void ReportFailure(std::string const& name, FileRes res, char const* remark) {
    ReportText(name + ": " + WordsOf(res) + remark);
}

void ReportStops() { InstallHaltProc(Stop); }

Incomplete::Incomplete(std::string const& name) { incomplete = &name; }

Incomplete::~Incomplete() { incomplete = nullptr; }

}  // namespace vfile::tool
