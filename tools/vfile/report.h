// How the program speaks of failures: one line on standard error that starts with its name.
#pragma once

#include <vfile.h>

#include <string>

namespace vfile::tool {

// "vfile: NAME: WORDS", with the library's words for `res`.
void ReportFailure(std::string const& name, FileRes res);

// "vfile: TEXT"
void ReportText(std::string const& text);

// From here on a stop of the library is a line like the others and the exit status of a failure, where it would
// else end the program with a signal: with a swap file that finds no room that is an ordinary end.
void ReportStops();

}  // namespace vfile::tool
