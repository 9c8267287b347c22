// Between virtual files and the world: files by name, and standard input and output under the name "-". Work is
// done in pieces, with a bar for the user; a failure has been reported when an operation gives false.
#pragma once

#include <vfile.h>

#include <cstdint>
#include <string>

namespace vfile::tool {

inline constexpr char kStandardStream[] = "-";

// What is done at once between two looks at the bar.
inline constexpr std::int32_t kPiece = 4 << 20;

// Inserts all that `name` holds at the cursor of `file`, which then stands behind it.
bool ReadAll(VFile& file, std::string const& name);

// Makes all of `file` the content of `name`, which is made where it is missing, so that a file of that name holds the
// old bytes or all of the new ones, whatever happens and whoever else writes it. A device or a pipe is written plainly.
bool WriteAll(VFile& file, std::string const& name);

// Writes `count` bytes from the cursor on, as far as there are so many, to standard output.
bool WriteToStandardOutput(VFile& file, std::int32_t count);

// The same for words about a file, which leave the memory of virtual files to that.
bool WriteToStandardOutput(std::string const& answer);

}  // namespace vfile::tool
