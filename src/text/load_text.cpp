// Text files of the host, in.
#include <vfile/char_file.h>
#include <vfile/halt.h>

#include "hostfile/open_handle.h"
#include "text/text_inflow.h"
#include "vfile/engine.h"
#include "vfile/host_end.h"
#include "vfile/transfer.h"

namespace vfile {

namespace {

// Whether a text that a zero byte may end is too long all the same, which only its conversion tells. Worth
// reading the file twice where it has so many bytes that they could be too many, and going back is possible: else
// it would be found out when the whole address range has been filled.
FileRes CheckFits(void* file, std::int64_t size, TCharVFile::Encoding encoding) {
    std::int64_t start = 0;
    constexpr auto kUnit = static_cast<std::int64_t>(sizeof(TChar));
    if (!EndsAtZero(encoding) || size <= MaxLen / kUnit || !platform::GetPosition(file, start))
        return ResDone;
    HostEnd host(file);
    TextInflow text(host);
    StepBuffer step(MaxLen);
    std::int64_t bytes = 0;
    if (platform::SetPosition(file, 0) && text.Begin(encoding)) {
        for (std::int32_t n = 1; n > 0 && bytes <= MaxLen; bytes += n) {
            if (!text.Read(step.Data(), step.Size(), n)) break;  // as the reading proper will
        }
    }
    if (!platform::SetPosition(file, start)) return GetFileRes();
    return bytes > MaxLen ? ResTooLong : ResDone;
}

// Empties first, like Load. What the file says of its encoding holds from the first look on, and is taken back
// when it turns out that the file cannot be read to its end. An override of ReplaceBuf sees the emptying; the
// text is put in without one, as the loading constructors do, and only the hooks are told.
void LoadFrom(VFile& file, TChar const* name, TCharVFile::Encoding const* known, TCharVFile::Encoding& found,
              std::uint32_t share) {
    if (!OwnEngine(file)) return HaltA(kModule, __LINE__);
    found = TCharVFile::EncodingUtf16;
    file.SetPos(0);
    file.ReplaceBuf(0, MaxLen, nullptr, 0);
    if (file.res != ResDone || !OwnEngine(file)->MayChange(true)) return;
    using namespace platform;
    OpenHandle const source(name, {Access::kRead, share, Disposition::kOpenExisting, Hint::kSequential});
    if (!source.IsOpen()) {
        file.res = GetFileRes();
        return;
    }
    HostEnd host(source.Get());
    std::int64_t const size = host.SureBytes();  // before the look at its mark, which takes bytes
    TextInflow text(host);
    bool const begun = text.Begin(known ? std::optional(*known) : std::nullopt);
    if (!text.ReadFailed()) found = text.Found();
    file.res = begun ? CheckFits(source.Get(), size, text.Found()) : text.Code();
    if (file.res != ResDone) return;
    TakeFrom(file, text, u"LoadText", 0, MaxLen, MaxLen);
    if (text.ReadFailed()) found = TCharVFile::EncodingUtf16;
    if (file.res == ResDone) file.SetPos(0);
}

}  // namespace

void TCharVFile::LoadText(TChar const* name, Encoding& encoding, std::uint32_t share) {
    LoadFrom(*this, name, nullptr, encoding, share);
}

void TCharVFile::LoadText(TChar const* name, std::uint32_t share) {
    Encoding ignored;
    LoadFrom(*this, name, nullptr, ignored, share);
}

void TCharVFile::LoadTextAs(TChar const* name, Encoding encoding, std::uint32_t share) {
    Encoding ignored;
    LoadFrom(*this, name, &encoding, ignored, share);
}

}  // namespace vfile
