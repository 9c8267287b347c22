// Runs the inputs in the given directories through the fuzz target, and small ones in as many variants as the first
// argument says: the same in every run, some bytes of each lost, doubled or taken from elsewhere in it.
#include "fuzz/fuzz.h"
#include "support/test.h"

namespace {

using Input = std::vector<std::uint8_t>;

Input VariantOf(Input input, std::mt19937& random) {
    for (auto changes = 1 + random() % (8 + input.size() / 4); changes > 0 && !input.empty(); --changes) {
        std::uint8_t const other = input[random() % input.size()];
        auto const at = input.begin() + static_cast<std::ptrdiff_t>(random() % input.size());
        auto const kind = random() % 4;
        if (kind == 0) input.erase(at);
        if (kind == 1) input.insert(at, other);
        if (kind == 2) *at = other;
        if (kind == 3) *at = static_cast<std::uint8_t>(*at + random() % 3);
    }
    return input;
}

}  // namespace

int main(int argc, char** argv) {
    int const variants = argc > 1 ? std::atoi(argv[1]) : 0;
    std::size_t inputs = 0;
    for (int i = 2; i < argc; ++i) {
        for (auto const& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream in(entry.path(), std::ios::binary);
            std::vector<char> const bytes{std::istreambuf_iterator<char>(in), {}};
            Input const input(bytes.begin(), bytes.end());
            LLVMFuzzerTestOneInput(input.data(), input.size());
            std::mt19937 random;
            for (int n = 0; n < variants; ++n) {
                Input const variant = VariantOf(input, random);
                LLVMFuzzerTestOneInput(variant.data(), variant.size());
            }
            inputs += 1 + static_cast<std::size_t>(variants);
        }
    }
    std::printf("%zu inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
