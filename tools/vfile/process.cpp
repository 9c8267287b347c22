#include "process.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <initializer_list>

#include "exit_status.h"

namespace vfile::tool {
namespace {

// Opened the wrong way round, so that using the stream is still a failure. Lowest numbers first: open takes the
// lowest that is free.
void HoldStandardStreams() {
    for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) != -1) continue;
        int const way = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", way) != stream) std::_Exit(kFailed);
    }
}

}  // namespace

void PrepareProcess() {
    HoldStandardStreams();
    std::setlocale(LC_CTYPE, "");
    std::signal(SIGXFSZ, SIG_IGN);
}

// The program has few files open, and a new one gets the lowest number that is free.
std::int64_t BytesWithoutName() {
    constexpr int kNumbers = 256;
    std::int64_t bytes = 0;
    for (int number = STDERR_FILENO + 1; number < kNumbers; ++number) {
        struct stat status {};
        if (fstat(number, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 0)
            bytes += status.st_size;
    }
    return bytes;
}

}  // namespace vfile::tool
