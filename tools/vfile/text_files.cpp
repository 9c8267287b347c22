#include "text_files.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "marks.h"
#include "report.h"
#include "streams.h"

namespace vfile::tool {
namespace {

// Text is loaded and saved by name, in steps of the library's own.
bool HasName(std::string const& name) {
    if (name == kStandardStream) ReportText("text is read from files and written to files: '-' is not one");
    return name != kStandardStream;
}

bool BeginsWithMarkOf(Encoding encoding, TString const& name) {
    HFile file;
    char start[kMarkBytes];
    if (!file.OpenSeqRead(name.c_str())) return false;
    Mark const* const mark = MarkAt({start, static_cast<std::size_t>(file.ReadBytes(start, kMarkBytes))});
    return mark && mark->encoding == encoding;
}

// Whether a text in this encoding goes as far as its file: what is behind a zero byte is not loaded, and would be gone when
// the text is written. What speaks against it is reported.
bool GoesToTheEnd(std::string const& name, TString const& units, Encoding encoding) {
    if (encoding != TCharVFile::EncodingAnsi && encoding != TCharVFile::EncodingUtf8) return true;
    HFile file;
    file.OpenSeqRead(units.c_str());
    std::vector<char> piece(1 << 16);
    std::int64_t start = 0;
    while (file.res == ResDone && !file.eof) {
        std::int32_t const got = file.ReadBytes(piece.data(), static_cast<std::int32_t>(piece.size()));
        void const* const zero = std::memchr(piece.data(), 0, static_cast<std::size_t>(got));
        if (zero) {
            std::int64_t const at = start + (static_cast<char const*>(zero) - piece.data());
            ReportText(name + ": no text: a zero byte at " + std::to_string(at));
            return false;
        }
        start += got;
    }
    if (file.res != ResDone) ReportFailure(name, file.res);
    return file.res == ResDone;
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

std::optional<TextForm> ReadText(TCharVFile& text, std::string const& name, std::optional<Encoding> known) {
    if (!HasName(name)) return std::nullopt;
    TString const units = NameFromBytes(name);
    TextForm form{known.value_or(TCharVFile::EncodingAnsi), false};
    if (known) {
        text.LoadTextAs(units, *known, 1);
        form.mark = BeginsWithMarkOf(*known, units);
    } else {
        text.LoadText(units, form.encoding, 1);
        form.mark = form.encoding != TCharVFile::EncodingAnsi;
    }
    if (text.res == ResDone)
        return GoesToTheEnd(name, units, form.encoding) ? std::optional(form) : std::nullopt;
    ReportFailure(name, text.res);
    return std::nullopt;
}

bool WriteText(TCharVFile& text, std::string const& name, TextForm form) {
    if (!HasName(name)) return false;
    text.SaveTextSafe(NameFromBytes(name), form.encoding, form.mark);
    if (text.res != ResDone) ReportFailure(name, text.res);
    return text.res == ResDone;
}

}  // namespace vfile::tool
