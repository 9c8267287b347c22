#include "support/command.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "support/process.h"
#include "support/run.h"
#include "support/samples.h"

namespace bench {

// `timeout` ends it with status 124, or with that of the second signal.
Finished RunCommand(std::string const& command, int limitSeconds) {
    std::string const limit = std::to_string(limitSeconds);
    rusage usage = {};
    int status = -1;
    double const seconds = Seconds([&] {
        pid_t const child = fork();
        Require(child >= 0, "no process");
        if (child == 0) {
            DieWithParent();
            setenv("LC_ALL", "C", 1);
            execlp("timeout", "timeout", "-k", "2", limit.c_str(), "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        wait4(child, &status, 0, &usage);
    });
    bool const ended = WIFSIGNALED(status) ||
                       (WIFEXITED(status) && (WEXITSTATUS(status) == 124 || WEXITSTATUS(status) == 137));
    if (status != 0 && !ended) Fail("a peer failed: " + command);
    return {!ended, seconds, static_cast<double>(usage.ru_maxrss) / 1024};
}

}  // namespace bench
