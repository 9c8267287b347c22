// What a search for a position finds around it.
#pragma once

#include <vfile/virtual_file.h>

#include <cstddef>

namespace vfile {

// Two blocks with known starts, between which a position lies.
struct VFile::Neighbours {
    BlkRdr below;
    BlkRdr above;
    BlkDesc const* end;  // the mark above, null where the chain ends first
    std::size_t marksBelow;

    BlkRdr Nearest(std::int32_t position) const {
        return position - below.start <= above.start - position ? below : above;
    }
};

}  // namespace vfile
