#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/platform.h"
#include "support/access_list.h"
#include "support/faults.h"
#include "support/halts.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace vfile::test {
namespace {

mode_t Mode(std::string const& path) { return Info(path).st_mode & 07777; }

constexpr std::streamoff kFirst = 128 << 10, kSecond = 384 << 10;
constexpr std::size_t kSize = 512 << 10;

// Bytes with holes before, between and behind them.
std::string Holey() {
    std::string all(kSize, '\0');
    all.replace(kFirst, 70000, std::string(70000, 'f'));
    return all.replace(kSecond, 5, "bytes");
}

void WriteHoley(std::string const& path) {
    std::ofstream out(path, std::ios::binary);
    out.seekp(kFirst) << std::string(70000, 'f');
    out.seekp(kSecond) << "bytes";
    out.close();
    std::filesystem::resize_file(path, kSize);
}

void ExpectSameBytes(std::string const& one, std::string const& other) {
    EXPECT_TRUE(ReadWhole(one) == ReadWhole(other));
    EXPECT_LE(Info(one).st_blocks, Info(other).st_blocks + 64) << "holes were filled";
}

// What the tests below work on: files of which each has a reason to be refused or not.
struct Zoo : TempDir {
    Zoo() {
        chmod(Bytes("").c_str(), 0777);  // for an ordinary user too
        WriteHoley(Bytes("file"));
        WriteWhole(Bytes("other"), "other");
        chmod(Bytes("file").c_str(), 06640);
        setxattr(Bytes("file").c_str(), "user.note", "note", 4, 0);
        chmod(Bytes("other").c_str(), 0604);
        GiveList(Bytes("file"), 4);
        GiveList(Bytes(""), 7, true);
        symlink("file", Bytes("link").c_str());
        symlink("nowhere", Bytes("dangling").c_str());
        link(Bytes("file").c_str(), Bytes("hard").c_str());
        std::filesystem::create_directory(Bytes("folder"));
    }
    // Every entry with its kind, mode and bytes.
    std::string Listing() const {
        std::string all;
        for (auto const& entry : std::filesystem::recursive_directory_iterator(Path())) {
            std::string const path = entry.path().string();
            all += path + ' ' + std::to_string(Info(path).st_mode) + ' ' +
                   (entry.is_regular_file() ? ReadWhole(path) : "") + '\n';
        }
        return all;
    }
};

constexpr struct {
    char const *from, *to;
    bool overwrite;
    FileRes code;
} kCopies[] = {
    {"file",   "new",       false, ResDone         },
    {"other",  "new",       false, ResDone         },
    {"file",   "other",     true,  ResDone         },
    {"file",   "other",     false, ResAlreadyExists},
    {"file",   "file",      true,  ResNoPermission },
    {"file",   "hard",      true,  ResNoPermission },
    {"absent", "new",       true,  ResNotFound     },
    {"file",   "no/new",    true,  ResIllegalPath  },
    {"file",   "other/new", true,  ResUnknownPath  },
    {"file",   "folder",    true,  ResNoPermission },
    {"folder", "new",       true,  ResNoPermission },
    {"file",   "dangling",  true,  ResNotFound     },
    {"file",   "dangling",  false, ResAlreadyExists},
    {"file",   "",          true,  ResNotFound     },
};

TEST(HostOps, CopyIsWholeOrNothing) {
    for (auto const& row : kCopies) {
        SCOPED_TRACE(std::string(row.from) + " to " + row.to);
        Zoo zoo;
        std::string const before = zoo.Listing(), to = zoo.Bytes(row.to);
        bool const existed = std::filesystem::exists(to);
        FileRes code = 77;
        TString const toName = *row.to ? zoo.Name(row.to) : TString();
        bool const done = HFile::Copy(zoo.Name(row.from).c_str(), toName.c_str(), code, row.overwrite);
        EXPECT_EQ(done, code == ResDone);
        EXPECT_EQ(code, row.code);
        if (code != ResDone) {
            EXPECT_EQ(zoo.Listing(), before);
            continue;
        }
        std::string const from = zoo.Bytes(row.from);
        ExpectSameBytes(to, std::filesystem::canonical(from));
        EXPECT_EQ(Mode(to), existed || row.from[0] == 'o' ? 0604U : 0640U);
        EXPECT_EQ(Attribute(to), existed ? "" : Attribute(std::filesystem::canonical(from)));
    }
    Zoo zoo;
    HFile writer;
    FileRes code;
    ASSERT_TRUE(writer.Open(zoo.Name("other").c_str()));
    EXPECT_FALSE(HFile::Copy(zoo.Name("file").c_str(), zoo.Name("other").c_str(), code, true));
    EXPECT_TRUE(code == ResNoPermission && ReadWhole(zoo.Bytes("other")) == "other");
    bool const another = chown(zoo.Bytes("file").c_str(), getuid(), 1) == 0 && geteuid() == 0;
    EXPECT_TRUE(HFile::Copy(zoo.Name("file").c_str(), zoo.Name("new3").c_str(), false));
    EXPECT_EQ(Mode(zoo.Bytes("new3")), another ? 0600U : 0640U) << "the group is another one";
}

constexpr struct {
    char const *from, *to;
    FileRes code;    // within a file system
    FileRes across;  // to another one
} kRenames[] = {
    {"file",     "new",         ResDone,          ResDone         },
    {"file",     "other",       ResAlreadyExists, ResAlreadyExists},
    {"file",     "hard",        ResAlreadyExists, ResAlreadyExists},
    {"file",     "file",        ResDone,          ResDone         },
    {"absent",   "absent",      ResDone,          ResDone         },
    {"absent",   "new",         ResNotFound,      ResNotFound     },
    {"no/file",  "new",         ResIllegalPath,   ResIllegalPath  },
    {"file",     "no/new",      ResIllegalPath,   ResIllegalPath  },
    {"link",     "new",         ResDone,          ResDone         },
    {"dangling", "new",         ResDone,          ResDone         },
    {"file",     "dangling",    ResAlreadyExists, ResAlreadyExists},
    {"folder",   "new",         ResDone,          ResNotSupported },
    {"folder",   "folder/deep", ResCallError,     ResNotSupported },
    {"folder",   "other",       ResAlreadyExists, ResNotSupported },
};

TEST(HostOps, RenameNeverReplaces) {
    // As the system does it, where it cannot refuse to replace, and across file systems.
    for (int const error : {0, EINVAL, EXDEV}) {
        for (auto const& row : kRenames) {
            SCOPED_TRACE(std::string(row.from) + " to " + row.to + " under " + std::to_string(error));
            Zoo zoo;
            struct timespec const old[] = {
                {1000, 5},
                {2000, 7}
            };
            utimensat(AT_FDCWD, zoo.Bytes(row.from).c_str(), old, AT_SYMLINK_NOFOLLOW);
            std::string const before = zoo.Listing();
            struct stat const was = Info(zoo.Bytes(row.from));
            std::string const list = Attribute(zoo.Bytes(row.from));
            Faults faults({Fault::kFailOnward, error ? 1 : INT_MAX, error, 0, Call::kRename});
            FileRes code = 77;
            HFile::Rename(zoo.Name(row.from).c_str(), zoo.Name(row.to).c_str(), code);
            EXPECT_EQ(code, error == EXDEV ? row.across : row.code);
            bool const moved = code == ResDone && std::string(row.from) != row.to;
            EXPECT_TRUE(moved || zoo.Listing() == before);
            EXPECT_FALSE(code == ResNotFound &&
                         HFile::Rename(zoo.Name(row.from).c_str(), zoo.Name("x").c_str()));
            if (!moved) continue;
            struct stat const is = Info(zoo.Bytes(row.to));
            EXPECT_EQ(is.st_mode, was.st_mode);
            if (S_ISREG(is.st_mode)) {
                EXPECT_TRUE(is.st_mtim.tv_sec == 2000 && is.st_uid == was.st_uid);
                EXPECT_TRUE(ReadWhole(zoo.Bytes(row.to)) == Holey());
                EXPECT_LE(is.st_blocks, was.st_blocks + 64) << "holes were filled";
                EXPECT_TRUE(Attribute(zoo.Bytes(row.to)) == list &&
                            Attribute(zoo.Bytes(row.to), "user.note") == "note");
            }
            EXPECT_EQ(Info(zoo.Bytes(row.from)).st_mode, 0U) << "the old name is still there";
        }
    }
}

// The rights of an ordinary user, for as long as it lives.
class AsUser {
public:
    AsUser() : wasRoot_(geteuid() == 0) {
        if (wasRoot_ && seteuid(65534) != 0) ADD_FAILURE() << "cannot become an ordinary user";
    }
    ~AsUser() {
        if (wasRoot_ && seteuid(0) != 0) std::abort();
    }

private:
    bool wasRoot_;
};

// What happens before any call of a copy or a move: another file takes the source's name, or somebody looks at the new one.
TEST(HostOps, NothingIsWiderAndNothingNewerLostMeanwhile) {
    int lost = 0;
    for (bool const moves : {false, true}) {
        Call hit = Call::kOpen;
        for (int nth = 1; hit != Call::kNone; ++nth) {
            TempDir dir;
            std::string const source = dir.Bytes("source"), newer = dir.Bytes("newer");
            std::string const to = moves ? "/dev/shm/" + dir.Path().filename().string() : dir.Bytes("to");
            WriteWhole(source, "older");
            WriteWhole(newer, "newer");
            chmod(source.c_str(), 0600);
            GiveList(source, 6);
            std::string const list = Attribute(source);
            TString const fromName = NameFromBytes(source), toName = NameFromBytes(to);
            auto const meanwhile = [&] {
                EXPECT_TRUE((Mode(to) & 077) == 0 || (!list.empty() && Attribute(to) == list))
                    << "call " << nth;
                rename(newer.c_str(), source.c_str());
            };
            {
                Faults faults({.kind = Fault::kMeanwhile, .nth = nth, .meanwhile = meanwhile});
                if (moves)
                    HFile::Rename(fromName.c_str(), toName.c_str());
                else
                    HFile::Copy(fromName.c_str(), toName.c_str(), false);
                hit = faults.Hit();
            }
            if (hit != Call::kNone) lost += ReadWhole(source) != "newer" && ReadWhole(to) != "newer";
            std::remove(to.c_str());
        }
    }
    EXPECT_LE(lost, 1) << "but between the last look and the removal";
}

TEST(HostOps, AttributesExistenceAndRemoval) {
    Zoo zoo;
    auto const name = [&zoo](char const* file) { return zoo.Name(file); };
    for (mode_t const mode : {0644U, 0444U, 0464U, 0000U}) {
        chmod(zoo.Bytes("file").c_str(), mode);
        bool const readOnly = (mode & 0222) == 0;
        EXPECT_EQ(HFile::IsReadOnly(name("link").c_str()), readOnly);
        struct stat const before = Info(zoo.Bytes("file"));
        EXPECT_TRUE(HFile::SetReadOnly(name("file").c_str(), readOnly));
        EXPECT_EQ(Info(zoo.Bytes("file")).st_ctim.tv_nsec, before.st_ctim.tv_nsec)
            << "was set though it was so";
        EXPECT_TRUE(HFile::SetReadOnly(name("file").c_str(), !readOnly));
        EXPECT_EQ(Mode(zoo.Bytes("file")), readOnly ? mode | 0200U : mode & ~0222U);
    }
    EXPECT_TRUE(HFile::Exists(name("link").c_str()) && !HFile::Exists(name("dangling").c_str()));
    EXPECT_TRUE(HFile::IsDirectory(name("folder").c_str()) && !HFile::IsDirectory(name("file").c_str()));
    FileRes code = 77;
    EXPECT_TRUE(HFile::Remove(name("dangling").c_str(), code) &&
                !HFile::SetReadOnly(name("dangling").c_str(), true));
    EXPECT_TRUE(!HFile::Remove(name("folder").c_str(), code) && code == ResNoPermission);
    chmod(zoo.Bytes("").c_str(), 0555);
    chmod(zoo.Bytes("other").c_str(), 0644);
    AsUser const user;
    EXPECT_TRUE(!HFile::Remove(name("other").c_str(), code) && code == ResNoPermission);
    EXPECT_TRUE(!HFile::Copy(name("other").c_str(), name("new").c_str(), code, true) &&
                code == ResNoPermission);
    EXPECT_TRUE(!HFile::Rename(name("other").c_str(), name("new").c_str(), code) && code == ResNoPermission);
    if (getuid() != 0 || Info("/dev/shm").st_dev == Info(zoo.Bytes("")).st_dev) return;
    // The owner is not kept then, and nothing may run with the rights of another.
    seteuid(0);
    chmod(zoo.Bytes("").c_str(), 0777);
    chmod(zoo.Bytes("other").c_str(), 06755);
    seteuid(65534);
    std::string const to = "/dev/shm/" + zoo.Path().filename().string();
    EXPECT_TRUE(HFile::Rename(name("other").c_str(), NameFromBytes(to).c_str(), code));
    EXPECT_EQ(Mode(to), 0755U);
    std::remove(to.c_str());
}

TEST(HostOps, TemporaryFilesAreNewAndPrivate) {
    Zoo zoo;
    TString const dir = zoo.Name("");
    // Names that are taken, also by links that an enemy has planted, are passed over.
    std::int32_t const tick = static_cast<std::int32_t>(platform::TickCount()) % 100000000;
    for (std::int32_t i = 0; i < 3000; ++i) {
        symlink("victim", zoo.Bytes("~hf" + std::to_string((tick + i) % 100000000) + ".tmp").c_str());
    }
    std::string const p(100, 'p');
    // clang-format off
    std::string const rows[][4] = {{"", "tmp", "~hf", ".tmp"}, {"-", "", "-", ""}, {"a.b\\", "..x", "a.b\\", "..x"}, {p, p, p.substr(0, 63), "." + p.substr(0, 62)}};
    // clang-format on
    TChar name[MaxNameUnits] = u"kept";
    for (auto const& [prefix, ext, head, tail] : rows) {
        for (bool const seqWrite : {false, true}) {
            HFile file;
            TString const first = NameFromBytes(prefix), last = NameFromBytes(ext);
            ASSERT_TRUE(HFile::CreateTempFile(file, name, MaxNameUnits,
                                              prefix.empty() ? nullptr : first.c_str(), last.c_str(),
                                              dir.c_str(), seqWrite));
            std::string const made = BytesFromName(name), number = made.substr(zoo.Bytes("").size());
            EXPECT_TRUE(number.starts_with(head) && number.ends_with(tail)) << made;
            EXPECT_EQ(Mode(made), 0600U);
            file.WriteByte('x');
            file.Reset();
            char c = 0;
            file.ReadChar(c);
            EXPECT_EQ(file.res, seqWrite ? ResNoPermission : ResDone);
        }
    }
    EXPECT_FALSE(std::filesystem::exists(zoo.Bytes("victim")));
    HFile open, closed;
    auto const refused = [&](TString const& where, std::uint32_t size, FileRes code) {
        return !HFile::CreateTempFile(closed, name, size, nullptr, nullptr, where.c_str(), true) &&
               !closed.IsOpen() && closed.res == code;
    };
    EXPECT_TRUE(refused(zoo.Name("no"), 300, ResIllegalPath) &&
                refused(zoo.Name("other"), 300, ResUnknownPath) &&
                refused(TString(300, u'x'), 300, ResIllegalName));
    EXPECT_TRUE(refused(dir, static_cast<std::uint32_t>(dir.size()) + 5, ResIllegalName) &&
                refused(dir, 1, ResIllegalName));
    ASSERT_TRUE(HFile::CreateTempFile(open, name, MaxNameUnits, nullptr, nullptr, dir.c_str(), true));
    EXPECT_ASSERTION_STOP("HFile", HFile::CreateTempFile(open, name, 300, nullptr, nullptr, nullptr, true));
    EXPECT_ASSERTION_STOP("HFile", HFile::CreateTempFile(closed, name, 0, nullptr, nullptr, nullptr, true));
    chmod(zoo.Bytes("").c_str(), 0555);
    AsUser const user;
    EXPECT_TRUE(refused(dir, 300, ResNoPermission));
}

}  // namespace
}  // namespace vfile::test
