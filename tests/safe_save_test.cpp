// What a safe save does to each kind of target, as root and as an ordinary user.
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "hostfile/open_file.h"
#include "hostfile/safe_target.h"
#include "support/access_list.h"
#include "support/child.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace vfile::test {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kUser = 65534;
std::string const kOld(3000, 'o');
std::string const kNew(70000, 'n');
std::string const kLongName(255, 'x');
// What must be as before: all that a file is beside its bytes.
std::string Being(std::string const& path) {
    struct stat const info = Info(path);
    std::string all = std::to_string(info.st_mode) + " of " + std::to_string(info.st_uid) + ':' +
                      std::to_string(info.st_gid) + ", " + std::to_string(info.st_nlink) + " names";
    return all + ", " + Attribute(path) + ", " + Attribute(path, "user.kept");
}

enum Outcome { kReplaced, kInPlace, kPlain, kRefused };

struct Kind {
    char const* name;
    mode_t mode;     // of "file", with the old bytes; none is 0
    void (*more)();  // in the directory of the target, by the user who saves
    Outcome asRoot, asUser;
    FileRes refusal = ResNoPermission;
    char const* target = "file";
    char const* final = "file";  // behind the links
};

void MakeOld(std::string const& dir, mode_t mode = 0644) {
    WriteWhole(dir + "/file", kOld);
    chmod((dir + "/file").c_str(), mode);
}

void Nothing() {}

void GiveAway(char const* file) {
    uid_t const me = geteuid();
    EXPECT_FALSE(seteuid(0) || chown(file, 1, 1) || seteuid(me));
}

// A link to nowhere that somebody else has put where all may do so.
void PlantLink() {
    fs::permissions(".", fs::perms{01777});
    fs::create_symlink("elsewhere", "file");
    uid_t const me = geteuid();
    EXPECT_FALSE(seteuid(0) || lchown("file", 1, 1) || seteuid(me));
}

// Where the file system knows no such directories, a target is one itself, which is refused as well.
void KeepNames(std::string const& dir, bool on) {
    uid_t const me = geteuid();
    int const directory = open(dir.c_str(), O_RDONLY | O_CLOEXEC);
    int const flags = on ? FS_APPEND_FL : 0;
    EXPECT_FALSE(seteuid(0));
    bool const known = ioctl(directory, FS_IOC_SETFLAGS, &flags) == 0;
    if (!known && on && fs::remove("file")) fs::create_directory("file");
    EXPECT_FALSE(seteuid(me) || close(directory));
}

