// Typing: one byte inserted where the last one ended, in the middle of a text, against a rope.

#include <ext/rope>

#include "support/library.h"
#include "support/run.h"
#include "support/samples.h"

using namespace bench;

namespace {

constexpr int kStrokes = 1'000'000;    // ours, each round
constexpr int kRopeStrokes = 100'000;  // the rope is slower; fewer strokes flatter it, since it grows deeper
constexpr int kTextBytes = 16 << 20;

char Stroke(int i) { return static_cast<char>('a' + i % 26); }

double TypeIntoFile(vfile::VFile& file) {
    file.SetPos(file.Length() / 2);
    double const seconds = Seconds([&] {
        for (int i = 0; i < kStrokes; ++i) {
            char const ch = Stroke(i);
            file.ReplaceBuf(file.GetPos(), 0, &ch, 1);
        }
    });
    RequireDone(file, "typing");
    return seconds / kStrokes * 1e9;
}

double TypeIntoRope(std::string const& text) {
    __gnu_cxx::crope rope(text.data(), text.size());
    std::size_t at = text.size() / 2;
    return Seconds([&] {
               for (int i = 0; i < kRopeStrokes; ++i) rope.insert(at++, Stroke(i));
           }) /
           kRopeStrokes * 1e9;
}

// A stroke that went elsewhere would be cheap too.
void RequireTyped(vfile::VFile& file, std::size_t textBytes) {
    std::string typed(kStrokes, '\0');
    file.SetPos(static_cast<std::int32_t>(textBytes / 2));
    file.ReadBytes(typed.data(), kStrokes);
    for (int i = 0; i < kStrokes; ++i)
        Require(typed[static_cast<std::size_t>(i)] == Stroke(i), "typed text is wrong");
}

void Measure(Context const& context, Figures& figures) {
    UseSettings(context);
    std::string const text(kTextBytes, '.');
    vfile::VFile first(text.c_str());
    TypeIntoFile(first);
    RequireTyped(first, text.size());
    vfile::VFile file(text.c_str());
    Paired const stroke = Alternate(
        context.rounds, [&] { return TypeIntoFile(file); }, [&] { return TypeIntoRope(text); });
    figures.AddPaired("Insert one byte where the last ended", stroke, {"ns", 1}, {Bar::AtMost, 60});
    figures.AddRatio("The same, against a rope (`__gnu_cxx::crope`)", stroke, {"ns", 1}, {Bar::AtMost, 0.5});
}

}  // namespace

int main(int argc, char** argv) { return Run(argc, argv, Measure); }
