#include "platform/posix/move.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <climits>
#include <cstdio>

#include "platform/posix/attributes.h"
#include "platform/posix/calls.h"
#include "platform/posix/errors.h"
#include "platform/posix/held_file.h"
#include "platform/posix/name_bytes.h"
#include "platform/posix/rename.h"

namespace vfile::platform {
namespace {

constexpr int kMostNamesBeside = 99;

// The new file, which gets its name when it is whole. Until then it has none; or, where the system does not know that, or
// refuses it a name later, one of its own in the same directory. Gone unless it stays.
class Arrival {
public:
    Arrival(TChar const* name, char const* path) : name_(name), path_(path) {}
    ~Arrival() {
        if (has_[0] != '\0') RemoveIfStill(has_, file_.Descriptor());
    }
    Arrival(Arrival const&) = delete;
    Arrival& operator=(Arrival const&) = delete;

    bool OpenUnnamed() {
        unnamed_ = true;
        return file_.Adopt(CreateUnnamed(name_, true));
    }
    bool OpenBeside();
    bool TakeName();
    bool IsRefusedAName() const { return refused_; }
    void Stay() { has_[0] = '\0'; }
    Held const& File() const { return file_; }

private:
    TChar const* name_;
    char const* path_;
    Held file_;
    char has_[PATH_MAX] = {};  // the name that it has now
    bool unnamed_ = false;
    bool refused_ = false;
};

bool Arrival::OpenBeside() {
    DirectoryOf const directory(path_);
    int descriptor = -1;
    errno = EEXIST;
    for (int i = 1; i <= kMostNamesBeside && descriptor == -1 && errno == EEXIST; ++i) {
        int const len = std::snprintf(has_, sizeof has_, "%s/.~move~%d", directory.Bytes(), i);
        if (len < 0 || static_cast<std::size_t>(len) >= sizeof has_)
            errno = ENAMETOOLONG;
        else
            descriptor = Repeated([&] { return open(has_, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600); });
    }
    if (descriptor != -1) {
        flock(descriptor, LOCK_EX | LOCK_NB);
        return file_.Adopt(HandleOf(descriptor));
    }
    has_[0] = '\0';
    return FailNamed(path_);
}

bool Arrival::TakeName() {
    if (!unnamed_ && !RenameInPlace(has_, path_)) return FailNamed(path_);
    if (unnamed_ && !GiveName(file_.Get(), name_)) {
        refused_ = LastError() != kFileExists;
        return false;
    }
    std::snprintf(has_, sizeof has_, "%s", path_);
    return true;
}

// The old name goes last, when the new one is on its disk with all that it means, and only if it still means what was
// copied. One who changes the file in the moment between this look and the removal loses what he has changed.
bool RemoveOld(char const* path, struct stat const& then) {
    return CheckUntouched(path, then) && (unlink(path) == 0 || FailNamed(path));
}

// Flushed before, too: a power cut must not leave a part of a program that runs with the rights of another.
bool Fill(Held const& source, Held const& target) {
    if (!SetPosition(source.Get(), 0) || !CopyRest(source.Get(), target.Get())) return false;
    if (!FlushFile(target.Get())) return false;
    if (!CopyEverything(source.Descriptor(), target.Descriptor())) return Fail(errno);
    return FlushFile(target.Get());
}

bool Move(Held const& source, char const* from, Arrival& target, TChar const* to) {
    if (!Fill(source, target.File())) return false;
    if (!CheckUntouched(from, source.Info())) return false;  // before anybody sees the new one
    if (!target.TakeName() || !FlushDirectoryOf(to) || !RemoveOld(from, source.Info())) return false;
    target.Stay();
    return true;
}

}  // namespace

bool MoveFile(TChar const* from, TChar const* to, struct stat const& info) {
    NameBytes const fromPath(from);
    NameBytes const toPath(to);
    Held source;
    if (!source.Adopt(OpenFile(from, kSource)) || !source.Look()) return false;
    if (!IsSame(source.Info(), info)) return Fail(EBUSY);
    if (IsTaken(toPath.Bytes())) return Fail(EEXIST);
    {
        Arrival target(to, toPath.Bytes());
        bool const moved = target.OpenUnnamed() && Move(source, fromPath.Bytes(), target, to);
        if (moved || (target.File().IsOpen() && !target.IsRefusedAName())) return moved;
    }
    Arrival target(to, toPath.Bytes());
    return target.OpenBeside() && Move(source, fromPath.Bytes(), target, to);
}

bool MoveLink(char const* from, TChar const* to, struct stat const& info) {
    NameBytes const toPath(to);
    char leadsTo[PATH_MAX];
    struct stat made, now;
    ssize_t const len = readlink(from, leadsTo, sizeof leadsTo - 1);
    if (len == -1) return FailNamed(from);
    leadsTo[len] = '\0';
    if (symlink(leadsTo, toPath.Bytes()) != 0 || lstat(toPath.Bytes(), &made) != 0)
        return FailNamed(toPath.Bytes());
    if (FlushDirectoryOf(to) && RemoveOld(from, info)) return true;
    if (lstat(toPath.Bytes(), &now) == 0 && IsSame(now, made)) unlink(toPath.Bytes());
    return false;
}

}  // namespace vfile::platform
