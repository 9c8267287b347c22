// Whole host files by name.
#include <vfile/halt.h>
#include <vfile/result.h>

#include "hostfile/open_handle.h"
#include "hostfile/safe_target.h"
#include "vfile/engine.h"

namespace vfile {

void VFile::ReadFile(TChar const* name, std::uint32_t shareMode) {
    Engine* const e = OwnEngine(*this);
    if (!e) return HaltA(kModule, __LINE__);
    if (res != ResDone || !e->MayChange(true)) return;
    using namespace platform;
    OpenHandle const source(name, {Access::kRead, shareMode, Disposition::kOpenExisting, Hint::kSequential});
    if (!source.IsOpen()) {
        res = GetFileRes();
        return;
    }
    WriteFromFile(source.Get(), MaxLen);
}

// A target that a failed write left incomplete stays.
void VFile::WriteFile(TChar const* name, bool overwrite) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__);
    if (res != ResDone) return;
    using namespace platform;
    Disposition const disposition = overwrite ? Disposition::kCreateAlways : Disposition::kCreateNew;
    OpenHandle const target(name, {Access::kWrite, kShareNone, disposition, Hint::kSequential});
    if (!target.IsOpen()) {
        res = GetFileRes();
        return;
    }
    SetPos(0);
    WriteToFile(target.Get(), MaxLen);
}

void VFile::Load(TChar const* name, std::uint32_t shareMode) {
    SetPos(0);
    ReplaceBuf(0, MaxLen, nullptr, 0);
    ReadFile(name, shareMode);
    if (res == ResDone) SetPos(0);
}

void VFile::Save(TChar const* name, bool overwrite) {
    SetPos(0);
    WriteFile(name, overwrite);
}

void VFile::SaveSafe(TChar const* name) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__);
    SetPos(0);
    SafeTarget target(name);
    res = target.Code();
    if (res != ResDone) return;
    WriteToFile(target.File(), MaxLen);
    if (res == ResDone) res = target.Commit();
}

}  // namespace vfile
