// Text files in their encodings. A failure has been reported when an operation gives false.
#pragma once

#include <vfile.h>

#include <optional>
#include <string>

namespace vfile::tool {

using Encoding = TCharVFile::Encoding;

// One of kEncodingNames, whatever the case of its letters.
std::optional<Encoding> EncodingOf(std::string name);
inline constexpr char kEncodingNames[] = "ansi, utf-8, utf-16 or utf-16be";

// Loads `name`. `encoding`, when it holds nothing, becomes what the mark says: without one, the locale's.
bool ReadText(TCharVFile& text, std::string const& name, std::optional<Encoding>& encoding);

// Makes the text the content of `name`. A file that was not there and cannot be written whole is removed again.
bool WriteText(TCharVFile& text, std::string const& name, Encoding encoding, bool mark);

}  // namespace vfile::tool
