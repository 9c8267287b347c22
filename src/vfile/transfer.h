// What comes in from a file of the host, whatever makes it of its bytes.
#pragma once

#include <vfile/types.h>

namespace vfile {

class Inflow;
class VFile;

// ReplaceFile of any source; `operation` is named in the stop of a hook that breaks its contract.
void TakeFrom(VFile& file, Inflow& source, TChar const* operation, std::int32_t start, std::int32_t delLen,
              std::int32_t count);

}  // namespace vfile
