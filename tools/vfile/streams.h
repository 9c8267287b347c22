// Between virtual files and the world: files by name, and standard input and output under the name "-". Work is
// done in pieces, with a bar for the user; a failure has been reported when an operation gives false.
#pragma once

#include <vfile.h>

#include <string>

namespace vfile::tool {

inline constexpr char kStandardStream[] = "-";

// Inserts all that `name` holds at the cursor of `file`, which then stands behind it.
bool ReadAll(VFile& file, std::string const& name);

// Makes all of `file` the content of `name`, which is made or emptied first. A file that could not be written
// whole is reported as partly written.
bool WriteAll(VFile& file, std::string const& name);

// The same for a file of that name alone, so that it always means the old bytes or the new.
bool WriteSafely(VFile& file, std::string const& name);

// Writes `count` bytes from the cursor on, as far as there are so many, to standard output.
bool WriteToStandardOutput(VFile& file, std::int32_t count);

}  // namespace vfile::tool
