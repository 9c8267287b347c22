#include <vfile/halt.h>
#include <vfile/result.h>

#include "vfile/engine.h"

namespace vfile {

namespace {
constexpr std::int32_t kToggleMask = 0x1ff;  // Locked and EolSeen lie outside
}

// Each bit is told of on its own, the lowest first.
void VFile::ToggleFlag(std::int32_t mask) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__);
    if (res != ResDone) return;
    if (FlagOn(Locked)) {
        res = ResContextError;
        return;
    }
    mask &= kToggleMask;
    for (std::int32_t bit = 1; bit <= mask; bit <<= 1) {
        if (!(mask & bit)) continue;
        flags ^= bit;
        PostChangeFlag(bit, FlagOn(bit));
    }
}

void VFile::SetFlags(std::int32_t value) { ToggleFlag(value ^ flags); }
void VFile::InclFlag(std::int32_t mask) { ToggleFlag(mask & ~flags); }
void VFile::ExclFlag(std::int32_t mask) { ToggleFlag(mask & flags); }
void VFile::SetFlag(std::int32_t mask, bool on) { on ? InclFlag(mask) : ExclFlag(mask); }

void VFile::PostChangeFlag(std::int32_t, bool) {}

}  // namespace vfile
