#include <new>

#include "commands.h"
#include "exit_status.h"
#include "options.h"
#include "process.h"
#include "report.h"

int main(int argc, char** argv) {
    using namespace vfile::tool;
    PrepareProcess();
    ReportStops();
    try {
        Options options;
        if (auto const status = ParseOptions(argc, argv, options)) return *status;
        return Run(options);
    } catch (std::bad_alloc const&) {
        ReportText("not enough memory");
        return kFailed;
    }
}
