// A replacement on its way through the stages that all changes share:
//
//   check      thread, stored result, arguments, Locked, ReadOnly    nothing moved
//   clip       to the file; the length limit                         nothing moved
//   position   the cursor at the start, its block in the buffer      bytes untouched
//   make room  the block before may take some of that block's        no byte's position changes
//   prepare    the private chain, where the block path is taken      bytes untouched
//   ask        PreChange                                             bytes untouched
//   apply      moves in the buffer, or a relinking                   fails before the first touch, or not
//   publish    PostChange, then the cursor behind the new bytes
//
// Everything that can fail, stops of the memory included, comes before the first touch of the file.
#pragma once

#include <vfile/result.h>
#include <vfile/types.h>

#include "vfile/engine.h"

namespace vfile {

struct Change {
    TChar const* operation;  // named in the stop of a hook that breaks its contract
    std::int32_t start;
    std::int32_t delLen;
    std::int32_t insLen;
};

// The blocks behind the current one that a change takes out of the file; none when both are null.
struct Cut {
    BlkDesc* head = nullptr;
    BlkDesc* tail = nullptr;
    std::int32_t bytes = 0;  // they had, and one that was cut into behind them

    void Take(BlkDesc* next) {
        bytes += next->len;
        if (!head) head = next;
        tail = next;
    }
};

// Keeps an engine where it is while a hook runs that must leave it alone.
class Asking {
public:
    explicit Asking(Engine& e) : engine(e), before(e.asked) { engine.asked = true; }
    ~Asking() { engine.asked = before; }
    Asking(Asking const&) = delete;
    Asking& operator=(Asking const&) = delete;

private:
    Engine& engine;
    bool before;
};

// The last stage.
void Publish(VFile& file, Change const& change);

}  // namespace vfile
