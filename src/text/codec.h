// The encodings of a text file: their marks, and the conversions between its bytes and the units of a text, one
// object for one text in one direction. UTF-16 with the low byte first is what a text is, and needs none. Pieces
// as in "text/utf8_pieces.h".
#pragma once

#include <vfile/char_file.h>

#include <cstddef>
#include <memory>
#include <string_view>

#include "platform/platform.h"

namespace vfile {

using platform::Converted;

inline constexpr std::size_t kLongestMark = 3;

// No sequence of bytes for a character is longer, in any encoding.
inline constexpr std::size_t kLongestSequence = 16;

// The byte-order mark of an encoding, empty for EncodingAnsi.
std::string_view MarkOf(TCharVFile::Encoding encoding);

// What the first bytes of a file, kLongestMark of them if it has as many, say of its encoding.
TCharVFile::Encoding EncodingByMark(std::string_view bytes);

// Any other value counts as EncodingAnsi.
TCharVFile::Encoding Known(TCharVFile::Encoding encoding);

// In UTF-16 a zero unit is a character like any other. Elsewhere a zero byte ends the text.
inline bool EndsAtZero(TCharVFile::Encoding encoding) {
    return encoding == TCharVFile::EncodingAnsi || encoding == TCharVFile::EncodingUtf8;
}

class Decoder {
public:
    explicit Decoder(TCharVFile::Encoding from) : encoding(from) {}

    // To be called once, before all else. ResNotSupported: the system cannot convert the locale's character set.
    FileRes Open();

    // A lone byte at the very end of UTF-16 is taken, and nothing made of it.
    Converted Decode(char const* src, std::size_t len, bool last, TChar* dst, std::size_t room);

private:
    TCharVFile::Encoding encoding;
    platform::AnsiCharset charset;
};

class Encoder {
public:
    explicit Encoder(TCharVFile::Encoding to) : encoding(to) {}

    FileRes Open();

    Converted Encode(TChar const* src, std::size_t len, bool last, char* dst, std::size_t room);

private:
    TCharVFile::Encoding encoding;
    platform::AnsiCharset charset;
    std::unique_ptr<char[]> bytes;  // of every unit, where the charset is a table
};

}  // namespace vfile
