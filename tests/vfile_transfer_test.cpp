// Bytes between virtual files, host files, handles and names.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vfile/host_file.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <filesystem>
#include <memory>

#include "support/host_source.h"
#include "support/model.h"
#include "support/temp_dir.h"

namespace vfile::test {
namespace {

constexpr char kTen[] = "0123456789";
constexpr std::uint32_t kShareRead = 1;

class VFileTransfer : public testing::Test {
protected:
    TempDir dir_;

    std::string Make(std::string const& name, std::string const& bytes) {
        WriteWhole(dir_.Bytes(name), bytes);
        return dir_.Bytes(name);
    }
};

// `load` brings a named file into the file; the model is told what there is to be had.
template <class Side>
void TakeNamed(Side& side, bool load, TString const& name, std::uint32_t share, Source const& source) {
    if constexpr (std::is_same_v<Side, Probe>) {
        load ? side.Load(name.c_str(), share) : side.ReadFile(name.c_str(), share);
    } else {
        load ? side.Load(source) : side.ReadFile(source);
    }
}

TEST_F(VFileTransfer, InsertModeDecidesAtTheCursor) {
    HostSource source(Make("source", "abc"));
    for (int kind = 0; kind < 10; ++kind) {
        SCOPED_TRACE(kind);
        source.At(0);
        VFile file(kTen);
        file.SetFlag(VFile::InsertMode, kind >= 5);
        file.SetPos(8);
        switch (kind % 5) {
            case 0:
                file.ReadFromFile(source.file, MaxLen);
                break;
            case 1:
                file.ReadFromFile(source.AsHandle(file), 3);
                break;
            case 2:
                file.WriteFromFile(source.AsHandle(file), MaxLen);
                break;
            case 3:
                file.Write(source.file, 3);
                break;
            default:
                file.ReadFile(dir_.Name("source").c_str(), kShareRead);
        }
        EXPECT_EQ(AllBytes(file), kind < 5 ? "01234567abc" : "01234567abc89");
        EXPECT_EQ(file.GetPos(), 11);
    }
}

// A source that cannot be read, or not to the end, gives its code, and only when something is to be read.
TEST_F(VFileTransfer, FromBadSource) {
    int const directory = ::open(dir_.Bytes("").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    int const shortFile = ::open(Make("short", kTen).c_str(), O_RDONLY | O_CLOEXEC);
    constexpr int kGone = 9999;
    struct {
        char const* what;
        int descriptor;
        std::int32_t stored;           // in the HFile, beforehand
        std::int32_t none, some, all;  // the code for a count of 0, of 50, of MaxLen
    } const kCases[] = {
        {"closed",                     -1,        ResDone,         ResCallError, ResCallError,    ResCallError   },
        {"a descriptor that is gone",  kGone,     ResDone,         ResDone,      ResCallError,    ResCallError   },
        {"a directory",                directory, ResDone,         ResDone,      ResNoPermission, ResNoPermission},
        {"too few bytes",              shortFile, ResDone,         ResDone,      ResNotDone,      ResDone        },
        {"a stored code",              shortFile, ResNetworkError, ResDone,      ResNetworkError, ResNetworkError},
        {"a stored code out of range", shortFile, 99,              ResDone,      ResNotDone,      ResNotDone     },
    };
    for (auto const& c : kCases) {
        for (int kind = 0; kind < 6; ++kind) {
            bool const asFile = kind % 2;
            std::int32_t const count = kind < 2 ? 0 : kind < 4 ? 50 : MaxLen;
            std::int32_t const res = kind < 2 ? c.none : kind < 4 ? c.some : c.all;
            if (!asFile && c.stored != ResDone) continue;
            SCOPED_TRACE(testing::Message() << c.what << (asFile ? ", HFile, " : ", handle, ") << count);
            ::lseek(shortFile, 0, SEEK_SET);
            HFile source(
                HandleOf(c.descriptor < 0 || c.descriptor == kGone ? c.descriptor : ::dup(c.descriptor)));
            source.res = c.stored;
            VFile file("abcdefghijklmnop"), before(file);
            file.SetPos(7);
            asFile ? file.ReplaceFile(3, SameLen, source, count)
                   : file.ReplaceFile(3, SameLen, HandleOf(c.descriptor), count);
            EXPECT_EQ(file.res, res);
            EXPECT_EQ(file.GetPos(), res != ResDone ? 7 : count == 0 ? 3 : 13);
            before.ReplaceBuf(3, SameLen, kTen, res == ResDone && count > 0 ? 10 : 0);
            EXPECT_EQ(AllBytes(file), AllBytes(before));
        }
    }
    ::close(directory), ::close(shortFile);
}

TEST_F(VFileTransfer, FromPipe) {
    for (std::int32_t const count : {1, 3000, 3001, MaxLen}) {
        int ends[2];
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        std::string const bytes = Pattern(3000);
        ASSERT_EQ(::write(ends[1], bytes.data(), bytes.size()), 3000);
        ::close(ends[1]);
        HostSource source(ends[0], {bytes});
        Twin twin(Pattern(1500, 1));
        twin.Do([&](auto& f) { f.ReplaceFile(700, SameLen, source.AsHandle(f), count); });
        EXPECT_EQ(twin.file.res, count == 3001 ? ResNotDone : ResDone);
        twin.ExpectSameBytes();
    }
}

// What does not fit is refused by its size, before a byte is read; a definite count does not mind the size.
TEST_F(VFileTransfer, FromSourceOfTwoGiB) {
    constexpr std::int64_t kTwoGiB = std::int64_t{1} << 31;
    int const descriptor = ::open(Make("large", "").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::ftruncate(descriptor, kTwoGiB + 60), 0);
    ASSERT_EQ(::pwrite(descriptor, kTen, 10, kTwoGiB + 50), 10);
    HFile source(HandleOf(descriptor));
    struct {
        std::int64_t at;
        std::int32_t count, res;
        std::int64_t taken;
    } const kCases[] = {
        {0,             MaxLen, ResTooLong, 0   },
        {60,            MaxLen, ResTooLong, 0   },
        {kTwoGiB - 100, MaxLen, ResDone,    160 },
        {kTwoGiB + 50,  MaxLen, ResDone,    10  },
        {kTwoGiB + 60,  MaxLen, ResDone,    0   },
        {kTwoGiB - 100, 155,    ResDone,    155 },
        {kTwoGiB - 100, 170,    ResNotDone, 160 },
        {0,             2000,   ResDone,    2000},
    };
    for (auto const& c : kCases) {
        for (bool const asFile : {true, false}) {
            SCOPED_TRACE(testing::Message() << "at " << c.at << ", count " << c.count);
            ASSERT_EQ(::lseek(descriptor, c.at, SEEK_SET), c.at);
            VFile file(kTen);
            file.SetPos(4);
            asFile ? file.ReplaceFile(2, 0, source, c.count)
                   : file.ReplaceFile(2, 0, HandleOf(descriptor), c.count);
            EXPECT_EQ(file.res, c.res);
            EXPECT_EQ(::lseek(descriptor, 0, SEEK_CUR), c.at + c.taken);
            EXPECT_EQ(file.Length(), 10 + (c.res ? 0 : c.taken));
            EXPECT_EQ(file.GetPos(), c.res ? 4 : 2 + c.taken);
        }
    }
    VFile file(kTen);
    source.res = ResNetworkError;
    file.ReplaceFile(2, 0, source, MaxLen);
    EXPECT_EQ(file.res, ResNetworkError) << "the code that the source brought comes first";
    file.SetPos(0);
    file.ReadFile(dir_.Name("large").c_str(), 0);
    EXPECT_EQ(file.res, ResTooLong);
    EXPECT_EQ(AllBytes(file), kTen);
    file.Load(dir_.Name("large").c_str(), 0);
    EXPECT_EQ(file.res, ResTooLong);
    EXPECT_EQ(file.Length(), 0);
}

TEST_F(VFileTransfer, ToHostFile) {
    constexpr std::int32_t kLength = 5000;
    for (std::int32_t const at : {0, 100, 4000, kLength}) {
        for (std::int32_t const count : {-1, 0, 1, 100, 1024, 1025, kLength, MaxLen}) {
            for (int kind = 0; kind < 6; ++kind) {
                SCOPED_TRACE(testing::Message() << "at " << at << ", count " << count << ", kind " << kind);
                bool const asFile = kind % 2, readOnly = kind / 2 == 1, stored = kind == 5;
                int const descriptor =
                    ::open(Make("target", "").c_str(), (readOnly ? O_RDONLY : O_RDWR) | O_CLOEXEC);
                HFile target(HandleOf(descriptor));
                if (stored) target.res = ResNetworkError;
                Twin twin(Pattern(kLength));
                twin.Do([&](auto& f) { f.InclFlag(VFile::ReadOnly), f.Lock(true), f.SetPos(at); });
                bool const fails = (readOnly || stored) && count > 0 && at < kLength;
                std::string const want = Pattern(kLength).substr(
                    static_cast<std::size_t>(at), static_cast<std::size_t>(std::max(0, count)));
                std::int32_t const moved =
                    std::min(static_cast<std::int32_t>(want.size()), fails ? BlkSize : kLength);
                asFile ? twin.file.WriteToFile(target, count)
                       : twin.file.WriteToFile(HandleOf(descriptor), count);
                EXPECT_EQ(twin.file.res, count < 0 ? ResCallError
                                         : !fails  ? ResDone
                                         : stored  ? ResNetworkError
                                                   : ResNoPermission);
                EXPECT_EQ(twin.file.GetPos(), at + moved);
                EXPECT_EQ(ReadWhole(dir_.Bytes("target")), fails ? "" : want);
                EXPECT_FALSE(twin.file.eof);
                twin.ExpectSameBytes();
            }
        }
    }
    VFile file(kTen);
    file.SetPos(2);
    file.WriteToFile(InvalidHandle(), 3);
    EXPECT_EQ(file.res, ResCallError);
    EXPECT_EQ(file.GetPos(), 2);
    HFile never;
    file.SetPos(2), file.WriteToFile(never, 0);
    EXPECT_EQ(file.res, ResCallError);
}

TEST_F(VFileTransfer, NamedFilesThatCannotBeHad) {
    Make("held", "held"), Make("read", "read"), Make("unreadable", "secret");
    std::filesystem::permissions(dir_.Path() / "unreadable", std::filesystem::perms::none);
    HFile held, shared;
    ASSERT_TRUE(held.Open(dir_.Name("held").c_str()));
    ASSERT_TRUE(shared.OpenSeqRead(dir_.Name("read").c_str()));
    bool const root = ::geteuid() == 0;  // nothing is closed to it
    std::int32_t const closed = root ? ResDone : ResNoPermission;
    TString const noName(1, char16_t{0xD800}), longName = dir_.Name(std::string(300, 'x'));
    struct {
        char const* what;
        TString name;
        std::uint32_t share;
        std::int32_t load;
        char const* content;  // loaded
        std::int32_t save;
    } const kCases[] = {
        {"missing",                      dir_.Name("missing"),    0,          ResNotFound,     "",                   ResDone        },
        {"no such directory",            dir_.Name("no/file"),    0,          ResIllegalPath,  "",                   ResIllegalPath },
        {"below a file",                 dir_.Name("held/file"),  0,          ResUnknownPath,  "",                   ResUnknownPath },
        {"a directory",                  dir_.Name(""),           0,          ResNoPermission, "",                   ResNoPermission},
        {"held by another",              dir_.Name("held"),       kShareRead, ResNoPermission, "",                   ResNoPermission},
        {"read by another",              dir_.Name("read"),       kShareRead, ResDone,         "read",               ResNoPermission},
        {"read by another, not shared",  dir_.Name("read"),       0,          ResNoPermission, "",                   ResNoPermission},
        {"unreadable",                   dir_.Name("unreadable"), 0,          closed,          root ? "secret" : "", closed         },
        {"no name at all",               noName,                  0,          ResIllegalName,  "",                   ResIllegalName },
        {"a name too long",              longName,                0,          ResIllegalName,  "",                   ResIllegalName },
        {"a device that is always full", u"/dev/full",            kShareRead, -1,              "",                   ResDiskFull    },
        {"a device that holds nothing",  u"/dev/null",            kShareRead, ResDone,         "",                   ResDone        },
    };
    for (auto const& c : kCases) {
        SCOPED_TRACE(c.what);
        for (bool const load : {false, true}) {
            Twin twin(Pattern(3000));
            twin.Do([](auto& f) { f.SetPos(1500), f.InclFlag(VFile::InsertMode | VFile::TrackModified); });
            Source const source{c.content, c.load != ResDone, c.load};
            if (c.load >= 0) twin.Do([&](auto& f) { TakeNamed(f, load, c.name, c.share, source); });
            EXPECT_TRUE(c.load < 0 || twin.file.res == c.load) << twin.file.res;
            twin.ExpectSameBytes();
        }
        Twin refuses(kTen);
        refuses.Do([](auto& f) { f.InclFlag(VFile::ReadOnly); });
        refuses.Do([&](auto& f) { TakeNamed(f, false, c.name, c.share, {}); });
        EXPECT_EQ(refuses.file.res, ResReadOnly);
        VFile file(kTen);
        file.SetPos(4);
        file.WriteFile(c.name.c_str(), true);
        EXPECT_EQ(file.res, c.save);
        EXPECT_EQ(file.GetPos(), c.save == ResDone || c.save == ResDiskFull ? 10 : 4);
        EXPECT_EQ(AllBytes(file), kTen);
    }
    EXPECT_EQ(ReadWhole(dir_.Bytes("held")) + ReadWhole(dir_.Bytes("read")), "heldread")
        << "cut by a refused opener";
    EXPECT_EQ(ReadWhole(dir_.Bytes("missing")), kTen);
}

TEST_F(VFileTransfer, SaveAndLoad) {
    Twin twin(Pattern(200'000));
    TString const name = dir_.Name("saved");
    twin.file.SetPos(-1);
    twin.file.WriteFile(name.c_str(), true);
    EXPECT_EQ(twin.file.res, ResCallError);
    EXPECT_FALSE(std::filesystem::exists(dir_.Path() / "saved")) << "written in spite of a stored failure";
    twin.file.Save(name.c_str(), false);
    EXPECT_EQ(twin.file.res, ResDone);
    EXPECT_EQ(twin.file.GetPos(), 200'000);
    EXPECT_EQ(ReadWhole(dir_.Bytes("saved")), Pattern(200'000));

    VFile small("x");
    small.WriteFile(name.c_str(), false);
    EXPECT_EQ(small.res, ResAlreadyExists);
    EXPECT_EQ(small.GetPos(), 1);
    small.Save(name.c_str(), false);
    EXPECT_EQ(small.res, ResAlreadyExists);
    EXPECT_EQ(small.GetPos(), 0);
    EXPECT_EQ(ReadWhole(dir_.Bytes("saved")).size(), 200'000u);

    Source const source{Pattern(200'000)};
    for (Script const& script : {
             Script{                          },
             Script{.act = Script::kVeto,        .veto = 24},
             Script{.act = Script::kVeto,                           .at = 2},
             Script{.act = Script::kThrowBefore,.at = 2},
             Script{.act = Script::kThrowAfter}
    }) {
        Twin loaded("old");
        loaded.Do([](auto& f) { f.InclFlag(VFile::TrackModified), f.SetPos(-1); });
        loaded.Do([&](auto& f) { TakeNamed(f, true, name, 0, source); }, script);
        loaded.ExpectSameBytes();
        loaded.Do([](auto& f) { f.SetPos(1), f.InclFlag(VFile::ReadOnly); });
        loaded.Do([&](auto& f) { TakeNamed(f, true, name, 0, source); });
        EXPECT_EQ(loaded.file.res, ResReadOnly);
        loaded.ExpectSameBytes();
    }

    VFile().Save(name.c_str(), true);
    EXPECT_EQ(ReadWhole(dir_.Bytes("saved")), "");
}

TEST_F(VFileTransfer, LoadingConstructors) {
    HostSource source(Make("source", Pattern(3000)));
    VFile const other("abcdefgh");
    auto const check = [](VFile const& file, std::string const& bytes, std::int32_t res = ResDone) {
        EXPECT_EQ(AllBytes(file), bytes);
        EXPECT_EQ(file.GetPos(), static_cast<std::int32_t>(bytes.size()));
        EXPECT_EQ(file.res, res);
    };
    check(VFile('x', 3000), std::string(3000, 'x'));
    check(VFile(static_cast<signed char>(-1), 2), "\xff\xff");
    check(VFile('x', -1), "", ResCallError);
    check(VFile("text"), "text");
    check(VFile(source.AsHandle(other), 1500), Pattern(3000).substr(0, 1500));
    check(VFile(source.file, MaxLen), Pattern(3000).substr(1500));
    check(VFile(source.file, 1), "", ResNotDone);
    check(VFile(InvalidHandle(), 1), "", ResCallError);
    check(VFile(other), "abcdefgh");
    check(VFile(other, 6), "gh");
    check(VFile(other, 2, 3), "cde");
    check(VFile(other, -2, 3), "", ResCallError);
}

}  // namespace
}  // namespace vfile::test
