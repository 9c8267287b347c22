#include "support/run.h"

#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "support/process.h"

namespace bench {
namespace {

struct Options {
    Context context;
    bool withHead = true;
    bool enforce = false;
};

int PositiveNumber(std::string_view option, char const* text) {
    char* end = nullptr;
    long const value = text ? std::strtol(text, &end, 10) : 0;
    if (!text || *end || value < 1 || value > 2047)
        Fail(std::string(option) + " wants a number from 1 to 2047");
    return static_cast<int>(value);
}

Options Parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        std::string_view const option = argv[i];
        if (option == "--rows") {
            options.withHead = false;
        } else if (option == "--enforce") {
            options.enforce = true;
        } else if (option == "--quick") {
            options.context.bytes = std::int64_t{64} << 20;
            options.context.rounds = 3;
        } else if (option == "--mib" || option == "--rounds") {
            int const value = PositiveNumber(option, i + 1 < argc ? argv[i + 1] : nullptr);
            ++i;
            if (option == "--mib")
                options.context.bytes = std::int64_t{value} << 20;
            else
                options.context.rounds = value;
        } else {
            Fail("unknown option " + std::string(option));
        }
    }
    return options;
}

// A directory in memory would leave out the very disk that the figures are about.
std::string NewDirectory() {
    char const* const parent = std::getenv("TMPDIR");
    std::string path = std::string(parent && *parent ? parent : "/var/tmp") + "/vfile-bench-XXXXXX";
    if (!mkdtemp(path.data())) Fail("no directory can be made as " + path);
    struct statfs system = {};
    if (statfs(path.c_str(), &system) == 0 && system.f_type == TMPFS_MAGIC) {
        rmdir(path.c_str());
        Fail("TMPDIR is in memory; name a directory on a disk");
    }
    return path;
}

volatile std::sig_atomic_t measuring = 0;

void PassOn(int signal) {
    if (measuring > 0) kill(static_cast<pid_t>(measuring), signal);
}

constexpr int kEndings[] = {SIGINT, SIGTERM, SIGHUP};

void OnEndings(void (*handler)(int)) {
    for (int const signal : kEndings) std::signal(signal, handler);
}

int Measure(Options const& options, void (*measure)(Context const&, Figures&)) {
    Figures figures;
    measure(options.context, figures);
    figures.Print(options.withHead);
    return options.enforce && !figures.AllReached() ? 1 : 0;
}

}  // namespace

std::string Context::SizeName() const {
    std::int64_t const mib = bytes >> 20;
    return mib % 1024 == 0 ? std::to_string(mib / 1024) + " GiB" : std::to_string(mib) + " MiB";
}

int Run(int argc, char** argv, void (*measure)(Context const&, Figures&)) {
    Options options = Parse(argc, argv);
    options.context.directory = NewDirectory();
    OnEndings(PassOn);
    pid_t const child = fork();
    if (child == 0) {
        OnEndings(SIG_DFL);
        DieWithParent();
        std::exit(Measure(options, measure));
    }
    measuring = child;
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    std::error_code ignored;
    std::filesystem::remove_all(options.context.directory, ignored);
    return child > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : 2;
}

std::vector<double> InChild(std::function<std::vector<double>()> const& work) {
    int ends[2];
    Require(pipe(ends) == 0, "no pipe");
    std::fflush(stdout);
    pid_t const child = fork();
    Require(child >= 0, "no process");
    if (child == 0) {
        DieWithParent();
        std::vector<double> const numbers = work();
        std::size_t const len = numbers.size() * sizeof(double);
        bool const sent = write(ends[1], numbers.data(), len) == static_cast<ssize_t>(len);
        std::_Exit(sent ? 0 : 2);
    }
    close(ends[1]);
    std::vector<double> numbers;
    for (double number; read(ends[0], &number, sizeof number) == sizeof number;) numbers.push_back(number);
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) std::exit(2);  // the child has told why
    return numbers;
}

void Fail(std::string const& reason) {
    std::fprintf(stderr, "bench: %s\n", reason.c_str());
    std::exit(2);
}

}  // namespace bench
