// UTF-8 and UTF-16 into each other, a piece of a text at a time.
//
//   Pieces   a conversion goes as far as the source and the room reach. Unless `last`, it stops before a sequence
//            that goes on behind the end of the source: what it did not take begins the next piece.
//   Room     for one character at least; it is never filled by a part of one.
//   Errors   none: each ill-formed part becomes one U+FFFD, or on the way out `substitute`.
#pragma once

#include <cstddef>

#include "platform/platform.h"
#include "unicode/utf.h"

namespace vfile {

using platform::Converted;

Converted UnitsOfUtf8(char const* src, std::size_t len, bool last, char16_t* dst, std::size_t room);

Converted Utf8OfUnits(char16_t const* src, std::size_t len, bool last, char* dst, std::size_t room,
                      char32_t substitute = unicode::kReplacement);

}  // namespace vfile
