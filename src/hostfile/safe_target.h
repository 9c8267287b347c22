// The file that a safe save writes to, so that at every moment, also after a kill or a power cut, the name means the old
// file or the new one; or, in place, the name or the copy beside it does.
//
//   plain      a device or a pipe has nothing to keep
//   fresh      the bytes go to a new file in the target's directory, its owner's alone, which at the end gets what the
//              old one has besides its bytes, is flushed, and takes its name
//   added      where names can only be added, a new file has none until all bytes are written, and then the target's
//   in place   a new file could not be what the old one is: that has more names, or an owner or an access list that
//              cannot be given. Its old bytes are put beside it first and flushed. They go when the new ones are
//              flushed, and are put back when those fail
//
// names_beside.h tells what is found beside the target meanwhile. The old file is held alone. Links to it are followed,
// not replaced. What is not committed is taken back. A failed flush is final: what the device has nobody knows, so that
// the copy of the old bytes stays where there is one.
#pragma once

#include <vfile/host_file.h>

#include <optional>

#include "hostfile/names_beside.h"
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
    enum class Way { kPlain, kFresh, kAdded, kInPlace };

    bool Open(TChar const* given);
    bool OpenPlain(TChar const* given);
    bool OpenNew();
    bool OpenAdded();
    bool OpenOld(TChar const* given);
    bool HoldOld();
    bool OpenInPlace();
    bool KeepCopy();
    bool MakeNamed(OpenHandle& made, bool ownerOnly);
    bool MakeFresh(OpenHandle& made);
    bool Prepare(platform::Handle fresh);
    void Adopt(OpenHandle& opened);
    void Discard(platform::Handle beside);
    bool Finish();
    bool FinishFresh();
    bool MoveToNamed();
    bool FinishAdded();
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
    std::uint32_t rights = 0;                   // of a fresh file that replaces none
    TChar target[NamesBeside::kUnits] = {};     // behind all links
    NamesBeside names{target};                  // taken while the fresh file, or the copy, has one
};

}  // namespace vfile
