// Text files of the host, in.
#include <vfile/char_file.h>
#include <vfile/halt.h>

#include "hostfile/open_handle.h"
#include "text/text_inflow.h"
#include "vfile/block.h"
#include "vfile/host_end.h"

namespace vfile {

void TCharVFile::LoadText(TChar const* name, Encoding& encoding, std::uint32_t share) {
    LoadFrom(name, nullptr, encoding, share);
}

void TCharVFile::LoadText(TChar const* name, std::uint32_t share) {
    Encoding ignored;
    LoadFrom(name, nullptr, ignored, share);
}

void TCharVFile::LoadTextAs(TChar const* name, Encoding encoding, std::uint32_t share) {
    Encoding ignored;
    LoadFrom(name, &encoding, ignored, share);
}

// Whether a text that a zero byte may end is too long all the same, which only its conversion tells. Worth
// reading the file twice where it has so many bytes that they could be too many, and going back is possible: else
// it would be found out when the whole address range has been filled.
FileRes TCharVFile::CheckFits(void* file, std::int64_t size, Encoding encoding) {
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
void TCharVFile::LoadFrom(TChar const* name, Encoding const* known, Encoding& found, std::uint32_t share) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__);
    found = EncodingUtf16;
    SetPos(0);
    ReplaceBuf(0, MaxLen, nullptr, 0);
    if (res != ResDone || !MayChange(true)) return;
    using namespace platform;
    OpenHandle const source(name, {Access::kRead, share, Disposition::kOpenExisting, Hint::kSequential});
    if (!source.IsOpen()) {
        res = GetFileRes();
        return;
    }
    HostEnd host(source.Get());
    std::int64_t const size = host.SureBytes();  // before the look at its mark, which takes bytes
    TextInflow text(host);
    bool const begun = text.Begin(known ? std::optional(*known) : std::nullopt);
    if (!text.ReadFailed()) found = text.Found();
    res = begun ? CheckFits(source.Get(), size, text.Found()) : text.Code();
    if (res != ResDone) return;
    TakeFrom(text, u"LoadText", 0, MaxLen, MaxLen);
    if (text.ReadFailed()) found = EncodingUtf16;
    if (res == ResDone) SetPos(0);
}

}  // namespace vfile
