#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/errors.h"
#include "support/halts.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace vfile::test {
namespace {

// A directory with `file` in it, and an object that has it open.
struct Opened {
    explicit Opened(std::string const& bytes = "0123456789") {
        WriteWhole(dir.Bytes("file"), bytes);
        EXPECT_TRUE(file.Open(dir.Name("file").c_str()));
    }
    // "res pos", a plus for eof, and the bytes of the file unless they are as at first.
    std::string State() const {
        std::string const bytes = ReadWhole(dir.Bytes("file"));
        return std::to_string(file.res) + " " + std::to_string(file.GetPos()) + (file.eof ? "+" : "") +
               (bytes == "0123456789" ? "" : " " + bytes);
    }
    TempDir dir;
    HFile file;
};

constexpr struct {
    std::int32_t (*run)(HFile& file, char* buf);
    char const* after;  // on ten bytes with the position at 6, eof true before
} kSteps[] = {
    {[](HFile& f, char* b) { return f.ReadBytes(b, 10); },                          "4: 0 10+"              },
    {[](HFile& f, char* b) { return f.ReadBytes(b, 0) + f.ReadBytes(nullptr, 0); }, "0: 0 6+"               },
    {[](HFile& f, char* b) { return f.ReadBytes(b, -1); },                          "0: 2 6+"               },
    {[](HFile& f, char*) { return f.ReadBytes(nullptr, 1); },                       "0: 2 6+"               },
    {[](HFile& f, char* b) { return f.ReadLine(b, 0); },                            "0: 2 6+"               },
    {[](HFile& f, char* b) { return f.ReadTxt(b, 0, 0, 1); },                       "0: 2 6+"               },
    {[](HFile& f, char*) { return f.WriteBytes(nullptr, 1), 0; },                   "0: 2 6+"               },
    {[](HFile& f, char*) { return f.WriteBytes(nullptr, 0), f.Write('x', -5), 0; }, "0: 0 6+"               },
    {[](HFile& f, char*) { return f << "ab" << 'c', f.WriteLn(), 0; },              "0: 0 11+ 012345abc\r\n"},
    {[](HFile& f, char*) { return f.Flush(), 0; },                                  "0: 0 6+"               },
    {[](HFile& f, char*) { return f.Close(), 0; },                                  "0: 0 0+"               },
};

// Each step as it should go, with a failure stored, which lets nothing be transferred, and on a closed object.
TEST(HostFile, KeepsItsStateAtTheEdges) {
    for (auto const& step : kSteps) {
        SCOPED_TRACE(&step - kSteps);
        for (FileRes const stored : {ResDone, ResDiskFull, -5}) {
            Opened opened;
            opened.file.SetPos(6);
            opened.file.eof = true;
            opened.file.res = stored;
            char buf[20] = "#";
            std::int32_t const got = step.run(opened.file, buf);
            bool const idle = stored != ResDone && &step < std::end(kSteps) - 2;
            EXPECT_EQ(std::to_string(got) + ": " + opened.State(),
                      idle ? "0: " + std::to_string(stored) + " 6+" : step.after);
            EXPECT_EQ(buf[0], got == 4 ? '6' : '#');
        }
        HFile closed;
        char buf[20];
        step.run(closed, buf);
        EXPECT_TRUE(closed.res == ResCallError || step.after == std::string("0: 0 6+"));
    }
    HFile full;
    ASSERT_TRUE(full.CreateSeqWrite(u"/dev/full", true));
    full << "text" << 5;
    EXPECT_EQ(full.res, ResDiskFull);
}

TEST(HostFile, GoesToPositionsAndReadsStretches) {
    Opened opened;
    HFile& file = opened.file;
    for (std::int32_t origin : {-1, 0, 1, 2, 3}) {
        for (std::int32_t offset : {INT32_MIN, -4, -1, 0, 3, MaxLen}) {
            file.SetPos(6);
            file.res = offset % 2 == 0 ? ResDone : ResDiskFull;
            file.eof = true;
            file.SetPos(offset, origin);
            std::int64_t const to = offset + std::int64_t{origin == 1 ? 6 : origin == 2 ? 10 : 0};
            bool const refused = origin < 0 || origin > 2 || to < 0;
            EXPECT_EQ(opened.State(), refused ? "2 6" : "0 " + std::to_string(std::min<std::int64_t>(to, 10)))
                << offset << " from " << origin;
        }
    }
    char buf[9] = "#";
    file.Reset();
    EXPECT_TRUE(file.ReadTxt(buf, 4, 8, 5) == 2 && std::string(buf) == "89" && file.GetPos() == 10 &&
                !file.eof);
    EXPECT_TRUE(file.ReadTxt(buf, 4, 5, MaxLen) == 3 && std::string(buf) == "567" && file.GetPos() == 8);
    EXPECT_TRUE(file.ReadTxt(buf, 9, 50, 5) == 0 && *buf == 0 && file.GetPos() == 10);
}

// What of the system's errors gets a code of its own, and the first words of each; what no row names is "not done".
TEST(Result, EveryErrorHasItsCode) {
    // clang-format off
    std::map<int, FileRes> const codes{{0, 0}, {ENOENT, 14}, {EMFILE, 20}, {ENFILE, 20}, {EACCES, 17}, {EPERM, 17}, {EISDIR, 17}, {EBADF, 2}, {ENOMEM, 5}, {EROFS, 4},
        {EIO, 22}, {ETXTBSY, 17}, {EBUSY, 17}, {EOPNOTSUPP, 18}, {ENETDOWN, 24}, {ENETUNREACH, 24}, {ESTALE, 24}, {ETIMEDOUT, 24}, {ENODEV, 21}, {ENXIO, 21}, {EEXIST, 6},
        {EINVAL, 2}, {ENOSPC, 15}, {EDQUOT, 15}, {EFBIG, 15}, {ENOSYS, 19}, {ENAMETOOLONG, 10}, {EILSEQ, 10}, {ELOOP, 9}, {ENOTDIR, 13}};
    for (int error = 0; error < 200; ++error) {
        platform::Fail(error);
        EXPECT_EQ(GetFileRes(), codes.count(error) ? codes.at(error) : ResNotDone) << error;
    }
    // clang-format on
    TChar text[20], cut[6];
    GetTextResMsg(text, std::size(text), ResHeapOverflow);
    HFile::GetResMsg(cut, std::size(cut), ResHeapOverflow);
    EXPECT_TRUE(TString(text) == u"not enough memory" && TString(cut) == u"heap ");
    EXPECT_ASSERTION_STOP("HSys", GetTextResMsg(nullptr, 6, ResDone));
}

}  // namespace
}  // namespace vfile::test
