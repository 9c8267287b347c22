// write_edits LENGTH EDITS COPY SEED: the script of that many random inserts and deletes on a text of LENGTH
// bytes, and of one copy of at most COPY bytes at the end, to standard output.

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "edit_script.h"
#include "random.h"

namespace {

// Most edits are of a word or a line; now and then one is of several blocks.
std::int64_t EditLength(demo::Random& random) { return 1 + random.Below(random.Below(100) == 0 ? 8192 : 80); }

demo::Edit Insertion(demo::Random& random, std::int64_t textLength) {
    demo::Edit edit;
    edit.kind = '+';
    edit.at = random.Below(textLength + 1);
    edit.len = EditLength(random);
    while (static_cast<std::int64_t>(edit.bytes.size()) < edit.len) edit.bytes.append(random.Word()) += ' ';
    edit.bytes.resize(static_cast<std::size_t>(edit.len));
    return edit;
}

demo::Edit Deletion(demo::Random& random, std::int64_t textLength) {
    demo::Edit edit;
    edit.kind = '-';
    edit.at = random.Below(textLength);
    edit.len = std::min(EditLength(random), textLength - edit.at);
    return edit;
}

demo::Edit Copy(demo::Random& random, std::int64_t textLength, std::int64_t most) {
    demo::Edit edit;
    edit.kind = '=';
    edit.len = std::min(most, textLength);
    edit.at = random.Below(textLength - edit.len + 1);
    edit.to = random.Below(textLength + 1);
    return edit;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    std::int64_t length = std::atoll(argv[1]);
    demo::Random random(static_cast<std::uint64_t>(std::atoll(argv[4])));
    for (long long left = std::atoll(argv[2]); left > 0; --left) {
        bool const inserts = length == 0 || random.Below(2) == 0;
        demo::Edit const edit = inserts ? Insertion(random, length) : Deletion(random, length);
        length += inserts ? edit.len : -edit.len;
        demo::WriteEdit(std::cout, edit);
    }
    demo::WriteEdit(std::cout, Copy(random, length, std::atoll(argv[3])));
    return std::cout.flush() ? 0 : 1;
}
