#include "support/process.h"

#include <malloc.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

namespace bench {
namespace {

// The number behind `key` in a file of such lines, -1 without it.
std::int64_t NumberIn(char const* file, std::string const& key) {
    std::ifstream lines(file);
    std::string word;
    while (lines >> word) {
        std::int64_t number = -1;
        if (word == key && lines >> number) return number;
    }
    return -1;
}

}  // namespace

std::int64_t PeakResidentKB() { return NumberIn("/proc/self/status", "VmHWM:"); }

void ForgetPeak() { std::ofstream("/proc/self/clear_refs") << 5; }

std::int64_t OwnResidentKB() { return NumberIn("/proc/self/status", "RssAnon:"); }

std::int64_t HeapBytes() {
    struct mallinfo2 const info = mallinfo2();
    return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
}

std::int64_t ReadCalls() { return NumberIn("/proc/self/io", "syscr:"); }

std::int64_t NamelessFileBytes() {
    std::int64_t largest = 0;
    for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        struct stat info {};
        bool const seen = stat(entry.path().c_str(), &info) == 0;
        if (seen && S_ISREG(info.st_mode) && info.st_nlink == 0)
            largest = std::max(largest, std::int64_t{info.st_size});
    }
    return largest;
}

void WakeMemory(std::int64_t bytes) {
    std::size_t const len = static_cast<std::size_t>(bytes);
    void* const memory =
        mmap(nullptr, len, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (memory != MAP_FAILED) munmap(memory, len);
}

void DieWithParent() { prctl(PR_SET_PDEATHSIG, SIGKILL); }

}  // namespace bench
