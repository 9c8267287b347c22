// The birth and the end of a file, and of the memory and the pool that all files of a thread share.
#include <vfile/halt.h>
#include <vfile/result.h>
#include <vfile/vmem.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "vfile/blk_index.h"
#include "vfile/blk_pool.h"
#include "vfile/engine.h"
#include "vfile/thread_slots.h"

namespace vfile {

namespace {

// A file without memory or pool cannot come into being: should the halt procedure return, there is no way on.
void Require(bool condition, std::int32_t line) {
    if (condition) return;
    HaltA(kModule, line);
    std::abort();
}

void StopForMemory() {
    Halt(kModule, u"Init", u"first==NIL, heap overflow");
    std::abort();
}

void MakeThreadMemory() {
    Require(!TLS_GetVMem(), __LINE__);
    Require(!TLS_GetBlkPool(), __LINE__);
    std::unique_ptr<VMem> memory(new (std::nothrow) VMem);
    Require(memory != nullptr, __LINE__);
    memory->SetTempDir(TLS_GetTempDir());
    memory->SetMaxCacheSize(TLS_GetMaxCacheSize());
    std::unique_ptr<BlkPool> blocks(new (std::nothrow) BlkPool(memory.get()));
    Require(blocks != nullptr, __LINE__);

    TLS_SetVMem(memory.get());
    TLS_SetBlkPool(blocks.get());
    // A thread without state keeps nothing.
    Require(TLS_GetVMem() == memory.get(), __LINE__);
    Require(TLS_GetBlkPool() == blocks.get(), __LINE__);
    static_cast<void>(memory.release());
    static_cast<void>(blocks.release());
}

// The settings outlive the memory, in the slots, for the thread's next first file.
void EndThreadMemory() {
    BlkPool* const blocks = TLS_GetBlkPool();
    VMem* const memory = TLS_GetVMem();
    if (!blocks || !memory) return HaltA(kModule, __LINE__);
    delete blocks;
    TLS_SetBlkPool(nullptr);
    TLS_CopyTempDir(memory->GetTempDir());
    TLS_SetMaxCacheSize(memory->GetMaxCacheSize());
    delete memory;
    TLS_SetVMem(nullptr);
}

void CountIn() {
    if (TLS_GetFileCount() == 0) MakeThreadMemory();
    TLS_IncFileCount();
}

void CountOut() {
    TLS_DecFileCount();
    if (TLS_GetFileCount() == 0) EndThreadMemory();
}

// Counts a file in, and out again unless it came to its end: a halt procedure may throw.
class Membership {
public:
    Membership() { CountIn(); }
    ~Membership() {
        if (!kept) CountOut();
    }
    Membership(Membership const&) = delete;
    Membership& operator=(Membership const&) = delete;
    void Keep() { kept = true; }

private:
    bool kept = false;
};

Engine* NewEngine(VFile& face) {
    Membership membership;
    std::unique_ptr<Engine> engine(new (std::nothrow) Engine);
    if (!engine) StopForMemory();
    engine->file = &face;
    VMem const* const memory = TLS_GetVMem();
    engine->pool = TLS_GetBlkPool();
    Require(memory && engine->pool, __LINE__);
    engine->mem = internal::Access::StateOf(*memory).get();
    engine->first = engine->NewBlkPtr(nullptr, nullptr, 0);
    if (!engine->first) StopForMemory();
    engine->last = engine->first;
    engine->cur = {engine->first, 0, 0};
    engine->owner = platform::CurrentThreadId();
    engine->birth = platform::ForkCount();
    membership.Keep();
    return engine.release();
}

}  // namespace

VFile::VFile() : vfileState(NewEngine(*this)) {}

VFile::~VFile() {
    Engine& e = EngineOf(*this);
    if (e.IsUnborn()) return;
    if (e.birth != platform::ForkCount()) return;  // the parent's; its memory is not ours to touch
    if (!e.OnOwnThread() || TLS_GetFileCount() == 0) {
        HaltA(kModule, __LINE__);
        return;
    }
    EndEngine(e);
}

Engine* Bear(VFile& file) {
    if (!EngineOf(file).IsUnborn()) return nullptr;
    Engine* const e = NewEngine(file);
    internal::Access::StateOf(file) = e;
    return e;
}

void EndEngine(Engine& e) {
    e.pool->DisposeChain(e.first, e.last);
    delete e.index;
    delete[] e.buf;
    delete &e;
    CountOut();
}

bool CheckSameOwner(VFile const& a, VFile const& b, std::int32_t line) {
    if (EngineOf(a).BelongsHere() && EngineOf(b).BelongsHere()) return true;
    HaltA(kModule, line);
    return false;
}

void VFile::CheckInvariants() const {}
void VFile::Show(char const*) const {}
void VFile::Dump() const {}

}  // namespace vfile
