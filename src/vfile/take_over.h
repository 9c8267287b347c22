// Assignment by relinking: all of a file that is to be empty afterwards, for all of another. See "vfile/moves.cpp".
#pragma once

#include "vfile/change.h"

namespace vfile {

// Marks a file, while the guard lives, as one whose blocks may go to `to` instead of copies of its bytes; not where
// something else is going on with it.
class Giving {
public:
    Giving(VFile& from, VFile const& to);
    ~Giving();
    Giving(Giving const&) = delete;
    Giving& operator=(Giving const&) = delete;

private:
    VFile& source;
    VFile const& target;
};

// Whether a change, whose source range is clipped, puts all of one file in the place of all of the other.
inline bool IsWhole(Change const& change, Engine const& to, Engine const& from) {
    return (change.start == 0 || to.length == 0) && change.delLen >= to.length &&
           change.insLen == from.length;
}

// The change itself, behind the checks.
void TakeOver(VFile& file, VFile& source);

}  // namespace vfile
