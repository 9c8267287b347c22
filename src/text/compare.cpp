// Comparison of texts, by units.
#include <vfile/char_file.h>

#include <algorithm>
#include <cstring>

#include "text/units.h"
#include "vfile/byte_source.h"

namespace vfile {

// A block holds whole units, so that the two bytes of one always come together.
std::strong_ordering TCharVFile::Order(TCharVFile const& other) const {
    if (!CheckSameOwner(other, __LINE__)) return std::strong_ordering::less;
    BytesOf a(*this, 0);
    BytesOf b(other, 0);
    BlockRoom roomA;
    BlockRoom roomB;
    for (std::int32_t left = std::min(Length(), other.Length()) & ~1; left > 0; left -= BlkSize) {
        std::int32_t const n = std::min(left, BlkSize);
        a.Take(n, roomA);
        b.Take(n, roomB);
        auto const differ = std::mismatch(roomA, roomA + n, roomB).first - roomA;
        if (differ < n) return UnitAt(roomA + (differ & ~1)) <=> UnitAt(roomB + (differ & ~1));
    }
    if (Length() != other.Length() || Length() % 2 == 0) return Length() <=> other.Length();
    a.Take(1, roomA);
    b.Take(1, roomB);
    return roomA[0] <=> roomB[0];
}

bool operator==(TCharVFile const& a, TCharVFile const& b) {
    return static_cast<VFile const&>(a) == static_cast<VFile const&>(b);
}

std::strong_ordering operator<=>(TCharVFile const& a, TCharVFile const& b) { return a.Order(b); }

}  // namespace vfile
