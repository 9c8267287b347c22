#include "text_files.h"

#include <algorithm>

#include "report.h"
#include "streams.h"

namespace vfile::tool {
namespace {

// Text is loaded and saved by name, in steps of the library's own.
bool HasName(std::string const& name) {
    if (name == kStandardStream) ReportText("text is converted from file to file: '-' is not one");
    return name != kStandardStream;
}

}  // namespace

std::optional<Encoding> EncodingOf(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; });
    if (name == "ansi") return TCharVFile::EncodingAnsi;
    if (name == "utf-8") return TCharVFile::EncodingUtf8;
    if (name == "utf-16") return TCharVFile::EncodingUtf16;
    if (name == "utf-16be") return TCharVFile::EncodingUtf16BE;
    return std::nullopt;
}

bool ReadText(TCharVFile& text, std::string const& name, std::optional<Encoding>& encoding) {
    if (!HasName(name)) return false;
    TString const units = NameFromBytes(name);
    if (encoding) {
        text.LoadTextAs(units, *encoding, 1);
    } else {
        text.LoadText(units, encoding.emplace(), 1);
    }
    if (text.res != ResDone) ReportFailure(name, text.res);
    return text.res == ResDone;
}

bool WriteText(TCharVFile& text, std::string const& name, Encoding encoding, bool mark) {
    if (!HasName(name)) return false;
    TString const units = NameFromBytes(name);
    bool const wasThere = HFile::Exists(units.c_str());
    {
        Incomplete const incomplete(name);
        text.SaveText(units, true, encoding, mark);
    }
    FileRes const res = text.res;
    if (res == ResDone) return true;
    FileRes ignored;
    bool const removed = !wasThere && HFile::Exists(units.c_str()) && HFile::Remove(units.c_str(), ignored);
    ReportFailure(name, res, removed ? " (removed again)" : "");
    return false;
}

}  // namespace vfile::tool
