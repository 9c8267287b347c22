// Comparison of contents. Reads by places of its own, which see what still stands in the buffer only.
#include <vfile/halt.h>

#include <algorithm>
#include <cstring>

#include "vfile/byte_source.h"

namespace vfile {

namespace {

// The order of the next `len` bytes of two sources.
template <class A, class B>
std::strong_ordering Order(A a, B b, std::int32_t len) {
    BlockRoom roomA;
    BlockRoom roomB;
    while (len > 0) {
        std::int32_t const n = std::min(len, BlkSize);
        int const order = std::memcmp(a.Take(n, roomA), b.Take(n, roomB), static_cast<std::size_t>(n));
        if (order != 0) return order <=> 0;
        len -= n;
    }
    return std::strong_ordering::equal;
}

}  // namespace

bool operator==(VFile const& a, VFile const& b) {
    if (!CheckSameOwner(a, b, __LINE__)) return false;
    return a.Length() == b.Length() && (a <=> b) == 0;
}

bool operator==(VFile const& a, char const* s) {
    if (!CheckSameOwner(a, a, __LINE__)) return false;
    return std::strlen(s) == static_cast<std::size_t>(a.Length()) && (a <=> s) == 0;
}

std::strong_ordering operator<=>(VFile const& a, VFile const& b) {
    if (!CheckSameOwner(a, b, __LINE__)) return std::strong_ordering::less;
    auto const order =
        Order(BytesOf(EngineOf(a), 0), BytesOf(EngineOf(b), 0), std::min(a.Length(), b.Length()));
    return order != 0 ? order : a.Length() <=> b.Length();
}

std::strong_ordering operator<=>(VFile const& a, char const* s) {
    if (!CheckSameOwner(a, a, __LINE__)) return std::strong_ordering::less;
    std::size_t const len = std::strlen(s);
    auto const common = static_cast<std::int32_t>(std::min(len, static_cast<std::size_t>(a.Length())));
    auto const order =
        Order(BytesOf(EngineOf(a), 0), BytesAt{reinterpret_cast<unsigned char const*>(s)}, common);
    return order != 0 ? order : static_cast<std::size_t>(a.Length()) <=> len;
}

}  // namespace vfile
