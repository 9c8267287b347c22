// Names as seen from the root.
#pragma once

#include <vfile/types.h>

namespace vfile {

// Puts the absolute form of `name` into `dst`, folded by its text alone. False, and `dst` holding anything that ends
// within `size`: it does not fit, or there is no current directory.
bool MakeFullName(TChar* dst, std::uint32_t size, TChar const* name);

}  // namespace vfile
