// What the program ends with. Scripts depend on the numbers.
#pragma once

namespace vfile::tool {

enum ExitStatus : int {
    kDone = 0,
    kNothingFound = 1,  // a question was answered with no; nothing failed
    kFailed = 2,        // a file could not be read or written, or the program was called wrongly
};

}  // namespace vfile::tool
