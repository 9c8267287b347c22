#include "streams.h"

#include <unistd.h>

#include <algorithm>

#include "progress.h"
#include "report.h"

namespace vfile::tool {
namespace {

constexpr std::int32_t kPiece = 4 << 20;

bool ReadStandardInput(VFile& file) {
    file.ReadFromFile(HandleOf(STDIN_FILENO), MaxLen);
    if (file.res != ResDone) ReportFailure("standard input", file.res);
    return file.res == ResDone;
}

// The size tells how far the pieces go; the rest, all of it where there is no size, comes without one. Where the
// size may be more than a virtual file holds, all is asked for at once: that is refused before anything is read.
void ReadPieces(VFile& file, HFile& source) {
    std::int32_t const length = source.Length();
    Progress progress("reading", length);
    std::int32_t done = 0;
    while (length < MaxLen && done < length && file.res == ResDone) {
        std::int32_t const piece = std::min(kPiece, length - done);
        file.ReadFromFile(source, piece);
        done += piece;
        progress.Show(done);
    }
    file.ReadFromFile(source, MaxLen);
}

}  // namespace

bool ReadAll(VFile& file, std::string const& name) {
    file.InclFlag(VFile::InsertMode);
    if (name == kStandardStream) return ReadStandardInput(file);
    HFile source;
    FileRes res = ResDone;
    if (!source.OpenSeqRead(NameFromBytes(name).c_str())) {
        res = source.res;
    } else {
        ReadPieces(file, source);
        res = file.res;
    }
    if (res != ResDone) ReportFailure(name, res);
    return res == ResDone;
}

bool WriteAll(VFile& file, std::string const& name) {
    if (name == kStandardStream) {
        file.SetPos(0);
        return WriteToStandardOutput(file, MaxLen);
    }
    file.SaveSafe(NameFromBytes(name).c_str());
    if (file.res != ResDone) ReportFailure(name, file.res);
    return file.res == ResDone;
}

bool WriteToStandardOutput(VFile& file, std::int32_t count) {
    void* const output = HandleOf(STDOUT_FILENO);
    std::int32_t const length = std::min(count, file.Length() - file.GetPos());
    Progress progress("writing", length);
    std::int32_t done = 0;
    while (done < length && file.res == ResDone) {
        std::int32_t const piece = std::min(kPiece, length - done);
        file.WriteToFile(output, piece);
        done += piece;
        progress.Show(done);
    }
    if (file.res != ResDone) ReportFailure("standard output", file.res);
    return file.res == ResDone;
}

bool WriteToStandardOutput(std::string const& answer) {
    HFile output(HandleOf(dup(STDOUT_FILENO)));  // which it closes
    output.WriteBytes(answer.data(), static_cast<std::int32_t>(answer.size()));
    if (output.res != ResDone) ReportFailure("standard output", output.res);
    return output.res == ResDone;
}

}  // namespace vfile::tool
