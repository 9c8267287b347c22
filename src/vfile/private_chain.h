// The new blocks of a running change, beside the file until they are spliced in. Whatever ends the change
// before that, a throwing hook included, gives them back to the pool with their pages.
#pragma once

#include "vfile/engine.h"

namespace vfile {

class PrivateChain {
public:
    explicit PrivateChain(Engine& target) : engine(target) {}
    ~PrivateChain() {
        if (head) engine.DisposeBlkPtrList(head, tail);
    }
    PrivateChain(PrivateChain const&) = delete;
    PrivateChain& operator=(PrivateChain const&) = delete;

    // Appends full blocks and one of the rest. False when there is no record or no page for one: what was
    // appended before stays, to be given back.
    bool Append(void const* bytes, std::int32_t len);

    // Whether the last block can take `len` bytes more; never when there is none.
    bool HasRoomFor(std::int32_t len) const { return tail && len <= BlkSize - tail->len; }

    // Puts bytes into the room of the last block, from memory or from `offset` of a block of the file on.
    void Fill(void const* bytes, std::int32_t len);
    void Absorb(BlkDesc const& block, std::int32_t offset);

    BlkDesc* Head() const { return head; }
    BlkDesc* Tail() const { return tail; }

    // The file owns the blocks now.
    void Release() { head = tail = nullptr; }

private:
    Engine& engine;
    BlkDesc* head = nullptr;
    BlkDesc* tail = nullptr;
};

}  // namespace vfile
