// What a safe save calls the files that it has beside its target NAME, so that whoever finds one after a kill or a power
// cut knows what it holds:
//
//   NAME.~part~N   in the making: a part of the new bytes, or of the old ones. NAME is whole; this can go.
//   NAME.~new~N    all of the new bytes, on the disk, about to take the name. NAME is whole, and older.
//   NAME.~old~N    all of the old bytes, on the disk, while NAME is written in place. NAME may be torn; this is whole.
//
// One save has one N for all of them. A NAME too long for that is cut.
#pragma once

#include <vfile/types.h>

#include <cstddef>
#include <cstdint>

#include "platform/platform.h"

namespace vfile {

class NamesBeside {
public:
    enum Meaning { kPart, kNew, kOld };
    static constexpr std::uint32_t kUnits = 4096;

    // Of a target's name, which must outlive it.
    explicit NamesBeside(TChar const* path) : target(path) {}

    // Takes the first number that no name has, by `tryName`, which is to make the file of the first meaning. False: there
    // was none, for the reason that is stored.
    template <class TryName>
    bool Take(TryName tryName) {
        most = kUnits;
        for (number = 1; number <= kMostNumbers; ++number) {
            if (IsFree() && tryName(Get(kPart))) return true;
            if (!MayGoOn()) break;
        }
        number = 0;
        return false;
    }
    void Forget() { number = 0; }
    bool AreTaken() const { return number != 0; }

    // The name of this meaning, until the next is asked for; empty where the number is not taken.
    TChar const* Get(Meaning meaning) { return Put(meaning, name) ? name : u""; }

    // The same in a buffer of kUnits. False: no room.
    bool Put(Meaning meaning, TChar* dst) const;

private:
    static constexpr int kMostNumbers = 10000;  // leftovers of kills that are passed over

    bool IsFree();
    bool MayGoOn();

    TChar const* target;
    std::size_t most = kUnits;  // units of the target's own name that are kept
    int number = 0;             // 0: none is taken
    TChar name[kUnits] = {};
};

}  // namespace vfile
