/// File names in bytes and in UTF-16 units.
///
/// A name is UTF-8 in the host's file system and UTF-16 in this library. A byte that is no UTF-8 travels as a
/// lone surrogate U+DC80 to U+DCFF and comes back as it was, so that every name a directory can hold can be
/// opened; `std::filesystem::path::u16string()` throws for such a name.
#pragma once

#include <vfile/export.h>
#include <vfile/types.h>

#include <string>
#include <string_view>

namespace vfile {

/// The units of a name in bytes. Never fails but for want of memory (`std::bad_alloc`).
VFILE_EXPORT TString NameFromBytes(std::string_view bytes);

/// The bytes of a name in units: NameFromBytes undone. A lone surrogate outside U+DC80 to U+DCFF, which no
/// name can hold, gives the empty string, and so do null and the empty name. Throws `std::bad_alloc` for want
/// of memory.
VFILE_EXPORT std::string BytesFromName(TChar const* name);

}  // namespace vfile
