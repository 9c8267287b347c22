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

// A failure leaves the cursor as if each block had been a write of its own: behind the one that failed.
void VFile::GiveTo(HostEnd& target, std::int32_t count) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__);
    if (res != ResDone) return;
    if (count < 0 || !target.IsOpen()) {
        res = ResCallError;
        return;
    }
    count = std::min(count, length - pos);
    StepBuffer step(count);
    while (count > 0) {
        std::int32_t const start = pos;
        std::int32_t const n = ReadBytes(step.Data(), std::min(count, step.Size()));
        std::int32_t put = 0;
        if (!target.Write(step.Data(), n, put)) {
            SetPos(start + std::min(n, (put / BlkSize + 1) * BlkSize));
            res = target.Code();
            return;
        }
        count -= n;
    }
}

}  // namespace vfile
