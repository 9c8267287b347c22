// What a page costs that is not in the cache, with a large cache against a small one. Every read of a pass
// misses: there are more pages than either cache holds, each pass visits all of them in the same order, and
// the oldest page leaves first. No two visits in a row are neighbours, so that reading ahead has no part in
// it.

#include "support/library.h"
#include "support/process.h"
#include "support/run.h"
#include "support/samples.h"

using namespace bench;

namespace {

constexpr std::int32_t kPages = 65536;
constexpr std::int32_t kStride = 40503;  // odd, so that a pass meets every page once
constexpr std::int16_t kSmallKB = 70, kLargeKB = 32000;

std::int32_t Visit(std::int32_t i) {
    return static_cast<std::int32_t>(std::int64_t{i} * kStride % kPages) * vfile::BlkSize;
}

class Pages {
public:
    Pages(Context const& context, std::int16_t cacheKB) {
        mem.SetTempDir(vfile::NameFromBytes(context.directory).c_str());
        mem.SetMaxCacheSize(cacheKB);
        for (std::int32_t i = 0; i < kPages; ++i) {
            std::int32_t addr;
            mem.AllocPage(addr);
            mem.Set(addr, addr);
        }
        mem.ReleaseCache();  // a page that it held would be a hit, and the order of leaving another
        CleanMiss();         // fills the cache, so that every later miss has to make room
    }

    // Nanoseconds for a miss that makes room by dropping a clean page.
    double CleanMiss() {
        std::int64_t const before = ReadCalls();
        double const seconds = Seconds([&] {
            for (std::int32_t i = 0; i < kPages; ++i) {
                std::int32_t const addr = Visit(i);
                std::int32_t value = -1;
                mem.Get(addr, value);
                Require(value == addr, "a page holds what was written to another");
            }
        });
        if (before >= 0) Require(ReadCalls() - before >= kPages, "not every read missed");
        return seconds / kPages * 1e9;
    }

    // The same where the page that goes has been changed.
    double DirtyMiss() {
        double const seconds = Seconds([&] {
            for (std::int32_t i = 0; i < kPages; ++i) mem.Set(Visit(i), Visit(i));
        });
        return seconds / kPages * 1e9;
    }

private:
    vfile::VMem mem;
};

void Measure(Context const& context, Figures& figures) {
    Pages large(context, kLargeKB), small(context, kSmallKB);
    int const rounds = context.rounds * 3;  // short ones
    Paired const clean = Alternate(
        rounds, [&] { return large.CleanMiss(); }, [&] { return small.CleanMiss(); });
    Paired const dirty = Alternate(
        rounds, [&] { return large.DirtyMiss(); }, [&] { return small.DirtyMiss(); });
    figures.AddRatio("Cache miss with 32,000 KB, against 70 KB", clean, {"ns", 0}, {Bar::AtMost, 1.3});
    figures.AddRatio("The same, the page that goes being changed", dirty, {"ns", 0}, {});
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
