// The library's way to what its public classes keep for themselves, and to what they show to derived ones alone.
#pragma once

#include <cstdint>

namespace vfile::internal {

struct Access {
    template <class Face>
    static auto& StateOf(Face& face) {
        return face.vfileState;
    }

    // A private base.
    template <class Base, class Face>
    static Base& As(Face& face) {
        return face;
    }

    template <class Face>
    static auto& FlagsOf(Face& face) {
        return face.flags;
    }
    template <class Face>
    static auto& TypeOf(Face& face) {
        return face.type;
    }
    template <class Face>
    static std::int32_t PreChange(Face& face, std::int32_t start, std::int32_t delLen, std::int32_t insLen) {
        return face.PreChange(start, delLen, insLen);
    }
    template <class Face>
    static void PostChange(Face& face, std::int32_t start, std::int32_t delLen, std::int32_t insLen) {
        face.PostChange(start, delLen, insLen);
    }
};

}  // namespace vfile::internal
