#include "escapes.h"

#include <charconv>

namespace vfile::tool {
namespace {

// The byte that `code`, what stands behind a backslash, begins with; cuts it off. Nothing when there is none.
std::optional<char> TakeByte(std::string_view& code) {
    constexpr std::string_view kNames = "nrt\\";
    constexpr std::string_view kBytes = "\n\r\t\\";
    if (code.empty()) return std::nullopt;
    if (auto const which = kNames.find(code[0]); which != std::string_view::npos) {
        code.remove_prefix(1);
        return kBytes[which];
    }
    if (code[0] != 'x' || code.size() < 3) return std::nullopt;
    unsigned char byte = 0;
    auto const read = std::from_chars(code.data() + 1, code.data() + 3, byte, 16);
    if (read.ptr != code.data() + 3) return std::nullopt;
    code.remove_prefix(3);
    return static_cast<char>(byte);
}

}  // namespace

std::optional<std::string> Unescaped(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        std::optional<char> byte = text[0];
        text.remove_prefix(1);
        if (byte == '\\') byte = TakeByte(text);
        if (!byte) return std::nullopt;
        bytes += *byte;
    }
    return bytes;
}

}  // namespace vfile::tool
