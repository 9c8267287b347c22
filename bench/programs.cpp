// Whole programs at the same jobs on the same file: ours, the tools of the system, and editors. Writes lines of
// tab-separated figures:
//
//   job   program   seconds   least   greatest   MiB of memory at most
//
// A program that does not end in time has question marks; one that is not there has no line.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/command.h"
#include "support/host_files.h"
#include "support/process.h"
#include "support/run.h"
#include "support/samples.h"
#include "support/text_file.h"

using namespace bench;

namespace {

constexpr int kLimit = 30;  // seconds

struct Program {
    std::string name;
    std::string command;
    bool sameOutput = true;  // as the job's first program
};

struct Job {
    std::string name;
    std::vector<Program> programs;
};

// Editors are told not to look for settings of their user, nor to keep anything to recover by: the least that they can do.
std::string Vim(std::string const& in, std::string const& before, std::string const& commands) {
    return "vim -u NONE -i NONE -n -es " + before + " -c 'set nomodeline nofixeol' " + commands +
           " -c 'w! out' -c 'qa!' " + in + " </dev/null >/dev/null";
}

std::string Emacs(std::string const& in, std::string const& expressions) {
    return "emacs -Q --batch --eval '(progn (setq large-file-warning-threshold nil) (find-file-literally \"" +
           in + "\") " + expressions + " (write-region nil nil \"out\" nil 0))' 2>/dev/null";
}

// It wants a terminal, and commands typed into it.
std::string Vis(std::string const& in, std::string const& command) {
    return "printf '%s\\n' ':" + command + "' ':w! out' ':q!' | script -qec 'vis " + in +
           "' /dev/null >/dev/null";
}

std::vector<Job> Jobs(std::int64_t bytes) {
    std::string const ours = VFILE_TOOL_PATH;
    std::string const middle = std::to_string(bytes / 2), behind = std::to_string(bytes / 2 + 1);
    std::string const word = kWord, longer = kLonger, rare = kRareWord;
    return {
        {"insert a byte",
         {{"vfile", ours + " insert --at " + middle + " --text X text -o out"},
          {"vim", Vim("text", "-b", "-c 'goto " + behind + "' -c 'normal iX'")},
          {"emacs", Emacs("text", "(goto-char " + behind + ") (insert \"X\")")},
          {"vis", Vis("text", "#" + middle + " i/X/")},
          {"cp (changes nothing)", "cp text out", false}}            },
        {"replace all",
         {{"vfile", ours + " replace " + word + " " + longer + " text -o out >/dev/null"},
          {"sed", "sed s/" + word + "/" + longer + "/g text >out"},
          {"vim", Vim("text", "-b", "-c '%s/" + word + "/" + longer + "/ge'")},
          {"emacs", Emacs("text", "(while (search-forward \"" + word + "\" nil t) (replace-match \"" +
                                      longer + "\" t t))")},
          {"vis", Vis("text", ",x/" + word + "/ c/" + longer + "/")}}},
        {"count a word",
         {{"vfile", ours + " find --count " + rare + " text >out"},
          {"grep", "grep -c -F " + rare + " text >out"},
          {"vim",
           "vim -u NONE -i NONE -n -b -es -c 'redir > out' -c '%s/" + rare +
               "//gn' -c 'qa!' text </dev/null >/dev/null",
           false},
          {"emacs",
           "emacs -Q --batch --eval '(progn (setq large-file-warning-threshold nil) (find-file-literally "
           "\"text\") "
           "(princ (format \"%d\\n\" (how-many \"" +
               rare + "\"))))' 2>/dev/null >out"}}                   },
        {"UTF-8 to UTF-16",
         {{"vfile", ours + " convert --from utf-8 --to utf-16 --no-bom text out"},
          {"iconv", "iconv -f UTF-8 -t UTF-16LE -o out text"},
          {"vim", Vim("text", "--cmd 'set encoding=utf-8'", "-c 'set fileencoding=utf-16le nobomb'")},
          {"emacs",
           "emacs -Q --batch --eval '(progn (setq large-file-warning-threshold nil coding-system-for-read "
           "(quote utf-8-unix)) (find-file \"text\") (setq coding-system-for-write (quote utf-16le-unix)) "
           "(write-region nil nil \"out\" nil 0))' 2>/dev/null"}}    },
    };
}

bool IsThere(std::string const& command) {
    std::string const program = command.substr(0, command.find(' '));
    if (program == "printf") return IsThere("vis ") && IsThere("script ");
    return std::system(("command -v " + program + " >/dev/null").c_str()) == 0;
}

// The seconds and the memory of as many runs as there are rounds; none when it takes too long.
void Time(Context const& context, Program const& program, Samples& seconds, Samples& peak) {
    for (int round = 0; round < std::min(context.rounds, 3); ++round) {
        Remove("out");
        SyncDisk(".");
        WakeMemory(3 * context.bytes);
        Finished const run = RunCommand("cd " + context.directory + " && " + program.command, kLimit);
        if (!run.inTime) return;
        seconds.Add(run.seconds);
        peak.Add(run.peakMiB);
    }
}

void Do(Context const& context, Job const& job) {
    for (Program const& program : job.programs) {
        if (!IsThere(program.command)) continue;
        Samples seconds, peak;
        Time(context, program, seconds, peak);
        std::string const name = job.name + "\t" + program.name;
        if (seconds.Median() == 0) {
            std::printf("%s\t?\t?\t?\t?\n", name.c_str());
            continue;
        }
        std::printf("%s\t%.2f\t%.2f\t%.2f\t%.1f\n", name.c_str(), seconds.Median(), seconds.Least(),
                    seconds.Greatest(), peak.Median());
        if (&program == &job.programs.front()) {
            Remove("first");
            Require(std::rename("out", "first") == 0, "no output of the first program");
        } else if (program.sameOutput) {
            Require(SameBytes("first", "out"), (name + ": another output than the first").c_str());
        }
    }
}

void Measure(Context const& given, Figures&) {
    Context context = given;
    context.bytes = given.bytes / 2;
    Require(chdir(context.directory.c_str()) == 0, "no way into the directory");
    MakeText("text", context.bytes, false);
    for (Job const& job : Jobs(context.bytes)) Do(context, job);
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
