// What a search for a position finds around it.
#pragma once

#include <cstddef>

#include "vfile/block.h"

namespace vfile {

// Two blocks with known starts, between which a position lies.
struct Neighbours {
    BlkRdr below;
    BlkRdr above;
    BlkDesc const* end;  // the mark above, null where the chain ends first
    std::size_t marksBelow;

    BlkRdr Nearest(std::int32_t position) const {
        return position - below.start <= above.start - position ? below : above;
    }
};

}  // namespace vfile
