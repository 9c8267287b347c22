// What the user asked for.
#pragma once

#include <vfile.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "report.h"

namespace vfile::tool {

struct Options {
    enum class Command { kBackup, kInfo, kConvert, kCut, kInsert, kDelete, kFind, kReplace, kLines };

    Command command = Command::kInfo;
    std::string file;                // read whole; "-" is standard input
    std::vector<std::string> files;  // the same, of what may have several
    std::string output;              // written whole; "-" is standard output
    bool inPlace = false;            // the output is the file
    std::int32_t at = 0;
    std::int32_t len = 0;
    std::optional<std::string> text;  // one of these two goes in
    std::optional<std::string> from;

    std::string pattern;  // neither it nor the replacement holds a zero byte
    std::string replacement;
    bool escapes = false;  // undone by now
    bool ignoreCase = false;
    bool wholeWord = false;
    bool back = false;
    bool count = false;
    std::optional<std::int32_t> start;  // of the search; without it the whole file is searched

    TCharVFile::Encoding toEncoding = TCharVFile::EncodingUtf8;
    std::optional<TCharVFile::Encoding> fromEncoding;  // without it the mark tells
    std::optional<bool> mark;                          // without it the encoding tells
    bool asText = false;                               // search characters, in a file of any encoding

    std::int32_t firstLine = 1;
    std::int32_t lastLine = 1;

    std::optional<std::int16_t> cacheKilobytes;
    std::string tempDir;  // empty for the usual ones
    Voice voice = Voice::kPlain;
};

// Fills `options` from the arguments. Gives the exit status when the program is to end here: help was asked for
// and given, or wrong usage reported.
std::optional<int> ParseOptions(int argc, char const* const* argv, Options& options);

}  // namespace vfile::tool
