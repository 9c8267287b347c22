/// Other programs, run to their end.
#pragma once

#include <string>

namespace bench {

struct Finished {
    bool inTime;  // else it was ended, and the rest says nothing
    double seconds;
    double peakMiB;  // resident memory of it, or of the largest of its own children
};

/// Runs a command line of the shell in the "C" locale, in which other programs are quickest. One that fails ends us, too.
Finished RunCommand(std::string const& command, int limitSeconds = 600);

/// Seconds that such a command takes.
inline double SecondsOf(std::string const& command) { return RunCommand(command).seconds; }

}  // namespace bench
