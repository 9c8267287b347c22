// How full blocks are after a great many edits at random places, told by the pages that the swap file holds for them.

#include <random>

#include "support/host_files.h"
#include "support/library.h"
#include "support/process.h"
#include "support/run.h"
#include "support/samples.h"

using namespace bench;

namespace {

constexpr int kEdits = 1'000'000;
constexpr std::int32_t kFileBytes = 64 << 20;

struct Shape {
    char const* name;
    std::int32_t len;
    bool deletes;  // every second time, as much as was inserted
};

double SwapForEachByte(Shape const& shape) {
    vfile::VFile file;
    std::string const step(kStep, '.');
    while (file.Length() < kFileBytes) file.ReplaceBuf(vfile::MaxLen, 0, step.data(), kStep);
    std::string const text(static_cast<std::size_t>(shape.len), '+');
    std::mt19937 random(7);
    for (int i = 0; i < kEdits; ++i) {
        auto const at = static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(file.Length()));
        bool const deletes = shape.deletes && i % 2 == 1;
        file.ReplaceBuf(at, deletes ? shape.len : 0, text.data(), deletes ? 0 : shape.len);
    }
    RequireDone(file, "editing");
    std::int64_t const swap = NamelessFileBytes();
    Require(swap > 0, "no swap file is seen");
    return static_cast<double>(swap) / file.Length();
}

void Measure(Context const& context, Figures& figures) {
    constexpr Shape kShapes[] = {
        {"10 bytes inserted",                          10,  false},
        {"10 bytes inserted and 10 deleted in turn",   10,  true },
        {"100 bytes inserted and 100 deleted in turn", 100, true }
    };
    UseSettings(context);
    for (Shape const& shape : kShapes) {
        Samples swap;
        swap.Add(SwapForEachByte(shape));
        figures.AddSingle(std::string("Swap file after a million times ") + shape.name +
                              " at random places of 64 MiB, for each byte of the file",
                          swap, {"bytes", 2}, {Bar::AtMost, 2});
    }
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
