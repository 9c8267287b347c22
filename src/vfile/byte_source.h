// Where the bytes of a change or a comparison come from, piece by piece.
#pragma once

#include <algorithm>

#include "vfile/engine.h"
#include "vfile/private_chain.h"

namespace vfile {

using BlockRoom = unsigned char[BlkSize];

// Bytes of the caller's. They are used where they lie.
struct BytesAt {
    unsigned char const* next;

    void const* Take(std::int32_t len, unsigned char*) {
        void const* const taken = next;
        next += len;
        return taken;
    }
    bool TakeRest(std::int32_t len, PrivateChain& chain) { return chain.Append(next, len); }
};

// Bytes of a virtual file, which may be the one that is being changed: they are read through its const
// readers, all before the first byte of the file moves.
struct BytesOf {
    Engine const& src;
    BlkRdr rd;

    BytesOf(Engine const& source, std::int32_t start) : src(source) { src.SetPosC(rd, start); }

    void const* Take(std::int32_t len, unsigned char* room) {
        src.ReadBytesC(rd, room, len);
        return room;
    }
    bool TakeRest(std::int32_t len, PrivateChain& chain) {
        BlockRoom room;
        while (len > 0) {
            std::int32_t const n = std::min(len, BlkSize);
            if (!chain.Append(Take(n, room), n)) return false;
            len -= n;
        }
        return true;
    }
};

}  // namespace vfile
