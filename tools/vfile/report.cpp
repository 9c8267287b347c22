#include "report.h"

#include <cstdio>
#include <cstdlib>

#include "exit_status.h"

namespace vfile::tool {
namespace {

Voice theVoice = Voice::kPlain;

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

void SetVoice(Voice voice) { theVoice = voice; }

Voice CurrentVoice() { return theVoice; }

void TellUntouched(std::string const& name) {
    if (theVoice == Voice::kVerbose) ReportText("left " + name + " as it was");
}

void Step::Tell(std::string const& done) const {
    if (theVoice != Voice::kVerbose) return;
    char seconds[32];
    std::chrono::duration<double> const taken = Clock::now() - start_;
    std::snprintf(seconds, sizeof seconds, ", %.3f s", taken.count());
    ReportText(done + seconds);
}

}  // namespace vfile::tool
