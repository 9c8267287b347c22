#include "support/faults.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include "support/test.h"

namespace vfile::test {

namespace {

bool armed = false;
Fault plan;
int counted = 0;
Call hit = Call::kNone;

bool Counts(Call call) { return plan.only == call || (plan.only == Call::kNone && call < Call::kAllocate); }

// Whether this is the call that is meant; it is noted then.
bool Strikes(Call call) {
    if (hit != Call::kNone || !Counts(call) || ++counted != plan.nth) return false;
    hit = call;
    return true;
}

// Whether this call fails, with errno set.
bool Fails(Call call) {
    if (!armed || plan.kind == Fault::kCut || plan.kind == Fault::kCutAll) return false;
    if (plan.kind == Fault::kMeanwhile) {
        if (Strikes(call)) plan.meanwhile();
        return false;
    }
    bool const onward = plan.kind != Fault::kFail && hit == call;
    if (!onward && (plan.kind == Fault::kCutThenFail || !Strikes(call))) return false;
    errno = plan.error;
    return true;
}

// How many of `len` bytes this transfer moves.
std::size_t Allowed(Call call, std::size_t len) {
    if (!armed || len < 2 || plan.kind == Fault::kFail || plan.kind == Fault::kFailOnward ||
        plan.kind == Fault::kMeanwhile)
        return len;
    std::size_t const cut = std::min(len, plan.cut ? plan.cut : plan.kind == Fault::kCutAll ? len : len - 1);
    return (plan.kind == Fault::kCutAll ? Counts(call) : Strikes(call)) ? cut : len;
}

// The first `len` bytes of the pieces.
std::vector<iovec> Cut(iovec const* pieces, int count, std::size_t len) {
    std::vector<iovec> out;
    for (int i = 0; i < count && len > 0; ++i) {
        out.push_back({pieces[i].iov_base, std::min(pieces[i].iov_len, len)});
        len -= out.back().iov_len;
    }
    return out;
}

}  // namespace

Faults::Faults(Fault const& fault) {
    plan = fault;
    counted = 0;
    hit = Call::kNone;
    armed = true;
}

Faults::~Faults() { armed = false; }

Call Faults::Hit() const { return hit; }

int Faults::Seen() const { return counted; }

std::size_t OpenDescriptors() {
    std::filesystem::directory_iterator const all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

}  // namespace vfile::test

using vfile::test::Allowed;
using vfile::test::Call;
using vfile::test::Fails;

extern "C" {

// clang-format off
#define VFILE_WRAP(Result, call, name, parameters, arguments)              \
    Result __real_##name parameters;                                       \
    Result __wrap_##name parameters {                                      \
        return Fails(Call::call) ? Result{-1} : __real_##name arguments;   \
    }
#define VFILE_WRAP_TRANSFER(call, name, parameters, arguments)             \
    ssize_t __real_##name parameters;                                      \
    ssize_t __wrap_##name parameters {                                     \
        if (Fails(Call::call)) return -1;                                  \
        len = Allowed(Call::call, len);                                    \
        return __real_##name arguments;                                    \
    }
