// Bytes that are hard to type, as text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vfile::tool {

// `text` with \n, \r, \t, \\ and \xHH made the bytes that they stand for, zero bytes too. Nothing when it has any
// other backslash.
std::optional<std::string> Unescaped(std::string_view text);

}  // namespace vfile::tool
