// A bar on the terminal for work that takes its time; nothing where standard error is no terminal,
// or the user wants quiet.
#pragma once

#include <chrono>
#include <cstdint>

namespace vfile::tool {

class Progress {
public:
    // `verb` tells what is being done to `total` bytes; it must outlive this object.
    Progress(char const* verb, std::int64_t total);
    // Wipes the bar away.
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    // `done` bytes of the total are through. Shows nothing in the first second.
    void Show(std::int64_t done);

private:
    using Clock = std::chrono::steady_clock;

    char const* const verb_;
    std::int64_t const total_;
    bool const visible_;
    bool painted_ = false;
    Clock::time_point next_;
};

}  // namespace vfile::tool
