// What a safe save does to each kind of target, as root and as an ordinary user.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vfile/names.h>
#include <vfile/virtual_file.h>

#include <map>
#include <thread>

#include "hostfile/safe_target.h"
#include "support/child.h"
#include "support/temp_dir.h"

namespace vfile::test {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kUser = 65534;
std::string const kOld(3000, 'o');
std::string const kNew(70000, 'n');
std::string const kLongName(255, 'x');
// Version 2; the owner, user 7, the group, the mask and all others: each a tag, its rights, an identity.
constexpr unsigned char kList[] = {2, 0, 0,   0,   1,   0,   6,  0, 255, 255, 255, 255, 2,   0,  4,
                                   0, 7, 0,   0,   0,   4,   0,  4, 0,   255, 255, 255, 255, 16, 0,
                                   4, 0, 255, 255, 255, 255, 32, 0, 0,   0,   255, 255, 255, 255};

struct stat Info(std::string const& path) {
    struct stat info {};
    lstat(path.c_str(), &info);
    return info;
}

std::string Attribute(std::string const& path, char const* name) {
    char value[256];
    ssize_t const len = getxattr(path.c_str(), name, value, sizeof value);
    return len < 0 ? "none" : std::string(value, static_cast<std::size_t>(len));
}

// What must be as before: all that a file is beside its bytes.
std::string Being(std::string const& path) {
    struct stat const info = Info(path);
    std::string all = std::to_string(info.st_mode) + " of " + std::to_string(info.st_uid) + ':' +
                      std::to_string(info.st_gid) + ", " + std::to_string(info.st_nlink) + " names";
    for (char const* const name : {"system.posix_acl_access", "user.kept"})
        all += ", " + Attribute(path, name);
    return all;
}

enum Outcome { kReplaced, kInPlace, kPlain, kRefused };

struct Kind {
    char const* name;
    void (*make)(std::string const& dir);  // the target is "file" in it, unless told
    Outcome asRoot, asUser;
    FileRes refusal = ResNoPermission;
    char const* target = "file";
    char const* final = "file";  // behind the links
};

void MakeOld(std::string const& dir, mode_t mode = 0644) {
    WriteWhole(dir + "/file", kOld);
    chmod((dir + "/file").c_str(), mode);
}

// The directory's files belong to the user who saves, but what a kind gives to user 1.
// clang-format off
Kind const kKinds[] = {
    {"none yet", [](std::string const&) {}, kReplaced, kReplaced},
    {"a plain one", [](std::string const& d) { MakeOld(d); }, kReplaced, kReplaced},
    {"odd bits", [](std::string const& d) { MakeOld(d, 04751); }, kReplaced, kReplaced},
    {"not to be read", [](std::string const& d) { MakeOld(d, 0200); }, kReplaced, kReplaced},
    {"not to be written", [](std::string const& d) { MakeOld(d, 0444); }, kReplaced, kRefused},
    {"another's",
     [](std::string const& d) {
         MakeOld(d, 0666);
         if (chown((d + "/file").c_str(), 1, 1) != 0) ADD_FAILURE();
     },
     kReplaced, kInPlace},
    {"with an access list",
     [](std::string const& d) {
         MakeOld(d);
         setxattr((d + "/file").c_str(), "system.posix_acl_access", kList, sizeof kList, 0);
     },
     kReplaced, kReplaced},
    {"without one that its directory would give",
     [](std::string const& d) {
         MakeOld(d);
         setxattr(d.c_str(), "system.posix_acl_default", kList, sizeof kList, 0);
     },
     kReplaced, kReplaced},
    {"with an attribute",
     [](std::string const& d) {
         MakeOld(d);
         setxattr((d + "/file").c_str(), "user.kept", "kept", 4, 0);
     },
     kReplaced, kReplaced},
    {"two names",
     [](std::string const& d) {
         MakeOld(d);
         fs::create_hard_link(d + "/file", d + "/second");
     },
     kInPlace, kInPlace},
    {"a chain of links",
     [](std::string const& d) {
         MakeOld(d);
         fs::create_symlink(d + "/second", d + "/first");
         fs::create_symlink("file", d + "/second");
     },
     kReplaced, kReplaced, ResDone, "first"},
    {"a link to elsewhere",
     [](std::string const& d) {
         fs::create_directory(d + "/sub");
         WriteWhole(d + "/sub/file", kOld);
         fs::create_symlink("sub/file", d + "/link");
     },
     kReplaced, kReplaced, ResDone, "link", "sub/file"},
    {"a link to none yet", [](std::string const& d) { fs::create_symlink("file", d + "/link"); }, kReplaced,
     kReplaced, ResDone, "link"},
    {"a link to itself", [](std::string const& d) { fs::create_symlink("file", d + "/file"); }, kRefused, kRefused,
     ResIllegalPath},
    {"no directory", [](std::string const&) {}, kRefused, kRefused, ResIllegalPath, "none/file", "none/file"},
    {"a directory", [](std::string const& d) { fs::create_directory(d + "/file"); }, kRefused, kRefused},
    {"a pipe", [](std::string const& d) { mkfifo((d + "/file").c_str(), 0666); }, kPlain, kPlain},
    {"a device", [](std::string const& d) { fs::create_symlink("/dev/null", d + "/file"); }, kPlain, kPlain},
    {"a full device", [](std::string const& d) { fs::create_symlink("/dev/full", d + "/file"); }, kRefused, kRefused,
     ResDiskFull},
    {"a directory that is not to be written",
     [](std::string const& d) {
         MakeOld(d);
         chmod(d.c_str(), 0555);
     },
     kReplaced, kRefused},
    {"the longest name", [](std::string const& d) { WriteWhole(d + "/" + kLongName, kOld); }, kReplaced, kReplaced,
     ResDone, kLongName.c_str(), kLongName.c_str()},
    {"the longest name, and another",
     [](std::string const& d) {
         WriteWhole(d + "/" + kLongName, kOld);
         fs::create_hard_link(d + "/" + kLongName, d + "/second");
     },
     kInPlace, kInPlace, ResDone, kLongName.c_str(), kLongName.c_str()},
    {"leftovers beside it",
     [](std::string const& d) {
         MakeOld(d);
         fs::create_hard_link(d + "/file", d + "/second");
         for (char const n : {'1', '2', '4'}) WriteWhole(d + "/file.~safe~" + n, "left");
     },
     kInPlace, kInPlace},
};
// clang-format on

// Every entry with its bytes, but those of `changed`, which are to be new.
std::map<std::string, std::string> Listing(std::string const& dir) {
    std::map<std::string, std::string> all;
    for (auto const& entry : fs::recursive_directory_iterator(dir)) {
        std::string const path = entry.path().string();
        all[path] =
            !entry.is_symlink() && entry.is_regular_file() ? Being(path) + ReadWhole(path) : Being(path);
    }
    return all;
}

// What the other end of a pipe gets.
class Drain {
public:
    explicit Drain(std::string const& path) {
        if (S_ISFIFO(Info(path).st_mode)) thread_ = std::thread([this, path] { got_ = ReadWhole(path); });
    }
    ~Drain() {
        if (!thread_.joinable()) return;
        thread_.join();
        EXPECT_TRUE(got_ == kNew);
    }

private:
    std::string got_;
    std::thread thread_;
};

void Save(Kind const& kind, std::string const& dir, Outcome outcome) {
    SCOPED_TRACE(std::string(kind.name) + ", as " + std::to_string(geteuid()));
    std::string const target = dir + "/" + kind.target, final = dir + "/" + kind.final;
    auto const before = Listing(dir);
    struct stat ignored;
    bool const existed = stat(final.c_str(), &ignored) == 0;
    std::string const being = Being(final);
    ino_t const inode = Info(final).st_ino;
    VFile file(kNew.c_str());
    {
        Drain const drain(target);
        file.SaveSafe(NameFromBytes(target).c_str());
    }
    EXPECT_EQ(file.res, outcome == kRefused ? kind.refusal : ResDone);
    if (outcome == kPlain || outcome == kRefused) {
        EXPECT_TRUE(Listing(dir) == before);
        return;
    }
    EXPECT_EQ(file.GetPos(), file.Length());
    EXPECT_EQ(Listing(dir).size(), before.size() + (existed ? 0 : 1)) << "something is left";
    if (existed) {
        EXPECT_EQ(Being(final), being);
        EXPECT_EQ(Info(final).st_ino == inode, outcome == kInPlace);
    } else {
        EXPECT_EQ(Info(final).st_mode & 0777u, 0644u);
    }
    chmod(final.c_str(), 0644);  // to be read
    EXPECT_TRUE(ReadWhole(final) == kNew);
}

// All kinds in a child that is that user; a kind is made by root where there is one.
void SaveAll(bool asRoot) {
    umask(022);
    for (Kind const& kind : kKinds) {
        TempDir const dir;
        std::string const path = dir.Bytes("kind");
        fs::create_directory(path);
        kind.make(path);
        chmod(dir.Bytes("").c_str(), 0755);
        Outcome const outcome = asRoot ? kind.asRoot : kind.asUser;
        bool const foreign = Info(path + "/file").st_uid == 1;
        if (!asRoot && geteuid() == 0) {
            for (auto const& entry : fs::recursive_directory_iterator(path)) {
                struct stat const was = Info(entry.path());
                if (!foreign) std::ignore = lchown(entry.path().c_str(), kUser, kUser);
                if (!S_ISLNK(was.st_mode))
                    chmod(entry.path().c_str(), was.st_mode & 07777);  // with its set-id bits
            }
            std::ignore = chown(path.c_str(), kUser, kUser);
        }
        int const status = InChild([&] {
            if (!asRoot && geteuid() == 0) {
                std::ignore = setregid(kUser, kUser);
                std::ignore = setreuid(kUser, kUser);
            }
            auto const& found = *testing::UnitTest::GetInstance()->current_test_info()->result();
            int const before = found.total_part_count();
            Save(kind, path, outcome);
            return found.total_part_count() == before;
        });
        EXPECT_EQ(status, 0) << kind.name;
    }
}

TEST(SafeSave, EveryKindOfTargetAsUser) {
    if (geteuid() != 0) GTEST_SKIP() << "not all kinds can be made by an ordinary user";
    SaveAll(false);
}

TEST(SafeSave, EveryKindOfTargetAsRoot) {
    if (geteuid() != 0) GTEST_SKIP() << "not root";
    SaveAll(true);
}

// Somebody who holds the target is not robbed of it, nor does anybody find the new file unlocked before it is whole.
TEST(SafeSave, HeldByAnother) {
    TempDir const dir;
    MakeOld(dir.Path().string());
    int const holder = open(dir.Bytes("file").c_str(), O_RDONLY | O_CLOEXEC);
    flock(holder, LOCK_SH);
    VFile file(kNew.c_str());
    file.SaveSafe(dir.Name("file").c_str());
    EXPECT_EQ(file.res, ResNoPermission);
    EXPECT_TRUE(ReadWhole(dir.Bytes("file")) == kOld);
    close(holder);
    file.SaveSafe(dir.Name("file").c_str());
    EXPECT_TRUE(ReadWhole(dir.Bytes("file")) == kNew && dir.Entries() == 1);
}

// What took the target's place during the save is not replaced, and what is left of the save goes.
TEST(SafeSave, AnotherTookTheNameMeanwhile) {
    TempDir const dir;
    for (bool const existed : {true, false}) {
        if (existed) MakeOld(dir.Path().string());
        {
            SafeTarget target(dir.Name("file").c_str());
            ASSERT_EQ(target.Code(), ResDone);
            WriteWhole(dir.Bytes("theirs"), "theirs");
            fs::rename(dir.Bytes("theirs"), dir.Bytes("file"));
            target.File().Write("ours");
            EXPECT_EQ(target.Commit(), existed ? ResNoPermission : ResAlreadyExists);
        }
        EXPECT_EQ(ReadWhole(dir.Bytes("file")), "theirs");
        EXPECT_EQ(dir.Entries(), 1u);
        fs::remove(dir.Bytes("file"));
    }
}

}  // namespace
}  // namespace vfile::test
