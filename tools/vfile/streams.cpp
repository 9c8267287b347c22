#include "streams.h"

#include <unistd.h>

#include <algorithm>

#include "progress.h"
#include "report.h"

namespace vfile::tool {
namespace {

// The size tells how far the pieces go; the rest, all of it where there is no size, comes without one. Where the
// size may be more than a virtual file holds, all is asked for at once: that is refused before anything is read.
void ReadPieces(VFile& file, HFile& source) {
    std::int32_t const length = source.Length() - source.GetPos();
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
    Step const reading;
    std::int32_t const before = file.Length();
    file.InclFlag(VFile::InsertMode);
    HFile source(name == kStandardStream ? HandleOf(dup(STDIN_FILENO)) : InvalidHandle());
    FileRes res = ResDone;
    if (name != kStandardStream && !source.OpenSeqRead(NameFromBytes(name).c_str())) {
        res = source.res;
    } else {
        ReadPieces(file, source);
        res = file.res;
    }
    if (res != ResDone)
        ReportFailure(name == kStandardStream ? "standard input" : name, res);
    else
        reading.Tell("read " + name + ": " + std::to_string(file.Length() - before) + " bytes");
    return res == ResDone;
}

bool WriteAll(VFile& file, std::string const& name) {
    if (name == kStandardStream) {
        file.SetPos(0);
        return WriteToStandardOutput(file, MaxLen);
    }
    Step const writing;
    file.SaveSafe(NameFromBytes(name).c_str());
    if (file.res != ResDone)
        ReportFailure(name, file.res);
    else
        writing.Tell("wrote " + name + ": " + std::to_string(file.Length()) + " bytes");
    return file.res == ResDone;
}

bool WriteToStandardOutput(VFile& file, std::int32_t count) {
    void* const output = HandleOf(STDOUT_FILENO);
    std::int32_t const length = std::min(count, file.Length() - file.GetPos());
    Step const writing;
    Progress progress("writing", length);
    std::int32_t done = 0;
    while (done < length && file.res == ResDone) {
        std::int32_t const piece = std::min(kPiece, length - done);
        file.WriteToFile(output, piece);
        done += piece;
        progress.Show(done);
    }
    if (file.res != ResDone)
        ReportFailure("standard output", file.res);
    else
        writing.Tell("wrote -: " + std::to_string(length) + " bytes");
    return file.res == ResDone;
}

bool WriteToStandardOutput(std::string const& answer) {
    HFile output(HandleOf(dup(STDOUT_FILENO)));  // which it closes
    output.WriteBytes(answer.data(), static_cast<std::int32_t>(answer.size()));
    if (output.res != ResDone) ReportFailure("standard output", output.res);
    return output.res == ResDone;
}

}  // namespace vfile::tool
