// Text files of the host, out.
#include <vfile/char_file.h>
#include <vfile/halt.h>
#include <vfile/host_file.h>

#include <algorithm>
#include <cstring>

#include "hostfile/safe_target.h"
#include "text/codec.h"
#include "vfile/engine.h"
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

// A pair that the end of a step splits begins the next one.
FileRes WriteUnits(VFile& text, HFile& file, TCharVFile::Encoding encoding) {
    Encoder encoder(encoding);
    if (FileRes const code = encoder.Open(); code != ResDone) return code;
    StepBuffer in(MaxLen);
    StepBuffer out(MaxLen);
    auto* const units = reinterpret_cast<TChar*>(in.Data());
    auto const room = static_cast<std::size_t>(in.Size()) / sizeof *units;
    auto left = static_cast<std::size_t>(text.Length() / 2);
    std::size_t held = 0;
    while (left > 0 && file.res == ResDone) {
        std::size_t const n = std::min(left, room - held);
        text.ReadBytes(units + held, static_cast<std::int32_t>(n * sizeof *units));
        left -= n;
        held += n;
        std::size_t const taken = WriteEncoded(file, encoder, units, held, left == 0, out);
        held -= taken;
        std::memmove(units, units + taken, held * sizeof *units);
    }
    return GetFileRes(file);
}

// From the start of the text, where the cursor stands. Where units are converted it ends behind them all, whatever
// became of the writing.
void WriteText(VFile& text, HFile& file, TCharVFile::Encoding encoding, bool writeBom) {
    encoding = Known(encoding);
    std::string_view const mark = writeBom ? MarkOf(encoding) : std::string_view();
    file.WriteBytes(mark.data(), static_cast<std::int32_t>(mark.size()));
    if (encoding == TCharVFile::EncodingUtf16) {
        if (file.res == ResDone) return text.WriteToFile(file, MaxLen);
        text.res = GetFileRes(file);
        return;
    }
    FileRes const code = WriteUnits(text, file, encoding);
    if (text.Length() > 1) text.SetPos(text.Length() & ~1);
    text.res = code;
}

}  // namespace

// Before the target loses what it holds, it is certain that the text can be converted. A target that a failed write
// left incomplete stays.
void TCharVFile::SaveText(TChar const* name, bool overwrite, Encoding encoding, bool writeBom) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__);
    SetPos(0);
    res = Encoder(Known(encoding)).Open();
    if (res != ResDone) return;
    HFile file;
    if (!file.CreateSeqWrite(name, overwrite)) {
        res = GetFileRes(file);
        return;
    }
    WriteText(*this, file, encoding, writeBom);
}

void TCharVFile::SaveTextSafe(TChar const* name, Encoding encoding, bool writeBom) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__);
    SetPos(0);
    res = Encoder(Known(encoding)).Open();
    if (res != ResDone) return;
    SafeTarget target(name);
    res = target.Code();
    if (res != ResDone) return;
    WriteText(*this, target.File(), encoding, writeBom);
    if (res == ResDone) res = target.Commit();
}

}  // namespace vfile
