// The file that a safe save writes to, so that at every moment, also after a kill or a power cut, the name means the old
// file or the new one; or, in place, the name or the copy beside it does.
//
//   plain      a device or a pipe has nothing to keep
//   fresh      the bytes go to a new file in the target's directory, which gets what the old one has besides its bytes,
//              is flushed, and takes its name
//   in place   a new file could not be what the old one is: that has more names, or an owner or an access list that
//              cannot be given. Its old bytes are put beside it first, flushed, under NAME.~safe~N. They go when the new
//              ones are flushed, and are put back when those fail
//
// The old file is held alone meanwhile. Links to it are followed, not replaced. What is not committed is taken back. A
// failed flush is final: what the device has nobody knows, so that the copy of the old bytes stays where there is one.
#pragma once

#include <vfile/host_file.h>

#include <optional>

#include "hostfile/open_handle.h"

namespace vfile {

class SafeTarget {
public:
    // Whether it is open Code() tells.
    explicit SafeTarget(TChar const* name);
    ~SafeTarget();
    SafeTarget(SafeTarget const&) = delete;
    SafeTarget& operator=(SafeTarget const&) = delete;

    FileRes Code() const { return code; }

    // What takes the new bytes, from its start on; its own `res` is looked at by Commit.
    HFile& File() { return *file; }

    // Makes the new bytes those of the name. ResDone, or the reason why the name may still mean the old ones.
    FileRes Commit();

private:
    static constexpr std::uint32_t kPathUnits = 4096;

    enum class Way { kPlain, kFresh, kInPlace };

    bool Open(TChar const* given);
    bool OpenOld(TChar const* given);
    bool OpenFresh(bool ownerOnly);
    bool OpenInPlace();
    template <class TryName>
    bool TakeNameBeside(TryName tryName);
    bool MakeNamed(OpenHandle& made, bool ownerOnly);
    bool Finish();
    bool FinishFresh();
    bool TakePlace();
    bool FinishInPlace();
    void TakeBack();
    bool PutBack();

    Way way = Way::kPlain;
    FileRes code = ResDone;
    bool committed = false;
    std::optional<HFile> file;
    platform::Handle handle = InvalidHandle();  // the file's
    OpenHandle old;                             // the target, which a fresh file is to replace
    OpenHandle copy;                            // of the old bytes, for a save in place
    TChar target[kPathUnits] = {};              // behind all links
    TChar beside[kPathUnits] = {};  // name of the fresh file or of the copy; empty while it has none
};

}  // namespace vfile
