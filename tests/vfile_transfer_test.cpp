// Bytes between virtual files, host files, handles and names.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/host_file.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <cerrno>
#include <filesystem>

#include "support/faults.h"
#include "support/temp_dir.h"
#include "support/twin.h"

namespace vfile::test {
namespace {

constexpr char kTen[] = "0123456789";
constexpr std::int64_t kTwoGiB = std::int64_t{1} << 31;
constexpr std::int32_t kLength = 70'000;

class VFileTransfer : public testing::Test {
protected:
    TempDir dir_;

    // A descriptor that the caller owns: of an entry here, a pipe, or none.
    int Open(std::string const& name, int flags) {
        if (name == "closed") return -1;
        if (name == "gone") return 9999;
        if (name != "pipe") return ::open(dir_.Bytes(name).c_str(), flags | O_CLOEXEC);
        int ends[2];
        EXPECT_TRUE(::pipe2(ends, O_CLOEXEC) == 0 && ::write(ends[1], kTen, 10) == 10);
        ::close(ends[1]);
        return ends[0];
    }
};

// A source that cannot be read, or not to the end, gives its code, and only when something is to be read. What
// does not fit is refused by its size, before a byte is read; a definite count does not mind the size.
TEST_F(VFileTransfer, FromSource) {
    WriteWhole(dir_.Bytes("short"), kTen);
    WriteWhole(dir_.Bytes("large"), "");
    std::filesystem::resize_file(dir_.Path() / "large", kTwoGiB + 60);
    struct {
        char const* name;
        std::int64_t at;
        FileRes stored;
        std::int32_t count;
        FileRes res;
        std::int32_t taken;
    } const kCases[] = {
        {"closed", 0,             ResDone,         0,      ResCallError,    0   },
        {"gone",   0,             ResDone,         0,      ResDone,         0   },
        {"gone",   0,             ResDone,         MaxLen, ResCallError,    0   },
        {".",      0,             ResDone,         50,     ResNoPermission, 0   },
        {".",      0,             ResDone,         MaxLen, ResNoPermission, 0   },
        {"pipe",   0,             ResDone,         11,     ResNotDone,      10  },
        {"pipe",   0,             ResDone,         MaxLen, ResDone,         10  },
        {"short",  0,             ResDone,         50,     ResNotDone,      10  },
        {"short",  0,             ResDone,         MaxLen, ResDone,         10  },
        {"short",  0,             ResNetworkError, 50,     ResNetworkError, 0   },
        {"short",  0,             99,              MaxLen, ResNotDone,      0   },
        {"large",  60,            ResDone,         MaxLen, ResTooLong,      0   },
        {"large",  60,            ResNetworkError, MaxLen, ResNetworkError, 0   },
        {"large",  kTwoGiB - 100, ResDone,         MaxLen, ResDone,         160 },
        {"large",  kTwoGiB - 100, ResDone,         170,    ResNotDone,      160 },
        {"large",  0,             ResDone,         2000,   ResDone,         2000},
    };
    for (auto const& c : kCases) {
        for (bool const asFile : {true, false}) {
            if (!asFile && c.stored != ResDone) continue;
            SCOPED_TRACE(testing::Message() << c.name << " at " << c.at << ", " << c.count << ", " << asFile);
            void* const handle = HandleOf(Open(c.name, O_RDONLY));
            ::lseek(DescriptorOf(handle), c.at, SEEK_SET);
            HFile source(handle);
            source.res = c.stored;
            VFile file("abcdefghijklmnop");
            file.SetPos(7);
            asFile ? file.ReplaceFile(3, SameLen, source, c.count)
                   : file.ReplaceFile(3, SameLen, handle, c.count);
            std::int32_t const now = c.res == ResDone ? c.taken : 0;
            EXPECT_EQ(file.res, c.res);
            EXPECT_EQ(file.GetPos(), c.res == ResDone ? 3 + now : 7);
            EXPECT_EQ(file.Length(), std::max(16, 3 + now));
            bool const regular = c.at > 0 || std::string(c.name) == "short";
            EXPECT_TRUE(!regular || ::lseek(DescriptorOf(handle), 0, SEEK_CUR) == c.at + c.taken);
        }
    }
}

// However large the real step, a failure leaves the cursor where steps of one block would.
TEST_F(VFileTransfer, ToTarget) {
    struct {
        int flags;
        FileRes stored;
        std::int32_t room;  // on the disk
        FileRes res;
    } const kCases[] = {
        {O_RDWR,   ResDone,         kLength, ResDone        },
        {O_RDONLY, ResDone,         0,       ResNoPermission},
        {O_RDWR,   ResNetworkError, 0,       ResNetworkError},
        {O_RDWR,   ResDone,         1,       ResDiskFull    },
        {O_RDWR,   ResDone,         1023,    ResDiskFull    },
        {O_RDWR,   ResDone,         1024,    ResDiskFull    },
        {O_RDWR,   ResDone,         65535,   ResDiskFull    },
        {O_RDWR,   ResDone,         65536,   ResDiskFull    },
    };
    constexpr std::int32_t kPlaces[] = {0, 10, kLength - 1000, kLength};
    constexpr std::int32_t kCounts[] = {-1, 0, 1, 1024, 1025, MaxLen};
    Probe file;
    file.ReplaceBuf(0, 0, Pattern(kLength).data(), kLength);
    file.Lock(true);
    for (auto const& c : kCases) {
        for (int kind = 0; kind < 48; ++kind) {
            bool const asFile = kind % 2 || c.stored != ResDone;
            std::int32_t const at = kPlaces[kind / 2 % 4], count = kCounts[kind / 8];
            SCOPED_TRACE(testing::Message() << c.room << ", at " << at << ", " << count << ", " << asFile);
            WriteWhole(dir_.Bytes("target"), "old");  // whose bytes no position tells from the new ones
            void* const handle = HandleOf(Open("target", c.flags | O_APPEND));
            HFile target(handle);
            target.res = c.stored;
            std::string const want = PartOf(file, at, std::clamp(count, 0, kLength - at));
            auto const size = static_cast<std::int32_t>(want.size());
            bool const fails = size > c.room;
            file.SetPos(at);
            {
                int const nth = c.res == ResDiskFull ? 1 : kLength;
                Faults const full(
                    {Fault::kCutThenFail, nth, ENOSPC, static_cast<std::size_t>(c.room), Call::kWrite});
                asFile ? file.WriteToFile(target, count) : file.WriteToFile(handle, count);
            }
            std::int32_t const steps = std::min(size, (c.room / BlkSize + 1) * BlkSize);
            EXPECT_EQ(file.res, count < 0 ? ResCallError : fails ? c.res : ResDone);
            EXPECT_EQ(file.GetPos(), at + (fails ? steps : size));
            EXPECT_TRUE(ReadWhole(dir_.Bytes("target")) == "old" + PartOf(file, at, std::min(size, c.room)));
        }
    }
    HFile never;
    file.SetPos(2);
    file.WriteToFile(never, 0);
    EXPECT_EQ(file.res, ResCallError);
}

// Loading empties the file first. A named file is overwritten only when it may, from the first byte on.
TEST_F(VFileTransfer, NamedFiles) {
    for (char const* const name : {"held", "read", "free"}) WriteWhole(dir_.Bytes(name), name);
    WriteWhole(dir_.Bytes("large"), "");
    std::filesystem::resize_file(dir_.Path() / "large", kTwoGiB);
    HFile held, shared;
    ASSERT_TRUE(held.Open(dir_.Name("held").c_str()));
    ASSERT_TRUE(shared.OpenSeqRead(dir_.Name("read").c_str()));
    TString const noName(1, char16_t{0xD800});
    struct {
        TString name;
        std::uint32_t share;
        FileRes load;
        std::string content;  // loaded
        bool overwrite;
        FileRes save;
    } const kCases[] = {
        {dir_.Name("large"),   0, ResTooLong,      "",     false, ResAlreadyExists},
        {dir_.Name("free"),    0, ResDone,         "free", false, ResAlreadyExists},
        {dir_.Name("free"),    0, ResDone,         "free", true,  ResDone         },
        {dir_.Name("new"),     0, ResNotFound,     "",     false, ResDone         },
        {dir_.Name("no/file"), 0, ResIllegalPath,  "",     true,  ResIllegalPath  },
        {dir_.Name(""),        0, ResNoPermission, "",     true,  ResNoPermission },
        {dir_.Name("held"),    1, ResNoPermission, "",     true,  ResNoPermission },
        {dir_.Name("read"),    1, ResDone,         "read", true,  ResNoPermission },
        {dir_.Name("read"),    0, ResNoPermission, "",     true,  ResNoPermission },
        {noName,               0, ResIllegalName,  "",     true,  ResIllegalName  },
        {u"/dev/null",         1, ResDone,         "",     true,  ResDone         },
    };
    for (auto const& c : kCases) {
        TChar const* const name = c.name.c_str();
        SCOPED_TRACE(BytesFromName(name));
        for (bool const whole : {false, true}) {  // Load and Save, or ReadFile and WriteFile
            VFile file(kTen), readOnly(kTen);
            file.SetPos(4);
            whole ? file.Load(name, c.share) : file.ReadFile(name, c.share);
            EXPECT_EQ(file.res, c.load);
            EXPECT_EQ(file.GetPos(), whole ? 0 : 4 + static_cast<std::int32_t>(c.content.size()));
            EXPECT_EQ(file.Length(), whole ? static_cast<std::int32_t>(c.content.size()) : 10);
            readOnly.InclFlag(VFile::ReadOnly);
            readOnly.ReadFile(name, c.share);
            readOnly.WriteFile(name, true);
            EXPECT_EQ(readOnly.res, ResReadOnly);
        }
        for (bool const whole : {false, true}) {
            bool const overwrite = c.overwrite || (whole && c.save == ResDone);  // it is there now
            VFile file(kTen);
            file.SetPos(4);
            whole ? file.Save(name, overwrite) : file.WriteFile(name, overwrite);
            EXPECT_EQ(file.res, c.save);
            EXPECT_EQ(file.GetPos(), c.save == ResDone ? 10 : whole ? 0 : 4);
            bool const written = c.save == ResDone && c.share == 0;
            EXPECT_TRUE(!written || ReadWhole(BytesFromName(name)) == kTen);
        }
    }
    VFile file(kTen);
    file.Save(u"/dev/full", true);
    EXPECT_EQ(file.res, ResDiskFull);
    EXPECT_EQ(file.GetPos(), 10);
    EXPECT_EQ(ReadWhole(dir_.Bytes("held")) + ReadWhole(dir_.Bytes("read")), "heldread")
        << "cut by a refused opener";
}

TEST_F(VFileTransfer, LoadingConstructorsAndAssignment) {
    WriteWhole(dir_.Bytes("source"), Pattern(3000));
    void* const handle = HandleOf(Open("source", O_RDONLY));
    HFile source(handle);
    VFile const other("abcdefgh");
    VFile assigned(kTen);
    assigned = other;
    auto const check = [](VFile const& file, std::string const& bytes, FileRes res = ResDone) {
        EXPECT_EQ(AllBytes(file), bytes);
        EXPECT_EQ(file.GetPos(), static_cast<std::int32_t>(bytes.size()));
        EXPECT_EQ(file.res, res);
    };
    check(assigned, "abcdefgh");
    check(VFile('x', 3000), std::string(3000, 'x'));
    check(VFile(static_cast<signed char>(-1), 2), "\xff\xff");
    check(VFile('x', -1), "", ResCallError);
    check(VFile(handle, 1500), Pattern(3000).substr(0, 1500));
    check(VFile(source, MaxLen), Pattern(3000).substr(1500));
    check(VFile(source, 1), "", ResNotDone);
    check(VFile(InvalidHandle(), 1), "", ResCallError);
    check(VFile(other, 6), "gh");
    check(VFile(other, 2, 3), "cde");
    check(VFile(other, -2, 3), "", ResCallError);
}

}  // namespace
}  // namespace vfile::test
