/// The frame of a benchmark program: its options, its directory, its processes and its exit status.
///
///   --mib N      megabytes of the files worked on; 1024 unless told
///   --quick      64 megabytes and 3 rounds: to see that everything works, not to quote
///   --rounds N   times that each side is measured
///   --rows       the table's rows without its head
///   --enforce    a figure that misses its bar makes the exit status 1
///
/// Exit status 2: wrong usage, or a step failed. The files lie in a fresh directory under TMPDIR, or else
/// /var/tmp, which is gone at the end, however the program ends; only a kill of the watching process leaves
/// it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/figures.h"

namespace bench {

struct Context {
    std::int64_t bytes = std::int64_t{1024} << 20;
    int rounds = 7;
    std::string directory;

    std::string Path(char const* name) const { return directory + "/" + name; }

    /// The size as a row quotes it.
    std::string SizeName() const;
};

/// Runs `measure` in a process of its own and prints what it found. The value is the program's exit status.
int Run(int argc, char** argv, void (*measure)(Context const&, Figures&));

/// The numbers that `work` gives, worked out in a fresh child: every call begins with the same heap.
std::vector<double> InChild(std::function<std::vector<double>()> const& work);

/// Ends the process with status 2 and the reason.
[[noreturn]] void Fail(std::string const& reason);

/// Fails, naming `what`, unless `good`.
inline void Require(bool good, char const* what) {
    if (!good) Fail(what);
}

}  // namespace bench
