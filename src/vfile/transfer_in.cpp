// Bytes from the host. The whole source is taken into a private chain first: one that fails or runs dry
// half way leaves the file as it was.
#include <vfile/halt.h>

#include <algorithm>

#include "vfile/change.h"
#include "vfile/host_end.h"
#include "vfile/private_chain.h"
#include "vfile/step_buffer.h"
#include "vfile/transfer.h"

namespace vfile {

void VFile::ReplaceFile(std::int32_t start, std::int32_t delLen, HFile& file, std::int32_t count) {
    HostEnd source(file);
    TakeFrom(*this, source, u"ReplaceFile", start, delLen, count);
}

void VFile::ReplaceFile(std::int32_t start, std::int32_t delLen, void* handle, std::int32_t count) {
    HostEnd source(handle);
    TakeFrom(*this, source, u"ReplaceFile", start, delLen, count);
}

namespace {

// Gives the code of the reading. A definite count is all or nothing; MaxLen asks for what there is.
FileRes ReadIn(Engine& e, Inflow& source, std::int32_t count, PrivateChain& chain, std::int32_t& got) {
    if (count == MaxLen && source.SureBytes() > MaxLen) return ResTooLong;
    StepBuffer step(count);
    std::int32_t left = count;
    while (left > 0) {
        std::int32_t n = 0;
        if (!source.Read(step.Data(), std::min(left, step.Size()), n)) return source.Code();
        if (n == 0) break;
        if (source.IsWatched()) e.CheckEOL(step.Data(), n);
        if (!chain.Append(step.Data(), n)) return ResHeapOverflow;
        left -= n;
    }
    got = count - left;
    return left == 0 || count == MaxLen ? ResDone : ResNotDone;
}

}  // namespace

// Clips only after the reading, which is what tells how many bytes there are. Nothing goes into the current
// block: it is cut at the cursor, and the chain put behind it.
void TakeFrom(VFile& file, Inflow& source, TChar const* operation, std::int32_t start, std::int32_t delLen,
              std::int32_t count) {
    Engine* const e = OwnEngine(file);
    if (!e) return HaltA(kModule, __LINE__);
    if (file.res != ResDone) return;
    bool const sameLen = delLen == SameLen;
    if (!e->MayChange(start >= 0 && (sameLen || delLen >= 0) && source.IsOpen() && count >= 0)) return;
    PrivateChain chain(*e);
    std::int32_t got = 0;
    file.res = ReadIn(*e, source, count, chain, got);
    if (file.res != ResDone) return;
    Change change{operation, start, sameLen ? got : delLen, got};
    if (!e->Position(change)) return;
    if (e->Ask(change) && e->DoChange(change, nullptr, 0, chain)) Publish(file, change);
}

}  // namespace vfile
