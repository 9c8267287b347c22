// Moves and Swap: engines change their files, and no byte moves.
//
//   before     file   ==> engine A             source ==> engine B
//   after      file   ==> engine B             source ==> the one of unborn files
#include <vfile/halt.h>
#include <vfile/result.h>

#include <exception>
#include <utility>

#include "vfile/engine.h"
#include "vfile/take_over.h"

namespace vfile {

namespace {

// Nothing writes to these.
constexpr BlkDesc kNoBlock{nullptr, nullptr, kNoAddr, 0};
constexpr Engine EngineOfUnborn() {
    Engine e;
    e.first = e.last = e.cur.ptr = const_cast<BlkDesc*>(&kNoBlock);
    return e;
}
constinit Engine const kUnborn = EngineOfUnborn();

internal::FileState* UnbornState() { return const_cast<Engine*>(&kUnborn); }

// What was said of an engine's blocks was said of its file.
void Give(VFile& file, internal::FileState* state) {
    internal::Access::StateOf(file) = state;
    Engine& e = EngineOf(file);
    if (e.IsUnborn()) return;
    e.file = &file;
    e.givesTo = nullptr;
}

// False, after a stop: a hook that must leave the file alone does not.
bool MayLeave(VFile const& file, TChar const* operation) {
    if (!EngineOf(file).asked) return true;
    Halt(kModule, operation, u"file changed in PreChange");
    return false;
}

}  // namespace

VFile::VFile(VFile&& other) noexcept : vfileState(UnbornState()) {
    if (!EngineOf(other).BelongsHere()) {
        HaltA(kModule, __LINE__);
        std::terminate();
    }
    if (!MayLeave(other, u"VFile")) return;
    Give(*this, std::exchange(other.vfileState, vfileState));
    res = std::exchange(other.res, ResDone);
    eof = std::exchange(other.eof, false);
    radix = other.radix;
    flags = other.flags;
    type = other.type;
}

void VFile::Swap(VFile& other) {
    if (!CheckSameOwner(*this, other, __LINE__)) return;
    if (!MayLeave(*this, u"Swap") || !MayLeave(other, u"Swap")) return;
    std::swap(res, other.res);
    std::swap(eof, other.eof);
    std::swap(radix, other.radix);
    std::swap(flags, other.flags);
    std::swap(type, other.type);
    internal::FileState* const mine = vfileState;
    Give(*this, other.vfileState);
    Give(other, mine);
}

// A change like any other up to the road it takes, which is that of a copy: overrides see it, and make of it what they
// like. Only where it comes to TakeOver is the source emptied.
// NOLINTNEXTLINE(performance-noexcept-move-constructor): see the header.
VFile& VFile::operator=(VFile&& other) {
    if (this == &other) return *this;
    Giving const giving(other, *this);
    return *this = std::as_const(other);
}

// An unborn source is born, so that it becomes unborn again like any other.
Giving::Giving(VFile& from, VFile const& to) : source(from), target(to) {
    Engine* const e = OwnEngine(from);
    if (!e || e->asked || e->givesTo) return;
    e->givesTo = &to;
    e->givesToUnborn = EngineOf(to).IsUnborn();
}

Giving::~Giving() {
    Engine& e = EngineOf(source);
    if (e.givesTo == &target) e.givesTo = nullptr;
}

// Needs no memory: a file whose bytes are elsewhere for a moment, as in a sort, can always take them back. The hook is
// told of a copy.
void TakeOver(VFile& file, VFile& source) {
    Engine& old = EngineOf(file);
    Engine& from = EngineOf(source);
    Change const change{u"ReplaceTxt", 0, old.length, from.length};
    bool const isChange = change.delLen > 0 || change.insLen > 0;
    file.SetPos(0);
    old.LoadBlock();  // looked after while the hook runs; without memory for it there is nothing to look after
    if (isChange) {
        Asking const asking(from);
        std::uint32_t const changes = from.changes;
        if (!old.Ask(change)) return;
        if (from.changes != changes) {
            Halt(kModule, change.operation, u"source changed in PreChange");
            file.res = ResContextError;
            return;
        }
    }
    from.MoveTo({from.first, 0, 0});  // the memory may stop
    Give(file, &from);
    Give(source, UnbornState());
    source.res = ResDone;
    source.eof = false;
    EndEngine(old);
    if (isChange) Publish(file, change);
}

}  // namespace vfile
