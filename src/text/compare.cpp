// Comparison of texts, by units.
#include <vfile/char_file.h>

#include <algorithm>

#include "text/units.h"
#include "vfile/byte_source.h"

namespace vfile {

namespace {
VFile const& BaseOf(TCharVFile const& text) { return internal::Access::As<VFile const>(text); }
}  // namespace

// A block holds whole units, so that the two bytes of one always come together.
std::strong_ordering operator<=>(TCharVFile const& left, TCharVFile const& right) {
    if (!CheckSameOwner(BaseOf(left), BaseOf(right), __LINE__)) return std::strong_ordering::less;
    std::int32_t const leftLen = left.Length();
    std::int32_t const rightLen = right.Length();
    BytesOf a(EngineOf(BaseOf(left)), 0);
    BytesOf b(EngineOf(BaseOf(right)), 0);
    BlockRoom roomA;
    BlockRoom roomB;
    for (std::int32_t rest = std::min(leftLen, rightLen) & ~1; rest > 0; rest -= BlkSize) {
        std::int32_t const n = std::min(rest, BlkSize);
        a.Take(n, roomA);
        b.Take(n, roomB);
        auto const differ = std::mismatch(roomA, roomA + n, roomB).first - roomA;
        if (differ < n) return UnitAt(roomA + (differ & ~1)) <=> UnitAt(roomB + (differ & ~1));
    }
    if (leftLen != rightLen || leftLen % 2 == 0) return leftLen <=> rightLen;
    a.Take(1, roomA);
    b.Take(1, roomB);
    return roomA[0] <=> roomB[0];
}

bool operator==(TCharVFile const& a, TCharVFile const& b) { return BaseOf(a) == BaseOf(b); }

}  // namespace vfile
