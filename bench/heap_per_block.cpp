// Heap for each block of a file, beside the cache: what a second file adds when the first has already paid
// for all that a thread has once.

#include "support/host_files.h"
#include "support/library.h"
#include "support/process.h"
#include "support/run.h"
#include "support/samples.h"

using namespace bench;

namespace {

void Measure(Context const& context, Figures& figures) {
    UseSettings(context);
    std::int64_t const half = context.bytes / 2;  // both files share the addresses of one memory
    std::string const path = context.Path("source");
    MakeFile(path, half);

    vfile::VFile first, second;
    LoadOrFail(first, path);
    std::int64_t const heap = HeapBytes(), resident = OwnResidentKB();
    LoadOrFail(second, path);
    double const blocks = static_cast<double>(half / vfile::BlkSize);
    Samples heapPerBlock, residentPerBlock;
    heapPerBlock.Add(static_cast<double>(HeapBytes() - heap) / blocks);
    residentPerBlock.Add(static_cast<double>((OwnResidentKB() - resident) * 1024) / blocks);

    figures.AddSingle("Heap for each block of 1,024 bytes", heapPerBlock, {"bytes", 1}, {Bar::AtMost, 40});
    figures.AddSingle("Resident memory for each block", residentPerBlock, {"bytes", 1}, {});
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
