// The library's way to what its public classes keep for themselves.
#pragma once

namespace vfile::internal {

struct Access {
    template <class Face>
    static auto& StateOf(Face& face) {
        return face.vfileState;
    }
};

}  // namespace vfile::internal
