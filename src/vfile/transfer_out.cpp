// Bytes to a host file, from the cursor on.
#include <vfile/halt.h>

#include <algorithm>

#include "vfile/block.h"
#include "vfile/host_end.h"
#include "vfile/step_buffer.h"

namespace vfile {

void VFile::WriteToFile(HFile& file, std::int32_t count) {
    HostEnd target(file);
    GiveTo(target, count);
}

void VFile::WriteToFile(void* handle, std::int32_t count) {
    HostEnd target(handle);
    GiveTo(target, count);
}

// Reads past the cursor, which moves only once the bytes are out: the memory may stop in the middle of a step. A
// failure leaves it as if each block had been a write of its own: behind the one that failed.
void VFile::GiveTo(HostEnd& target, std::int32_t count) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__);
    if (res != ResDone) return;
    if (count < 0 || !target.IsOpen()) {
        res = ResCallError;
        return;
    }
    count = std::min(count, length - pos);
    StepBuffer step(count);
    BlkRdr rd;
    SetPosC(rd, pos);
    while (count > 0) {
        std::int32_t const n = std::min(count, step.Size());
        ReadBytesC(rd, step.Data(), n);
        std::int32_t put = 0;
        bool const done = target.Write(step.Data(), n, put);
        SetPos(pos + (done ? n : std::min(n, (put / BlkSize + 1) * BlkSize)));
        if (!done) {
            res = target.Code();
            return;
        }
        count -= n;
    }
}

}  // namespace vfile
