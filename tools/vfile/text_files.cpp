#include "text_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "marks.h"
#include "report.h"
#include "scratch_file.h"
#include "streams.h"

namespace vfile::tool {
namespace {

constexpr std::int32_t kStep = 64 << 10;

// A text is looked at more than once, and what a pipe has given does not come again.
bool ComesOnlyOnce(std::string const& name) {
    struct stat status {};
    return name == kStandardStream ||
           (stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode));
}

bool Keep(std::string const& name, ScratchFile const& scratch) {
    if (!scratch.IsOpen())
        ReportText(name + ": it is to be kept in the directory for temporary files, which takes no file");
    VFile bytes;
    if (!scratch.IsOpen() || !ReadAll(bytes, name)) return false;
    bytes.SetPos(0);
    bytes.WriteToFile(HandleOf(scratch.Descriptor()), MaxLen);
    if (bytes.res != ResDone) ReportFailure(name + ", kept in the directory for temporary files", bytes.res);
    return bytes.res == ResDone;
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
    std::vector<char> piece(kStep);
    std::int64_t start = 0;
    while (file.res == ResDone && !file.eof) {
        std::int32_t const got = file.ReadBytes(piece.data(), kStep);
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

// Loads the file `from`, which is called `name`.
std::optional<TextForm> ReadTextFrom(TString const& from, TCharVFile& text, std::string const& name,
                                     std::optional<Encoding> known) {
    Step const reading;
    TextForm form{known.value_or(TCharVFile::EncodingAnsi), false};
    if (known) {
        text.LoadTextAs(from, *known, 1);
        form.mark = BeginsWithMarkOf(*known, from);
    } else {
        text.LoadText(from, form.encoding, 1);
        form.mark = form.encoding != TCharVFile::EncodingAnsi;
    }
    if (text.res != ResDone) {
        ReportFailure(name, text.res);
        return std::nullopt;
    }
    if (!GoesToTheEnd(name, from, form.encoding)) return std::nullopt;
    reading.Tell("read " + name + ": " + std::to_string(text.TCharLength()) + " units of text");
    return form;
}

bool HaveSameBytes(TString const& first, TString const& second) {
    HFile one;
    HFile other;
    if (!one.OpenSeqRead(first.c_str()) || !other.OpenSeqRead(second.c_str())) return false;
    std::vector<char> bytes(kStep);
    std::vector<char> others(kStep);
    for (std::int32_t got = kStep; got > 0;) {
        got = one.ReadBytes(bytes.data(), kStep);
        if (other.ReadBytes(others.data(), kStep) != got) return false;
        if (std::memcmp(bytes.data(), others.data(), static_cast<std::size_t>(got)) != 0) return false;
    }
    return one.res == ResDone && other.res == ResDone;
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
    if (!ComesOnlyOnce(name)) return ReadTextFrom(NameFromBytes(name), text, name, known);
    ScratchFile const scratch;
    if (!Keep(name, scratch)) return std::nullopt;
    return ReadTextFrom(NameFromBytes(scratch.Name()), text, name, known);
}

bool WriteText(TCharVFile& text, std::string const& name, TextForm form) {
    if (name == kStandardStream) {
        ReportText("text is written to files: '-' is not one");
        return false;
    }
    Step const writing;
    text.SaveTextSafe(NameFromBytes(name), form.encoding, form.mark);
    if (text.res != ResDone)
        ReportFailure(name, text.res);
    else
        writing.Tell("wrote " + name + ": " + std::to_string(text.TCharLength()) + " units of text");
    return text.res == ResDone;
}

bool Holds(std::string const& name, TextForm was, TCharVFile& text, TextForm form) {
    if (ComesOnlyOnce(name) || (IsUtf16(was.encoding) != IsUtf16(form.encoding) && text.TCharLength() > 0))
        return false;
    ScratchFile const scratch;
    if (!scratch.IsOpen()) return false;
    text.SaveText(NameFromBytes(scratch.Name()), true, form.encoding, form.mark);
    return text.res == ResDone && HaveSameBytes(NameFromBytes(scratch.Name()), NameFromBytes(name));
}

}  // namespace vfile::tool
