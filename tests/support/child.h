// Runs a check in a forked child.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace vfile::test {

// Zero when `check` gave true in the child; its end, as waitpid tells it, otherwise. Nothing of the parent's is
// ended there: no destructor and no exit function runs.
template <class Check>
int InChild(Check check) {
    pid_t const child = fork();
    if (child == 0) _exit(check() ? 0 : 1);
    int status = -1;
    if (child == -1 || waitpid(child, &status, 0) != child) return -1;
    return status;
}

}  // namespace vfile::test
