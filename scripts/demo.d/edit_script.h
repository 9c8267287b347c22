/// The edits of the demo as a file that both sides read: what is to be done, and nothing of how.
///
///   + POS LEN BYTES    LEN bytes go in at POS; they follow one space, and a line feed follows them
///   - POS LEN          LEN bytes from POS go
///   = FROM LEN TO      LEN bytes from FROM are copied to TO; only as the last line
///
/// Positions count from 0, each in the text as the edits before have left it.
#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

namespace demo {

struct Edit {
    char kind = 0;
    std::int64_t at = 0;
    std::int64_t len = 0;
    std::string bytes;    // of an insertion
    std::int64_t to = 0;  // of a copy
};

inline void WriteEdit(std::ostream& out, Edit const& edit) {
    out << edit.kind << ' ' << edit.at << ' ' << edit.len;
    if (edit.kind == '+') out << ' ' << edit.bytes;
    if (edit.kind == '=') out << ' ' << edit.to;
    out << '\n';
}

/// False at the end of the script, and at a line that is none of the three, which leaves `in` failed but not
/// at its end.
inline bool ReadEdit(std::istream& in, Edit& edit) {
    if (!(in >> edit.kind >> edit.at >> edit.len)) return false;
    edit.bytes.resize(edit.kind == '+' ? static_cast<std::size_t>(edit.len) : 0);
    if (edit.kind == '+') in.ignore(1).read(edit.bytes.data(), edit.len);
    if (edit.kind == '=') in >> edit.to;
    return !in.fail();
}

}  // namespace demo
