// What the operations of an HFile share.
#pragma once

#include <vfile/host_file.h>

#include "frame/access.h"
#include "platform/platform.h"

namespace vfile {

inline platform::Handle& HandleOf(HFile& file) { return internal::Access::StateOf(file).handle; }
inline platform::Handle HandleOf(HFile const& file) { return internal::Access::StateOf(file).handle; }

// Opens `file`, which must be closed, and puts the outcome into its `res`.
bool OpenAs(HFile& file, TChar const* name, platform::OpenMode const& mode);

// Puts an open file at `pos`, wherever its end is, and the outcome into its `res`.
void GoTo(HFile& file, std::int64_t pos);

}  // namespace vfile
