// Search and global replace over blocks of odd lengths, against the plain search.
#include <vfile/virtual_file.h>

#include <string>

#include "fuzz/fuzz.h"
#include "support/plain_search.h"

namespace vfile::test {
namespace {

// Few letters, so that much is found and more nearly found; what is left of a byte repeats it.
std::string Text(FuzzInput& input, std::size_t most) {
    std::string text;
    while (input.HasMore() && text.size() < most) {
        std::uint8_t const b = input.Byte();
        if (b == 0) break;
        text.append(1 + (b >> 4), "aAbB1. \xC4"[b & 7]);
    }
    return text.substr(0, most);
}

// In blocks of 1 to 1024 bytes: what is inserted before a block that has no room begins a new one.
void Fill(VFile& file, std::string const& text, int cut) {
    for (std::size_t done = text.size(); done > 0;) {
        std::size_t const n = std::min<std::size_t>(done, static_cast<std::size_t>(cut));
        done -= n;
        VFile piece;
        piece.ReplaceBuf(0, 0, text.data() + done, static_cast<std::int32_t>(n));
        file.ReplaceTxt(0, 0, piece, 0, MaxLen);
    }
}

}  // namespace
}  // namespace vfile::test

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace vfile::test;
    using vfile::VFile;
    FuzzInput input(data, size);
    int const shape = input.Byte(), cut = 1 + input.Byte() * 4;
    std::int32_t const from = input.Byte() << 4;
    Query<char> const query{Text(input, 40), (shape & 1) != 0, (shape & 2) != 0};
    std::string const by = Text(input, 20), text = Text(input, 5000);
    if (query.pattern.empty()) return 0;
    VFile file;
    Fill(file, text, cut);
    SearchModel<char> const model(text);
    std::int32_t const at = std::min(from, file.Length());
    for (bool const back : {false, true}) {
        std::int32_t position = at;
        bool const found =
            back ? file.FindBack(position, query.pattern.c_str(), query.ignoreCase, query.wholeWord)
                 : file.Find(position, query.pattern.c_str(), query.ignoreCase, query.wholeWord);
        Outcome const got{found, position, file.GetPos(), file.eof};
        FUZZ_CHECK(got == (back ? model.FindBack(at, query) : model.Find(at, query)));
    }
    int count = 0;
    std::string const replaced = model.Replaced(query, by, count);
    FUZZ_CHECK(file.ReplaceGlobal(query.pattern.c_str(), by.c_str(), query.ignoreCase, query.wholeWord) ==
               count);
    std::string bytes(static_cast<std::size_t>(file.Length()), '\0');
    file.SetPos(0);
    file.ReadBytes(bytes.data(), file.Length());
    FUZZ_CHECK(bytes == replaced);
    return 0;
}
