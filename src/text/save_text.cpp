// Text files of the host, out.
#include <vfile/char_file.h>
#include <vfile/halt.h>
#include <vfile/host_file.h>

#include <algorithm>
#include <cstring>

#include "hostfile/safe_target.h"
#include "text/codec.h"
#include "vfile/block.h"
#include "vfile/step_buffer.h"

namespace vfile {

namespace {

// Writes all that `encoder` makes of the units, but those it leaves for the next piece; gives how many it took.
std::size_t WriteEncoded(HFile& file, Encoder& encoder, TChar const* units, std::size_t count, bool last,
                         StepBuffer& out) {
    auto* const bytes = reinterpret_cast<char*>(out.Data());
    std::size_t taken = 0;
    for (Converted piece{1, 1}; piece.taken + piece.made > 0;) {
        piece =
            encoder.Encode(units + taken, count - taken, last, bytes, static_cast<std::size_t>(out.Size()));
        file.WriteBytes(bytes, static_cast<std::int32_t>(piece.made));
        taken += piece.taken;
    }
    return taken;
}

}  // namespace

// Before the target loses what it holds, it is certain that the text can be converted. A target that a failed write
// left incomplete stays.
void TCharVFile::SaveText(TChar const* name, bool overwrite, Encoding encoding, bool writeBom) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__);
    SetPos(0);
    res = Encoder(Known(encoding)).Open();
    if (res != ResDone) return;
    HFile file;
    if (!file.CreateSeqWrite(name, overwrite)) {
        res = GetFileRes(file);
        return;
    }
    WriteText(file, encoding, writeBom);
}

void TCharVFile::SaveTextSafe(TChar const* name, Encoding encoding, bool writeBom) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__);
    SetPos(0);
    res = Encoder(Known(encoding)).Open();
    if (res != ResDone) return;
    SafeTarget target(name);
    res = target.Code();
    if (res != ResDone) return;
    WriteText(target.File(), encoding, writeBom);
    if (res == ResDone) res = target.Commit();
}

// From the start of the text, where the cursor stands. Where units are converted it ends behind them all, whatever
// became of the writing.
void TCharVFile::WriteText(HFile& file, Encoding encoding, bool writeBom) {
    encoding = Known(encoding);
    std::string_view const mark = writeBom ? MarkOf(encoding) : std::string_view();
    file.WriteBytes(mark.data(), static_cast<std::int32_t>(mark.size()));
    if (encoding == EncodingUtf16) {
        if (file.res == ResDone) return WriteToFile(file, MaxLen);
        res = GetFileRes(file);
        return;
    }
    FileRes const code = WriteUnits(file, encoding);
    if (TCharLength() > 0) SetPos(TCharLength() * 2);
    res = code;
}

// A pair that the end of a step splits begins the next one.
FileRes TCharVFile::WriteUnits(HFile& file, Encoding encoding) {
    Encoder encoder(encoding);
    if (FileRes const code = encoder.Open(); code != ResDone) return code;
    StepBuffer in(MaxLen);
    StepBuffer out(MaxLen);
    auto* const units = reinterpret_cast<TChar*>(in.Data());
    auto const room = static_cast<std::size_t>(in.Size()) / sizeof *units;
    auto left = static_cast<std::size_t>(TCharLength());
    std::size_t held = 0;
    while (left > 0 && file.res == ResDone) {
        std::size_t const n = std::min(left, room - held);
        ReadBytes(units + held, static_cast<std::int32_t>(n * sizeof *units));
        left -= n;
        held += n;
        std::size_t const taken = WriteEncoded(file, encoder, units, held, left == 0, out);
        held -= taken;
        std::memmove(units, units + taken, held * sizeof *units);
    }
    return GetFileRes(file);
}

}  // namespace vfile
