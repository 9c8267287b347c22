// Loads a file, replaces a range by a text and saves the result, and says what went wrong in words:
//   load_edit_save FILE OUT AT LENGTH TEXT
// Shows the settings of a thread, where a failure is looked for, and how names and words become bytes.
#include <vfile.h>

#include <charconv>
#include <cstdint>
#include <iostream>
#include <string>
#include <string_view>

namespace {

// The words of a result code; they are plain ASCII.
std::string WordsOf(std::int32_t res) {
    vfile::TChar words[64];
    vfile::GetTextResMsg(words, 64, res);
    std::string bytes;
    for (vfile::TChar const* unit = words; *unit; ++unit) bytes += static_cast<char>(*unit);
    return bytes;
}

bool Succeeded(vfile::VFile const& file, char const* action, std::string_view name) {
    if (file.res == vfile::ResDone) return true;
    std::cerr << name << ": " << action << ": " << WordsOf(file.res) << '\n';
    return false;
}

bool ParseNumber(std::string_view text, std::int32_t& number) {
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() && number >= 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::int32_t at = 0;
    std::int32_t len = 0;
    if (argc != 6 || !ParseNumber(argv[3], at) || !ParseNumber(argv[4], len)) {
        std::cerr << "usage: load_edit_save FILE OUT AT LENGTH TEXT\n";
        return 2;
    }
    std::string_view const text = argv[5];

    // For the files of this thread, those to come included. What does not fit goes to a swap file in the
    // temporary directory, which vanishes with the thread's last file.
    vfile::VFile::SetMaxCacheSize(1024);
    vfile::VFile::SetTempDir(u"/var/tmp/");

    vfile::VFile file;
    file.Load(vfile::NameFromBytes(argv[1]).c_str(), 1);
    if (!Succeeded(file, "load", argv[1])) return 1;

    // Past the end is appending; a range that is longer than the file ends with it.
    file.ReplaceBuf(at, len, text.data(), static_cast<std::int32_t>(text.size()));
    if (!Succeeded(file, "change", argv[1])) return 1;

    // Save clears a stored failure before it begins: whoever wants to know of one looks before.
    file.Save(vfile::NameFromBytes(argv[2]).c_str(), true);
    return Succeeded(file, "save", argv[2]) ? 0 : 1;
}
