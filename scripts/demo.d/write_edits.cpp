// write_edits LENGTH EDITS COPY SEED PRESENT: the script of that many random inserts and deletes on a text of
// LENGTH bytes, of which the last one inserts PRESENT, and of one copy of at most COPY bytes at the end, to
// standard output.

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>

#include "edit_script.h"
#include "random.h"

namespace {

// Most edits are of a word or a line; now and then one is of several blocks.
std::int64_t EditLength(demo::Random& random) { return 1 + random.Below(random.Below(100) == 0 ? 8192 : 80); }

demo::Edit Insertion(demo::Random& random, std::int64_t textLength, std::string bytes) {
    demo::Edit edit;
    edit.kind = '+';
    edit.at = random.Below(textLength + 1);
    edit.len = static_cast<std::int64_t>(bytes.size());
    edit.bytes = std::move(bytes);
    return edit;
}

std::string Words(demo::Random& random, std::int64_t len) {
    std::string words;
    while (static_cast<std::int64_t>(words.size()) < len) words.append(random.Word()) += ' ';
    words.resize(static_cast<std::size_t>(len));
    return words;
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
    if (argc != 6) return 2;
    std::int64_t length = std::atoll(argv[1]);
    demo::Random random(static_cast<std::uint64_t>(std::atoll(argv[4])));
    for (long long left = std::atoll(argv[2]); left > 1; --left) {
        bool const inserts = length == 0 || random.Below(2) == 0;
        demo::Edit const edit =
            inserts ? Insertion(random, length, Words(random, EditLength(random))) : Deletion(random, length);
        length += inserts ? edit.len : -edit.len;
        demo::WriteEdit(std::cout, edit);
    }
    demo::Edit const last = Insertion(random, length, argv[5]);
    demo::WriteEdit(std::cout, last);
    demo::WriteEdit(std::cout, Copy(random, length + last.len, std::atoll(argv[3])));
    return std::cout.flush() ? 0 : 1;
}
