/// The text that searches and replacements run over: English words in lines of 40 to 90 bytes.
#pragma once

#include <cstdint>
#include <string>

namespace bench {

inline constexpr char kWord[] = "harbor";  // one in about 600 bytes
inline constexpr char kLonger[] = "lighthaus";
inline constexpr char kRareWord[] = "zephyr";  // one in about a megabyte, on a line of its own
inline constexpr char kAbsent[] = "nobody saw it";
inline constexpr char kAbsentCommon[] = " everywhere q";  // begins with the commonest byte of the text

/// Writes such a text: of single bytes, or of 16-bit units, the low byte first.
void MakeText(std::string const& path, std::int64_t bytes, bool wide);

}  // namespace bench
