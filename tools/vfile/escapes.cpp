#include "escapes.h"

#include <charconv>

namespace vfile::tool {
namespace {

// The byte that `code`, what stands behind a backslash, begins with; cuts it off. Zero when there is none.
char TakeByte(std::string_view& code) {
    constexpr std::string_view kNames = "nrt\\";
    constexpr std::string_view kBytes = "\n\r\t\\";
    if (code.empty()) return 0;
    if (auto const which = kNames.find(code[0]); which != std::string_view::npos) {
        code.remove_prefix(1);
        return kBytes[which];
    }
    if (code[0] != 'x' || code.size() < 3) return 0;
    unsigned char byte = 0;
    auto const read = std::from_chars(code.data() + 1, code.data() + 3, byte, 16);
    if (read.ptr != code.data() + 3) return 0;
    code.remove_prefix(3);
    return static_cast<char>(byte);
}

}  // namespace

std::optional<std::string> Unescaped(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        char byte = text[0];
        text.remove_prefix(1);
        if (byte == '\\') byte = TakeByte(text);
        if (byte == 0) return std::nullopt;
        bytes += byte;
    }
    return bytes;
}

}  // namespace vfile::tool
