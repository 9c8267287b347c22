// Bytes to a host file, from the cursor on.
#include <vfile/halt.h>

#include <algorithm>

#include "vfile/engine.h"
#include "vfile/host_end.h"
#include "vfile/step_buffer.h"

namespace vfile {

namespace {

// Reads past the cursor, which moves only once the bytes are out: the memory may stop in the middle of a step. A
// failure leaves it as if each block had been a write of its own: behind the one that failed.
void GiveTo(VFile& file, HostEnd& target, std::int32_t count) {
    Engine const* const e = OwnEngine(file);
    if (!e) return HaltA(kModule, __LINE__);
    if (file.res != ResDone) return;
    if (count < 0 || !target.IsOpen()) {
        file.res = ResCallError;
        return;
    }
    count = std::min(count, e->length - e->pos);
    StepBuffer step(count);
    BlkRdr rd;
    e->SetPosC(rd, e->pos);
    while (count > 0) {
        std::int32_t const n = std::min(count, step.Size());
        e->ReadBytesC(rd, step.Data(), n);
        std::int32_t put = 0;
        bool const done = target.Write(step.Data(), n, put);
        file.SetPos(e->pos + (done ? n : std::min(n, (put / BlkSize + 1) * BlkSize)));
        if (!done) {
            file.res = target.Code();
            return;
        }
        count -= n;
    }
}

}  // namespace

void VFile::WriteToFile(HFile& file, std::int32_t count) {
    HostEnd target(file);
    GiveTo(*this, target, count);
}

void VFile::WriteToFile(void* handle, std::int32_t count) {
    HostEnd target(handle);
    GiveTo(*this, target, count);
}

}  // namespace vfile