VFILE_WRAP(int, kOpen, open, (char const* path, int flags, mode_t mode), (path, flags, mode))
VFILE_WRAP(int, kStat, fstat, (int fd, struct stat* result), (fd, result))
VFILE_WRAP(int, kLock, flock, (int fd, int operation), (fd, operation))
VFILE_WRAP(int, kTruncate, ftruncate, (int fd, off_t length), (fd, length))
VFILE_WRAP(off_t, kSeek, lseek, (int fd, off_t offset, int whence), (fd, offset, whence))
VFILE_WRAP(int, kRename, renameat2, (int from, char const* a, int to, char const* b, unsigned flags), (from, a, to, b, flags))
VFILE_WRAP(int, kLink, rename, (char const* a, char const* b), (a, b))
VFILE_WRAP(int, kGiveName, linkat, (int from, char const* a, int to, char const* b, int flags), (from, a, to, b, flags))
VFILE_WRAP(int, kName, stat, (char const* path, struct stat* result), (path, result))
VFILE_WRAP(int, kName, lstat, (char const* path, struct stat* result), (path, result))
VFILE_WRAP(int, kName, access, (char const* path, int mode), (path, mode))
VFILE_WRAP(int, kName, unlink, (char const* path), (path))
VFILE_WRAP(int, kName, symlink, (char const* target, char const* path), (target, path))
VFILE_WRAP(int, kName, mkdir, (char const* path, mode_t mode), (path, mode))
VFILE_WRAP(ssize_t, kName, readlink, (char const* path, char* dst, size_t len), (path, dst, len))
VFILE_WRAP(ssize_t, kName, readlinkat, (int directory, char const* path, char* dst, size_t len), (directory, path, dst, len))
VFILE_WRAP(int, kName, statx, (int directory, char const* path, int flags, unsigned mask, struct statx* result), (directory, path, flags, mask, result))
VFILE_WRAP(int, kAttribute, fchown, (int fd, uid_t user, gid_t group), (fd, user, group))
VFILE_WRAP(int, kAttribute, fchmod, (int fd, mode_t mode), (fd, mode))
VFILE_WRAP(int, kAttribute, futimens, (int fd, struct timespec const* times), (fd, times))
VFILE_WRAP(ssize_t, kAskAttribute, flistxattr, (int fd, char* dst, size_t len), (fd, dst, len))
VFILE_WRAP(ssize_t, kAskAttribute, fgetxattr, (int fd, char const* name, void* dst, size_t len), (fd, name, dst, len))
VFILE_WRAP(int, kAttribute, fsetxattr, (int fd, char const* name, void const* src, size_t len, int flags), (fd, name, src, len, flags))
VFILE_WRAP(int, kAttribute, fremovexattr, (int fd, char const* name), (fd, name))
VFILE_WRAP(ssize_t, kCopyRange, copy_file_range, (int from, off_t* a, int to, off_t* b, size_t len, unsigned flags), (from, a, to, b, len, flags))
VFILE_WRAP(int, kAdvise, posix_fadvise, (int fd, off_t offset, off_t len, int advice), (fd, offset, len, advice))
VFILE_WRAP_TRANSFER(kRead, read, (int fd, void* dst, size_t len), (fd, dst, len))
VFILE_WRAP_TRANSFER(kWrite, write, (int fd, void const* src, size_t len), (fd, src, len))
VFILE_WRAP_TRANSFER(kReadAt, pread, (int fd, void* dst, size_t len, off_t at), (fd, dst, len, at))
// clang-format on

// While faults are in force no disk is waited for: what is not hit counts as flushed.
int __real_fsync(int fd);
int __wrap_fsync(int fd) {
    if (Fails(Call::kFlush)) return -1;
    return vfile::test::armed ? 0 : __real_fsync(fd);
}

int __real_close(int fd);
int __wrap_close(int fd) {
    int const result = __real_close(fd);  // gone even when the system reports a failure
    return Fails(Call::kClose) ? -1 : result;
}

ssize_t __real_pwritev(int fd, iovec const* pieces, int count, off_t at);
ssize_t __wrap_pwritev(int fd, iovec const* pieces, int count, off_t at) {
    if (Fails(Call::kWriteAt)) return -1;
    std::size_t len = 0;
    for (int i = 0; i < count; ++i) len += pieces[i].iov_len;
    auto const some = vfile::test::Cut(pieces, count, Allowed(Call::kWriteAt, len));
    return __real_pwritev(fd, some.data(), static_cast<int>(some.size()), at);
}

DIR* __real_opendir(char const* path);
DIR* __wrap_opendir(char const* path) { return Fails(Call::kDirectory) ? nullptr : __real_opendir(path); }
dirent* __real_readdir(DIR* directory);
dirent* __wrap_readdir(DIR* directory) {
    return Fails(Call::kDirectory) ? nullptr : __real_readdir(directory);
}

void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size) { return Fails(Call::kAllocate) ? nullptr : __real_malloc(size); }
}

// All forms, so that what one gives the other takes back.
void* operator new(std::size_t size) {
    void* const memory = Fails(Call::kNew) ? nullptr : __real_malloc(size);
    return memory ? memory : throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return Fails(Call::kAllocate) ? nullptr : __real_malloc(size);
}
void* operator new[](std::size_t size, std::nothrow_t const& tag) noexcept {
    return ::operator new(size, tag);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::nothrow_t const&) noexcept { std::free(memory); }
void operator delete[](void* memory, std::nothrow_t const&) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