// clang-format off
Kind const kKinds[] = {
    {"none yet", 0, Nothing, kReplaced, kReplaced},
    {"a plain one", 0644, Nothing, kReplaced, kReplaced},
    {"odd bits", 04751, Nothing, kReplaced, kReplaced},
    {"not to be read", 0200, Nothing, kReplaced, kReplaced},
    {"not to be written", 0444, Nothing, kReplaced, kRefused},
    {"another's", 0666, [] { GiveAway("file"); }, kReplaced, kInPlace},
    {"with an access list", 0644,
     [] { GiveList("file", 4); }, kReplaced, kReplaced},
    {"without one that its directory would give", 0644,
     [] { GiveList(".", 4, true); }, kReplaced, kReplaced},
    {"with an attribute", 0644, [] { setxattr("file", "user.kept", "kept", 4, 0); }, kReplaced, kReplaced},
    {"two names", 0644, [] { fs::create_hard_link("file", "second"); }, kInPlace, kInPlace},
    {"a chain of links", 0644,
     [] {
         fs::create_symlink(fs::current_path() / "second", "first");
         fs::create_symlink("file", "second");
     },
     kReplaced, kReplaced, ResDone, "first"},
    {"a link to elsewhere", 0644,
     [] {
         fs::create_directory("sub");
         fs::rename("file", "sub/file");
         fs::create_symlink("sub/file", "link");
     },
     kReplaced, kReplaced, ResDone, "link", "sub/file"},
    {"a link to none yet", 0, [] { fs::create_symlink("file", "link"); }, kReplaced, kReplaced, ResDone, "link"},
    {"a link that another has planted", 0, PlantLink, kRefused, kRefused},
    {"a link to itself", 0, [] { fs::create_symlink("file", "file"); }, kRefused, kRefused, ResIllegalPath},
    {"no directory", 0, Nothing, kRefused, kRefused, ResIllegalPath, "none/file", "none/file"},
    {"a directory", 0, [] { fs::create_directory("file"); }, kRefused, kRefused},
    {"a pipe", 0, [] { mkfifo("file", 0666); }, kPlain, kPlain},
    {"a device", 0, [] { fs::create_symlink("/dev/null", "file"); }, kPlain, kPlain},
    {"a full device", 0, [] { fs::create_symlink("/dev/full", "file"); }, kRefused, kRefused, ResDiskFull},
    {"a directory that is not to be written", 0644, [] { chmod(".", 0555); }, kReplaced, kRefused},
    {"a directory that no name leaves", 0644, [] { KeepNames(".", true); }, kRefused, kRefused},
    {"none yet where no name leaves", 0, [] { KeepNames(".", true); }, kReplaced, kReplaced},
    {"the longest name", 0644, [] { fs::rename("file", kLongName); }, kReplaced, kReplaced, ResDone,
     kLongName.c_str(), kLongName.c_str()},
    {"the longest name, and another", 0644,
     [] {
         fs::rename("file", kLongName);
         fs::create_hard_link(kLongName, "second");
     },
     kInPlace, kInPlace, ResDone, kLongName.c_str(), kLongName.c_str()},
    {"leftovers beside it", 0644,
     [] {
         fs::create_hard_link("file", "second");
         for (char const n : {'1', '2', '4'}) WriteWhole(std::string(n == '2' ? "file.~part~" : "file.~old~") + n, "left");
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

void Save(Kind const& kind, std::string const& dir, Outcome outcome) {
    std::string const target = dir + "/" + kind.target, final = dir + "/" + kind.final;
    auto const before = Listing(dir);
    std::error_code ignored;
    bool const existed = fs::exists(final, ignored);
    std::string const being = Being(final);
    ino_t const inode = Info(final).st_ino;
    std::future<std::string> drained;  // what the other end of a pipe gets
    if (S_ISFIFO(Info(target).st_mode)) drained = std::async(std::launch::async, ReadWhole, target);
    if (existed && outcome == kReplaced) {
        SafeTarget begun(NameFromBytes(target).c_str());
        struct stat fresh {};
        EXPECT_EQ(fstat(DescriptorOf(HandleOf(begun.File())), &fresh), 0);
        EXPECT_EQ(fresh.st_mode & 07777u, 0600u) << "not its owner's alone before it is whole";
    }
    VFile file(kNew.c_str());
    file.SaveSafe(NameFromBytes(target).c_str());
    EXPECT_EQ(file.res, outcome == kRefused ? kind.refusal : ResDone);
    EXPECT_TRUE(!drained.valid() || drained.get() == kNew);
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

TEST(SafeSave, EveryKindOfTargetAsRootAndAsUser) {
    if (geteuid() != 0) GTEST_SKIP() << "not all kinds can be made by an ordinary user";
    for (uid_t const user : {uid_t{0}, kUser}) {
        for (Kind const& kind : kKinds) {
            SCOPED_TRACE(std::string(kind.name) + ", as " + std::to_string(user));
            TempDir const dir;
            fs::permissions(dir.Path(), fs::perms{0755});
            EXPECT_EQ(chown(dir.Path().c_str(), user, user), 0);
            auto const saves = [&] {
                umask(022);
                fs::current_path(dir.Path());
                EXPECT_FALSE(setegid(user) || seteuid(user));
                if (kind.mode != 0) MakeOld(".", kind.mode);
                kind.more();
                EXPECT_FALSE(setregid(user, user) || setreuid(user, user));
                Save(kind, dir.Path().string(), user == 0 ? kind.asRoot : kind.asUser);
                return !HasFailure();
            };
            EXPECT_EQ(InChild(saves), 0);
            KeepNames(dir.Path().string(), false);
        }
    }
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
