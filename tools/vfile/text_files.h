// Text files in their encodings. A failure has been reported when an operation gives false.
#pragma once

#include <vfile.h>

#include <optional>
#include <string>

namespace vfile::tool {

using Encoding = TCharVFile::Encoding;

// One of kEncodingNames, whatever the case of its letters.
std::optional<Encoding> EncodingOf(std::string name);
inline bool IsUtf16(Encoding encoding) {
    return encoding == TCharVFile::EncodingUtf16 || encoding == TCharVFile::EncodingUtf16BE;
}
inline constexpr char kEncodingNames[] = "ansi, utf-8, utf-16 or utf-16be";

// How a text lay in its file.
struct TextForm {
    Encoding encoding;
    bool mark;
};

// Loads `name`, perhaps a pipe or standard input, whose encoding is `known`, or else what its mark says: without one, the locale's.
std::optional<TextForm> ReadText(TCharVFile& text, std::string const& name, std::optional<Encoding> known);

// Makes the text the content of `name`, in the way of WriteAll.
bool WriteText(TCharVFile& text, std::string const& name, TextForm form);

// Whether the text, which was read from `name` and `was` so there, would be written as the bytes that are there now. In
// doubt it would not.
bool Holds(std::string const& name, TextForm was, TCharVFile& text, TextForm form);

}  // namespace vfile::tool
