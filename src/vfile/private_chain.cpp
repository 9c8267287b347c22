#include "vfile/private_chain.h"

#include <algorithm>

namespace vfile {

bool PrivateChain::Append(void const* bytes, std::int32_t len) {
    auto const* from = static_cast<unsigned char const*>(bytes);
    while (len > 0) {
        auto const n = static_cast<std::int16_t>(std::min(len, BlkSize));
        BlkDesc* const block = engine.NewBlkPtr(tail, nullptr, n);
        if (!block) return false;
        (tail ? tail->next : head) = block;
        tail = block;
        engine.mem->Set(block->addr, from, n);
        from += n;
        len -= n;
    }
    return true;
}

void PrivateChain::Fill(void const* bytes, std::int32_t len) {
    engine.mem->Set(tail->addr + tail->len, bytes, static_cast<std::int16_t>(len));
    tail->len = static_cast<std::int16_t>(tail->len + len);
}

void PrivateChain::Absorb(BlkDesc const& block, std::int32_t offset) {
    auto const len = static_cast<std::int16_t>(block.len - offset);
    engine.mem->CopyBytes(tail->addr + tail->len, block.addr + offset, len);
    tail->len = static_cast<std::int16_t>(tail->len + len);
}

}  // namespace vfile
