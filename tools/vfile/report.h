// How the program speaks, on standard error: a line for each failure, and as much of its doings as was asked for. Every
// line starts with its name.
#pragma once

#include <vfile.h>

#include <chrono>
#include <string>

namespace vfile::tool {

// "vfile: NAME: WORDS", with the library's words for `res`.
void ReportFailure(std::string const& name, FileRes res);

// "vfile: TEXT"
void ReportText(std::string const& text);

// From here on a stop of the library is a line like the others and the exit status of a failure, where it would
// else end the program with a signal: with a swap file that finds no room that is an ordinary end.
void ReportStops();

// What is told beside answers and failures: nothing; progress and counts; that and every step.
enum class Voice { kQuiet, kPlain, kVerbose };

void SetVoice(Voice voice);
Voice CurrentVoice();

// "vfile: left NAME as it was", for who wants to hear all.
void TellUntouched(std::string const& name);

// Something that takes its time, from here on.
class Step {
public:
    // "vfile: DONE, SECONDS s" for who wants to hear it.
    void Tell(std::string const& done) const;

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point const start_ = Clock::now();
};

}  // namespace vfile::tool
