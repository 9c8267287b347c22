// Which files a name on the command line means.
#pragma once

#include <string>
#include <vector>

namespace vfile::tool {

// The files that match `given` if it has a wildcard in its last part and is no file itself, in the order of their
// names and without directories; else `given` alone.
std::vector<std::string> FilesOf(std::string const& given);

// Whether there is any, standard input included.
bool IsFile(std::string const& given);

}  // namespace vfile::tool
