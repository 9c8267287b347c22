// The one search for the block that holds a position.
#pragma once

#include <vfile/virtual_file.h>

namespace vfile {

// Puts `rd`, which comes in at any valid place of the chain, on `position`, 0 to `length`. The walk starts
// from the nearest of head, tail and `rd`, so that a local or sequential move takes no step or one, however
// long the chain.
//
// A position on the border of two blocks gives the later one; with `preferPrev` the end of the earlier one if
// that has room, so that an insertion there fills it and splits nothing.
void SeekBlk(BlkRdr& rd, BlkDesc* first, BlkDesc* last, std::int32_t length, std::int32_t position,
             bool preferPrev);

}  // namespace vfile
