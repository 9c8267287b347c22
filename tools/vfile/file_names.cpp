#include "file_names.h"

#include <vfile.h>

#include <algorithm>

#include "streams.h"

namespace vfile::tool {

// The names come back whole, and are shown as the user began them.
std::vector<std::string> FilesOf(std::string const& given) {
    TString const pattern = NameFromBytes(given);
    auto const nameStart = given.rfind('/') + 1;
    if (given.find_first_of("*?", nameStart) == std::string::npos || HFile::Exists(pattern.c_str()))
        return {given};
    std::vector<std::string> files;
    HFileDir search(pattern.c_str());
    TChar full[MaxNameUnits];
    while (search.FindNext(full, MaxNameUnits)) {
        std::string const found = BytesFromName(full);
        if (!HFile::IsDirectory(full))
            files.push_back(given.substr(0, nameStart) + found.substr(found.rfind('/') + 1));
    }
    std::sort(files.begin(), files.end());
    return files.empty() ? std::vector{given} : files;
}

bool IsFile(std::string const& given) {
    return given == kStandardStream || HFile::Exists(NameFromBytes(FilesOf(given).front()).c_str());
}

}  // namespace vfile::tool
