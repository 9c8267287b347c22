// Lets chosen calls of the library into the system fail or fall short, from inside the test program: the
// linker's --wrap leads the calls through faults.cpp. Nothing is touched while no Faults lives.
#pragma once

#include "support/test.h"

namespace vfile::test {

enum class Call {
    kNone,
    kOpen,
    kClose,
    kStat,
    kLock,
    kTruncate,
    kSeek,
    kAdvise,
    kRead,
    kWrite,
    kReadAt,
    kWriteAt,
    kCopyRange,
    kFlush,
    kName,          // stat, lstat, statx, access, readlink, readlinkat, unlink, symlink, mkdir
    kRename,        // renameat2
    kLink,          // rename
    kGiveName,      // linkat
    kAskAttribute,  // access list and others are asked for
    kAttribute,     // those, owner, mode and times are set
    kDirectory,
    kAllocate,  // malloc and the forms of new that give null
    kNew        // the new that throws
};

struct Fault {
    enum Kind {
        kFail,         // the nth call fails with `error`
        kFailOnward,   // that one and all calls of its name behind it
        kCut,          // the nth transfer moves only `cut` bytes, 0: all but one
        kCutThenFail,  // the nth transfer moves only `cut` bytes, all behind it fail with `error`
        kCutAll,       // every transfer moves at most `cut` bytes, 0: unlimited
        kMeanwhile,    // nothing fails; before the nth call `meanwhile` is run
    };
    Kind kind = kFail;
    int nth = 1;
    int error = 0;
    std::size_t cut = 0;
    Call only = Call::kNone;  // hit the calls of this name alone; memory is counted only when named
    std::function<void()> meanwhile = {};
};

// In force while it lives; one at a time.
class Faults {
public:
    explicit Faults(Fault const& fault);
    ~Faults();
    Faults(Faults const&) = delete;
    Faults& operator=(Faults const&) = delete;

    // The call that was hit first, kNone so far.
    Call Hit() const;

    // The calls that could have been hit so far; of a fault that fails one, up to that one.
    int Seen() const;
};

std::size_t OpenDescriptors();

}  // namespace vfile::test
