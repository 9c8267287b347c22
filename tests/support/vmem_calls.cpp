#include "support/vmem_calls.h"

#include <sys/types.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <new>

namespace vfile::test {

Script opens, reads, writes, allocations;

namespace {

// Whether the script lets nothing through; errno is set then.
bool Refused(long step) {
    if (step < 0) errno = static_cast<int>(-step);
    return step < 0;
}

}  // namespace
}  // namespace vfile::test

using namespace vfile::test;

extern "C" {

int __real_open(char const* path, int flags, mode_t mode);
int __wrap_open(char const* path, int flags, mode_t mode) {
    return Refused(opens.Next()) ? -1 : __real_open(path, flags, mode);
}

ssize_t __real_pread(int fd, void* buf, size_t len, off_t at);
ssize_t __wrap_pread(int fd, void* buf, size_t len, off_t at) {
    long const step = reads.Next();
    if (Refused(step)) return -1;
    return __real_pread(fd, buf, std::min(len, static_cast<size_t>(step)), at);
}

ssize_t __real_pwritev(int fd, iovec const* pieces, int count, off_t at);
ssize_t __wrap_pwritev(int fd, iovec const* pieces, int count, off_t at) {
    long const step = writes.Next();
    if (Refused(step)) return -1;
    iovec some[IOV_MAX];
    auto left = static_cast<size_t>(step);
    int taken = 0;
    for (; taken < count && left > 0; ++taken) {
        some[taken] = {pieces[taken].iov_base, std::min(pieces[taken].iov_len, left)};
        left -= some[taken].iov_len;
    }
    return taken == 0 ? 0 : __real_pwritev(fd, some, taken, at);
}

void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size) { return Refused(allocations.Next()) ? nullptr : __real_malloc(size); }
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return Refused(allocations.Next()) ? nullptr : ::operator new(size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return Refused(allocations.Next()) ? nullptr : ::operator new[](size);
}
