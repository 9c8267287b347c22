#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "platform/platform.h"
#include "platform/posix/calls.h"
#include "platform/posix/errors.h"
#include "platform/posix/name_bytes.h"

namespace vfile::platform {

namespace {

// A descriptor while it is not yet certain that the file can be had.
class Candidate {
public:
    Candidate(char const* path, OpenMode const& mode);
    ~Candidate() {
        if (descriptor_ != -1) close(descriptor_);
    }
    Candidate(Candidate const&) = delete;
    Candidate& operator=(Candidate const&) = delete;

    bool IsOpen() const { return descriptor_ != -1; }
    int Claim(OpenMode const& mode);
    bool WasMade() const { return made_; }
    bool HasLostItsName() const;
    bool IsStillEmpty() const;
    int Prepare(OpenMode const& mode);
    void TakeBack(char const* path);
    Handle Release() { return HandleOf(std::exchange(descriptor_, -1)); }

private:
    int descriptor_;
    bool made_ = false;  // by this very call
    bool regular_ = false;
};

int AccessFlags(Access access) {
    switch (access) {
        case Access::kRead:
            return O_RDONLY;
        case Access::kWrite:
            return O_WRONLY;
        case Access::kReadWrite:
            break;
    }
    return O_RDWR;
}

// Never with O_TRUNC: nothing is emptied before its lock is held.
Candidate::Candidate(char const* path, OpenMode const& mode) {
    int const flags = AccessFlags(mode.access) | O_CLOEXEC | O_NOCTTY;
    auto const openWith = [&](int more) {
        return Repeated([&] { return open(path, flags | more, mode.ownerOnly ? 0600 : 0666); });
    };

    if (mode.disposition == Disposition::kCreateNew) {
        descriptor_ = openWith(O_CREAT | O_EXCL);
        made_ = descriptor_ != -1;
        return;
    }
    if (mode.disposition == Disposition::kOpenExisting) {
        descriptor_ = openWith(0);
        return;
    }
    descriptor_ = openWith(O_CREAT | O_EXCL);
    made_ = descriptor_ != -1;
    if (made_ || errno != EEXIST) return;
    // A file that is there, or a link to one that is still to be made. Opened by a call that may make it: only of those
    // the system refuses what others have planted in a directory for all.
    descriptor_ = openWith(O_CREAT);
}

// Refuses what is no file and takes the lock. Zero, or the system error that tells why not. A file system
// without locks must not keep its files from being opened.
int Candidate::Claim(OpenMode const& mode) {
    struct stat info;
    if (fstat(descriptor_, &info) != 0) return errno;
    if (S_ISDIR(info.st_mode)) return EISDIR;
    regular_ = S_ISREG(info.st_mode);
    if (!regular_) return 0;
    bool const shared = mode.access == Access::kRead && (mode.share & kShareRead) != 0;
    int const lock = (shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    bool const held = Repeated([&] { return flock(descriptor_, lock); }) == 0;
    return held || errno != EWOULDBLOCK ? 0 : EBUSY;
}

// Deleted or replaced between open and lock: what is written here now would be lost with the last handle.
bool Candidate::HasLostItsName() const {
    struct stat info;
    return regular_ && fstat(descriptor_, &info) == 0 && info.st_nlink == 0;
}

// Made here, and nobody has written to it before the lock was held. To empty such a file once more would tell
// some file systems that it replaces an old one, and they hold up its closing until it has its blocks.
bool Candidate::IsStillEmpty() const {
    struct stat info;
    return made_ && fstat(descriptor_, &info) == 0 && info.st_size == 0;
}

// What comes once the lock is held. Zero, or a system error.
int Candidate::Prepare(OpenMode const& mode) {
    if (!regular_) return 0;
    if (mode.disposition == Disposition::kCreateAlways && !IsStillEmpty() &&
        Repeated([&] { return ftruncate(descriptor_, 0); }) != 0) {
        return errno;
    }
    bool const sequential = mode.hint == Hint::kSequential;
    posix_fadvise(descriptor_, 0, 0, sequential ? POSIX_FADV_SEQUENTIAL : POSIX_FADV_RANDOM);
    return 0;
}

// Removes the file that was made here and could not be had. Somebody else took it between open and lock: one
// who only reads loses nothing with it, but a file is never taken from under a writer, so this waits for no
// lock and does nothing without one.
void Candidate::TakeBack(char const* path) {
    struct stat held, named;
    if (!made_ || flock(descriptor_, LOCK_SH | LOCK_NB) != 0 || lstat(path, &named) != 0 ||
        named.st_size != 0)
        return;
    bool const another =
        fstat(descriptor_, &held) == 0 && (held.st_dev != named.st_dev || held.st_ino != named.st_ino);
    if (!another) unlink(path);
}

Handle OpenPath(char const* path, OpenMode const& mode, bool* made) {
    // Bounded, since a file may have no name for good: one that is opened by its place under /proc.
    for (int triesLeft = 3;; --triesLeft) {
        Candidate file(path, mode);
        if (!file.IsOpen()) {
            StoreNameError(errno, path);
            return InvalidHandle();
        }
        int refusal = file.Claim(mode);
        if (refusal == 0 && triesLeft > 0 && file.HasLostItsName()) continue;
        if (refusal == 0) refusal = file.Prepare(mode);
        if (refusal == 0 && made) *made = file.WasMade();
        if (refusal == 0) return file.Release();
        file.TakeBack(path);
        Fail(refusal);
        return InvalidHandle();
    }
}

bool IsReadOnlyDescriptor(int descriptor) {
    int const flags = fcntl(descriptor, F_GETFL);
    return flags != -1 && (flags & O_ACCMODE) == O_RDONLY;
}

}  // namespace

Handle OpenFile(TChar const* name, OpenMode const& mode, bool* made) {
    NameBytes const path(name);
    bool const contradiction = mode.access == Access::kRead && mode.disposition == Disposition::kCreateAlways;
    int const refusal = contradiction ? EINVAL : path.SystemError();
    if (refusal == 0) return OpenPath(path.Bytes(), mode, made);
    Fail(refusal);
    return InvalidHandle();
}

void CloseFile(Handle file) {
    int const descriptor = DescriptorOf(file);
    flock(descriptor, LOCK_UN);
    close(descriptor);  // not repeated: the descriptor is gone whatever close says
}

bool GetPosition(Handle file, std::int64_t& position) {
    off_t const at = lseek(DescriptorOf(file), 0, SEEK_CUR);
    if (at == -1) return Fail(errno);
    position = at;
    return true;
}

bool SetPosition(Handle file, std::int64_t position) {
    return lseek(DescriptorOf(file), position, SEEK_SET) != -1 || Fail(errno);
}

bool GetSize(Handle file, std::int64_t& size) {
    struct stat info;
    if (fstat(DescriptorOf(file), &info) != 0) return Fail(errno);
    if (!S_ISREG(info.st_mode)) return Fail(EOPNOTSUPP);
    size = info.st_size;
    return true;
}

bool BytesAhead(Handle file, std::int64_t& count) {
    struct stat info;
    if (fstat(DescriptorOf(file), &info) != 0) return Fail(errno);
    std::int64_t position = 0;
    if (!S_ISREG(info.st_mode)) return false;
    if (!GetPosition(file, position)) return false;
    count = std::max<std::int64_t>(info.st_size - position, 0);
    return true;
}

bool TruncateHere(Handle file) {
    int const descriptor = DescriptorOf(file);
    std::int64_t position = 0;
    if (!GetPosition(file, position)) return false;
    if (Repeated([&] { return ftruncate(descriptor, position); }) == 0) return true;
    return Fail(IsReadOnlyDescriptor(descriptor) ? EACCES : errno);
}

bool FlushFile(Handle file) {
    if (Repeated([&] { return fsync(DescriptorOf(file)); }) == 0) return true;
    // A pipe or a terminal has no device behind it that bytes could wait for. The same words about a file mean that
    // its file system has broken down.
    int const reason = errno;
    struct stat info;
    bool const regular = fstat(DescriptorOf(file), &info) == 0 && S_ISREG(info.st_mode);
    return reason == EINVAL || (reason == EROFS && !regular) || Fail(reason);
}

}  // namespace vfile::platform
