// Copies of files: bytes with their holes, and rights.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "platform/platform.h"
#include "platform/posix/attributes.h"
#include "platform/posix/calls.h"
#include "platform/posix/errors.h"
#include "platform/posix/held_file.h"
#include "platform/posix/name_bytes.h"

namespace vfile::platform {
namespace {

constexpr std::int64_t kToTheEnd = std::numeric_limits<std::int64_t>::max();

// Lets the kernel copy as far as it can between these two; what it leaves, for whatever reason, is the plain loop's.
void CopyInKernel(int from, int to, std::int64_t& left) {
    while (left > 0) {
        std::size_t const len = std::min(static_cast<std::uint64_t>(left), std::uint64_t{kMaxTransfer});
        ssize_t const moved = Repeated([&] { return copy_file_range(from, nullptr, to, nullptr, len, 0); });
        if (moved <= 0) return;
        left -= moved;
    }
}

// Copies `left` bytes, or those there are before the source ends.
bool CopyBytes(Handle from, Handle to, std::int64_t left) {
    CopyInKernel(DescriptorOf(from), DescriptorOf(to), left);
    unsigned char piece[65536];
    while (left > 0) {
        std::size_t const len = std::min(static_cast<std::uint64_t>(left), std::uint64_t{sizeof piece});
        std::size_t got = 0;
        std::size_t put = 0;
        if (!Read(from, piece, len, got)) return false;
        if (got == 0) return true;
        if (!Write(to, piece, got, put)) return false;
        left -= static_cast<std::int64_t>(got);
    }
    return true;
}

// Whether what is left out of the target reads as zeros: nothing lies behind its position.
bool MayHaveHoles(Handle to) {
    std::int64_t ahead = 0;
    return BytesAhead(to, ahead) && ahead == 0;
}

// Goes on to the next data of the source, or to its end, and leaves as much out of the target.
bool SkipHole(Handle from, Handle to, std::int64_t at) {
    std::int64_t size = 0;
    std::int64_t written = 0;
    off_t const data = lseek(DescriptorOf(from), at, SEEK_DATA);
    if (data == -1 && errno != ENXIO) return Fail(errno);
    if (!GetSize(from, size) || !GetPosition(to, written)) return false;
    std::int64_t const next = data == -1 ? std::max(size, at) : std::int64_t{data};
    return SetPosition(from, next) && SetPosition(to, written + (next - at)) && TruncateHere(to);
}

// A new target is tried first, so that it is certain who made it: a link that leads nowhere is no new file. It is its
// owner's alone until it has the rights of the source, and is removed again unless it was kept.
class Target {
public:
    Target(TChar const* name, char const* path) : name_(name), path_(path) {}
    ~Target() {
        if (made_) RemoveIfStill(path_, file_.Descriptor());
    }
    Target(Target const&) = delete;
    Target& operator=(Target const&) = delete;

    bool Open(bool overwrite) {
        OpenMode mode{Access::kWrite, kShareNone, Disposition::kCreateNew, Hint::kSequential, true};
        made_ = file_.Adopt(OpenFile(name_, mode));
        if (made_ || !overwrite || LastError() != kFileExists) return made_;
        Attributes there{};
        if (!GetAttributes(name_, there)) return false;
        mode.disposition = Disposition::kOpenAlways;  // the system guards what may have to be made
        return file_.Adopt(OpenFile(name_, mode, &made_));
    }
    bool IsNew() const { return made_; }
    void Keep() { made_ = false; }
    Held& File() { return file_; }

private:
    TChar const* name_;
    char const* path_;
    Held file_;
    bool made_ = false;
};

// Makes an existing target empty, once it is certain that it is not the source.
bool Prepare(Held& source, Target& target) {
    if (!source.Look() || !target.File().Look()) return false;
    if (target.IsNew()) return true;
    if (IsSame(source.Info(), target.File().Info())) return Fail(EBUSY);
    return !S_ISREG(target.File().Info().st_mode) || TruncateHere(target.File().Get());
}

bool Copy(Held& source, Target& target) {
    if (!Prepare(source, target) || !CopyRest(source.Get(), target.File().Get())) return false;
    return !target.IsNew() || CopyRights(source.Descriptor(), target.File().Descriptor()) || Fail(errno);
}

}  // namespace

// Where the next hole begins is asked first: one that does not know answers that none comes before the end, and one that
// refuses leaves it all to the plain copy, as does the end, behind which more may have come meanwhile. A file that has
// less than its size, as some of the system's own do, is at its end when nothing moves.
bool CopyRest(Handle from, Handle to) {
    for (off_t last = -1; MayHaveHoles(to);) {
        off_t const at = lseek(DescriptorOf(from), 0, SEEK_CUR);
        off_t const hole = at == -1 || at == last ? -1 : lseek(DescriptorOf(from), at, SEEK_HOLE);
        if (hole != -1 && hole == at) {
            if (!SkipHole(from, to, at)) return false;
            continue;
        }
        if (at != -1 && !SetPosition(from, at)) return false;
        if (hole == -1) break;
        if (!CopyBytes(from, to, hole - at)) return false;
        last = at;
    }
    return CopyBytes(from, to, kToTheEnd);
}

bool CopyNamed(TChar const* from, TChar const* to, bool overwrite) {
    NameBytes const path(to);
    if (path.SystemError() != 0) return Fail(path.SystemError());
    Held source;
    Target target(to, path.Bytes());
    if (!source.Adopt(OpenFile(from, kSource)) || !target.Open(overwrite) || !Copy(source, target))
        return false;
    target.Keep();
    return true;
}

}  // namespace vfile::platform
