#include "progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "report.h"

namespace vfile::tool {
namespace {

constexpr std::chrono::milliseconds kQuiet{1000};
constexpr std::chrono::milliseconds kBetweenPaints{100};
constexpr std::int64_t kWidth = 40;

}  // namespace

Progress::Progress(char const* verb, std::int64_t total)
    : verb_(verb),
      total_(total),
      visible_(total > 0 && CurrentVoice() != Voice::kQuiet && isatty(STDERR_FILENO) == 1),
      next_(Clock::now() + kQuiet) {}

Progress::~Progress() {
    if (painted_) std::fputs("\r\033[K", stderr);
}

void Progress::Show(std::int64_t done) {
    if (!visible_ || Clock::now() < next_) return;
    next_ = Clock::now() + kBetweenPaints;
    painted_ = true;
    std::string bar(static_cast<std::size_t>(kWidth * done / total_), '#');
    bar.resize(kWidth, '.');
    std::fprintf(stderr, "\r%s [%s] %3d%%", verb_, bar.c_str(), static_cast<int>(100 * done / total_));
}

}  // namespace vfile::tool
