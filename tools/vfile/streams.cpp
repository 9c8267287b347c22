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

// `target` is an HFile or a handle.
template <class Target>
void WritePieces(VFile& file, Target& target, std::int32_t count) {
    std::int32_t const length = std::min(count, file.Length() - file.GetPos());
    Progress progress("writing", length);
    std::int32_t done = 0;
    while (done < length && file.res == ResDone) {
        std::int32_t const piece = std::min(kPiece, length - done);
        file.WriteToFile(target, piece);
        done += piece;
        progress.Show(done);
    }
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
    file.SetPos(0);
    if (name == kStandardStream) return WriteToStandardOutput(file, MaxLen);
    HFile target;
    if (!target.CreateSeqWrite(NameFromBytes(name).c_str(), true)) {
        ReportFailure(name, target.res);
        return false;
    }
    Incomplete const incomplete(name);
    WritePieces(file, target, MaxLen);
    if (file.res == ResDone) target.Flush();  // a full disk may come to light no sooner
    FileRes const res = file.res != ResDone ? file.res : target.res;
    if (res != ResDone) ReportFailure(name, res, kPartlyWritten);
    return res == ResDone;
}

bool WriteSafely(VFile& file, std::string const& name) {
    file.SaveSafe(NameFromBytes(name).c_str());
    if (file.res != ResDone) ReportFailure(name, file.res);
    return file.res == ResDone;
}

bool WriteToStandardOutput(VFile& file, std::int32_t count) {
    void* output = HandleOf(STDOUT_FILENO);
    WritePieces(file, output, count);
    if (file.res != ResDone) ReportFailure("standard output", file.res);
    return file.res == ResDone;
}

}  // namespace vfile::tool
