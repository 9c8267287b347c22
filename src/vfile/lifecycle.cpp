// The birth and the end of a file, and of the memory and the pool that all files of a thread share.
#include <vfile/halt.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "frame/access.h"
#include "platform/platform.h"
#include "vfile/blk_index.h"
#include "vfile/blk_pool.h"
#include "vfile/block.h"
#include "vfile/thread_slots.h"

namespace vfile {

namespace {

// A file without memory or pool cannot come into being: should the halt procedure return, there is no way on.
void Require(bool condition, std::int32_t line) {
    if (condition) return;
    HaltA(kModule, line);
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

}  // namespace

VFile::VFile() { Init(); }

void VFile::Init() {
    Membership membership;
    VMem const* const memory = TLS_GetVMem();
    pool = TLS_GetBlkPool();
    Require(memory && pool, __LINE__);
    mem = internal::Access::StateOf(*memory).get();
    first = NewBlkPtr(nullptr, nullptr, 0);
    if (!first) {
        Halt(kModule, u"Init", u"first==NIL, heap overflow");
        std::abort();
    }
    last = first;
    cur = {first, 0, 0};
    owner = platform::CurrentThreadId();
    birth = platform::ForkCount();
    membership.Keep();
}

VFile::~VFile() {
    if (birth != platform::ForkCount()) return;  // the parent's; its memory is not ours to touch
    if (!OnOwnThread() || TLS_GetFileCount() == 0) {
        HaltA(kModule, __LINE__);
        return;
    }
    pool->DisposeChain(first, last);
    delete index;
    delete[] buf;
    CountOut();
}

bool VFile::OnOwnThread() const {
    return owner == platform::CurrentThreadId() && birth == platform::ForkCount();
}

bool VFile::HasOwnerOf(VFile const& other) const { return owner == other.owner && birth == other.birth; }

bool VFile::CheckSameOwner(VFile const& other, std::int32_t line) const {
    if (OnOwnThread() && HasOwnerOf(other)) return true;
    HaltA(kModule, line);
    return false;
}

// The count of changes only ever grows, so that a hook that swaps is found out.
void VFile::Swap(VFile& other) {
    if (!CheckSameOwner(other, __LINE__)) return;
    std::swap(res, other.res);
    std::swap(eof, other.eof);
    std::swap(radix, other.radix);
    std::swap(flags, other.flags);
    std::swap(type, other.type);
    std::swap(pos, other.pos);
    std::swap(length, other.length);
    std::swap(first, other.first);
    std::swap(last, other.last);
    std::swap(cur, other.cur);
    std::swap(index, other.index);
    std::swap(carried, other.carried);
    std::swap(buf, other.buf);
    std::swap(bufValid, other.bufValid);
    std::swap(bufDirty, other.bufDirty);
    changes = other.changes = std::max(changes, other.changes) + 1;
}

void VFile::CheckInvariants() const {}
void VFile::Show(char const*) const {}
void VFile::Dump() const {}

}  // namespace vfile
