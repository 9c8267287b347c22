#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/host_file.h>

#include <cerrno>
#include <map>
#include <sstream>
#include <string>

#include "platform/posix/errors.h"
#include "support/halts.h"
#include "support/temp_dir.h"

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

struct OpenForm {
    bool (*open)(HFile& file, TChar const* name);
    std::string_view
        traits;  // reads, writes, makes a missing file, empties or keeps (refuses) an existing one
    bool Does(char trait) const { return traits.find(trait) != traits.npos; }
};
constexpr OpenForm kForms[] = {
    {[](HFile& f, TChar const* n) { return f.OpenSeqRead(n); },           "r"   },
    {[](HFile& f, TChar const* n) { return f.CreateSeqWrite(n, false); }, "wmk" },
    {[](HFile& f, TChar const* n) { return f.CreateSeqWrite(n, true); },  "wme" },
    {[](HFile& f, TChar const* n) { return f.Open(n); },                  "rw"  },
    {[](HFile& f, TChar const* n) { return f.Create(n, true); },          "rwme"},
    {[](HFile& f, TChar const* n) { return f.Lookup(n, true); },          "rwm" },
};

TEST(HostFile, OpensInManyWays) {
    for (auto const& form : kForms) {
        SCOPED_TRACE(form.traits);
        bool const reads = form.Does('r'), writes = form.Does('w'), keeps = form.Does('k');
        TempDir dir;
        HFile file;
        auto const open = [&](std::string const& name) {
            file.Close();
            file.res = 77;    // a stored failure is no obstacle
            file.eof = true;  // and eof is left alone
            bool const done = form.open(file, dir.Name(name).c_str());
            EXPECT_TRUE(done == (file.res == ResDone) && done == file.IsOpen() && file.eof);
            return file.res;
        };
        WriteWhole(dir.Bytes("there"), "kept");
        std::filesystem::create_directory(dir.Bytes("directory"));
        EXPECT_EQ(open("caf\xE9"), form.Does('m') ? ResDone : ResNotFound);
        EXPECT_EQ(dir.Entries(), form.Does('m') ? 3u : 2u);
        EXPECT_EQ(open("directory"), keeps ? ResAlreadyExists : ResNoPermission);
        EXPECT_EQ(open("there"), keeps ? ResAlreadyExists : ResDone);
        EXPECT_EQ(ReadWhole(dir.Bytes("there")), form.Does('e') ? "" : "kept");
        std::string const held = keeps ? "new" : "there";
        EXPECT_EQ(open(held), ResDone);
        for (auto const& second : kForms) {
            HFile other;
            bool const both = !writes && !second.Does('w');
            EXPECT_EQ(second.open(other, dir.Name(held).c_str()), both) << second.traits;
            EXPECT_EQ(other.res, both ? ResDone : second.Does('k') ? ResAlreadyExists : ResNoPermission);
        }
        file.WriteBytes("ab", 2);
        EXPECT_EQ(file.res, writes ? ResDone : ResNoPermission);
        char c = '#';
        file.Reset();
        file.ReadChar(c);
        EXPECT_EQ(c, !reads ? '#' : writes ? 'a' : 'k');
        EXPECT_TRUE(file.res == (reads ? ResDone : ResNoPermission) && !file.eof);
        file.SetPos(1);
        file.Truncate();
        EXPECT_EQ(file.res, writes ? ResDone : ResNoPermission);
        EXPECT_TRUE(!form.open(file, dir.Name("other").c_str()) && file.res == ResCallError);
        EXPECT_EQ(file.Length(), writes ? 1 : 4);
    }
}

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
    EXPECT_TRUE(file.ReadTxt(buf, 4, 8, 5) == 2 && std::string(buf) == "89" && file.GetPos() == 10);
    EXPECT_TRUE(file.ReadTxt(buf, 4, 5, MaxLen) == 3 && std::string(buf) == "567" && file.GetPos() == 8);
    EXPECT_TRUE(file.ReadTxt(buf, 9, 50, 5) == 0 && *buf == 0 && file.GetPos() == 10);
}

// What of the system's errors gets a code of its own, and the first words of each; what no row names is "not done".
TEST(Result, EveryErrorHasItsCodeAndEveryCodeItsWords) {
    // clang-format off
    std::map<int, FileRes> const codes{{0, 0}, {ENOENT, 14}, {EMFILE, 20}, {ENFILE, 20}, {EACCES, 17}, {EPERM, 17}, {EISDIR, 17}, {EBADF, 2}, {ENOMEM, 5}, {EROFS, 4},
        {EIO, 22}, {ETXTBSY, 17}, {EBUSY, 17}, {EOPNOTSUPP, 18}, {ENETDOWN, 24}, {ENETUNREACH, 24}, {ESTALE, 24}, {ETIMEDOUT, 24}, {ENODEV, 21}, {ENXIO, 21}, {EEXIST, 6},
        {EINVAL, 2}, {ENOSPC, 15}, {EDQUOT, 15}, {EFBIG, 15}, {ENOSYS, 19}, {ENAMETOOLONG, 10}, {EILSEQ, 10}, {ELOOP, 9}, {ENOTDIR, 13}};
    for (int error = 0; error < 200; ++error) {
        platform::Fail(error);
        EXPECT_EQ(GetFileRes(), codes.count(error) ? codes.at(error) : ResNotDone) << error;
    }
    std::istringstream words("unknown error code|done|not done|call error|context error|read only|not enough memory|already exists|already open|illegal drive|illegal path|"
        "illegal name|illegal file|unknown drive|unknown path|not found|disk full|too long|no permission|not supported|not implemented|too many files|device off|"
        "disk parity error|hardware error|network error|unknown error code");
    // clang-format on
    HFile file;
    file.res = -1;
    for (std::string word; std::getline(words, word, '|'); ++file.res) {
        TChar text[20], cut[6];
        GetTextResMsg(text, std::size(text), file.res);
        EXPECT_EQ(text, NameFromBytes(word));
        HFile::GetResMsg(cut, std::size(cut), file.res);
        EXPECT_EQ(cut, file.res == ResHeapOverflow ? u"heap " : TString(text).substr(0, 5));
        EXPECT_EQ(GetFileRes(file), 0 <= file.res && file.res <= 24 ? file.res : ResNotDone);
    }
    EXPECT_ASSERTION_STOP("HSys", GetTextResMsg(nullptr, 6, ResDone));
}

}  // namespace
}  // namespace vfile::test
