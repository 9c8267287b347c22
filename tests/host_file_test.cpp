#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/host_file.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <tuple>

#include "platform/platform.h"
#include "support/halts.h"
#include "support/temp_dir.h"

namespace vfile::test {
namespace {

template <class T>
concept Shown = requires(HFile& f, T t) {
    f << t;
};
template <class T>
concept Typed = Shown<T> || requires(HFile& f, T t) {
    f >> t;
} || requires(HFile& f, T t) {
    f.WriteByte(t);
};
enum Plain { kPlain };
enum class Scoped : short { kScoped };
template <class... T>
constexpr int kShown = (Shown<T> + ...);
template <class... T>
constexpr int kTyped = (Typed<T> + ...);
template <class... T>
constexpr int kAdopted = (std::is_constructible_v<HFile, T> + ...);
static_assert(kShown<short, int, long, long long, char, signed char, char8_t, char const*, char*> == 9);
static_assert(kShown<unsigned short, unsigned, unsigned long, unsigned long long, unsigned char> == 5);
static_assert(kTyped<bool, wchar_t, char16_t, char32_t, Plain, Scoped, double, void*, std::nullptr_t> == 0);
static_assert(kAdopted<std::nullptr_t, char*, HFile*, int, void const*, HFile const&, HFile> == 0);
static_assert(kAdopted<void*, void* const&> == 2 && !std::is_convertible_v<void*, HFile>);

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
    char const* traits;  // reads, writes, makes a missing file, empties or keeps (refuses) an existing one
    bool Does(char trait) const { return std::strchr(traits, trait) != nullptr; }
};
constexpr OpenForm kForms[] = {
    {[](HFile& f, TChar const* n) { return f.OpenSeqRead(n); },           "r"   },
    {[](HFile& f, TChar const* n) { return f.CreateSeqWrite(n, false); }, "wmk" },
    {[](HFile& f, TChar const* n) { return f.CreateSeqWrite(n, true); },  "wme" },
    {[](HFile& f, TChar const* n) { return f.Open(n); },                  "rw"  },
    {[](HFile& f, TChar const* n) { return f.Create(n, false); },         "rwmk"},
    {[](HFile& f, TChar const* n) { return f.Create(n, true); },          "rwme"},
    {[](HFile& f, TChar const* n) { return f.Lookup(n, false); },         "rw"  },
    {[](HFile& f, TChar const* n) { return f.Lookup(n, true); },          "rwm" },
};

TEST(HostFile, OpensInEightWays) {
    for (auto const& form : kForms) {
        SCOPED_TRACE(form.traits);
        bool const writes = form.Does('w'), makes = form.Does('m'), keeps = form.Does('k');
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
        EXPECT_EQ(open("caf\xE9"), makes ? ResDone : ResNotFound);
        EXPECT_EQ(dir.Entries(), makes ? 3u : 2u);
        EXPECT_EQ(open("directory"), keeps ? ResAlreadyExists : ResNoPermission);
        EXPECT_EQ(open("there"), keeps ? ResAlreadyExists : ResDone);
        std::string const held = keeps ? "new" : "there", bytes = form.Does('e') ? "" : "kept";
        EXPECT_EQ(ReadWhole(dir.Bytes("there")), bytes);
        EXPECT_EQ(open(held), ResDone);
        for (auto const& second : kForms) {
            HFile other;
            bool const both = !writes && !second.Does('w');
            EXPECT_EQ(second.open(other, dir.Name(held).c_str()), both) << second.traits;
            EXPECT_EQ(other.res, both ? ResDone : second.Does('k') ? ResAlreadyExists : ResNoPermission);
        }
        FileRes const ofWriting = writes ? ResDone : ResNoPermission;
        file.WriteBytes("ab", 2);
        EXPECT_EQ(file.res, ofWriting);
        file.Reset();
        char c = '#';
        file.ReadChar(c);
        EXPECT_TRUE(file.res == (form.Does('r') ? ResDone : ResNoPermission) && !file.eof);
        EXPECT_EQ(c, !form.Does('r') ? '#' : writes ? 'a' : 'k');
        file.SetPos(1);
        file.Truncate();
        EXPECT_EQ(file.res, ofWriting);
        EXPECT_FALSE(form.open(file, dir.Name("other").c_str()));
        EXPECT_EQ(file.res, ResCallError);
        EXPECT_EQ(file.Length(), writes ? 1 : 4);
    }
}

constexpr struct {
    std::int32_t (*run)(HFile& file, char* buf);
    char const* after;  // on ten bytes with the position at 6, eof true before
} kSteps[] = {
    {[](HFile& f, char* b) { return f.ReadBytes(b, 4); },                           "4: 0 10"               },
    {[](HFile& f, char* b) { return f.ReadBytes(b, 10); },                          "4: 0 10+"              },
    {[](HFile& f, char* b) { return f.ReadBytes(b, 0) + f.ReadBytes(nullptr, 0); }, "0: 0 6+"               },
    {[](HFile& f, char* b) { return f.ReadBytes(b, -1); },                          "0: 2 6+"               },
    {[](HFile& f, char*) { return f.ReadBytes(nullptr, 1); },                       "0: 2 6+"               },
    {[](HFile& f, char*) { return f.ReadLine(nullptr, 5); },                        "0: 2 6+"               },
    {[](HFile& f, char* b) { return f.ReadLine(b, 0); },                            "0: 2 6+"               },
    {[](HFile& f, char* b) { return f.ReadTxt(b, 0, 0, 1); },                       "0: 2 6+"               },
    {[](HFile& f, char* b) { return f.ReadTxt(b, 5, -1, 1); },                      "0: 2 6+"               },
    {[](HFile& f, char* b) { return f.ReadTxt(b, 5, 0, -1); },                      "0: 2 6+"               },
    {[](HFile& f, char* b) { return f.WriteBytes(b, -1), 0; },                      "0: 2 6+"               },
    {[](HFile& f, char*) { return f.WriteBytes(nullptr, 1), 0; },                   "0: 2 6+"               },
    {[](HFile& f, char*) { return f.WriteBytes(nullptr, 0), f.Write('x', -5), 0; }, "0: 0 6+"               },
    {[](HFile& f, char*) { return f << "ab" << 'c', f.WriteLn(), 0; },              "0: 0 11+ 012345abc\r\n"},
    {[](HFile& f, char*) { return f.Truncate(), 0; },                               "0: 0 6+ 012345"        },
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
            bool const idle = stored != ResDone && &step < std::end(kSteps) - 3;
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
    std::string const bytes = "0123456789";
    Opened opened(bytes);
    HFile& file = opened.file;
    for (std::int32_t origin : {-1, 0, 1, 2, 3}) {
        for (std::int32_t offset : {INT32_MIN, -20, -4, -1, 0, 3, 1000, MaxLen}) {
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
    for (std::int32_t pos : {0, 8, 10, 50, MaxLen}) {
        for (std::int32_t size : {1, 4, 10, 11, 100}) {
            std::int32_t const len = size == 10 ? MaxLen : 5;
            auto const from = static_cast<std::size_t>(std::min(pos, 10));
            std::string const want = bytes.substr(from, static_cast<std::size_t>(std::min(len, size - 1)));
            char buf[100] = "#";
            file.res = ResDone;
            EXPECT_EQ(file.ReadTxt(buf, size, pos, len), std::ssize(want));
            EXPECT_EQ(buf, want) << pos << ' ' << size;
            EXPECT_EQ(opened.State(), "0 " + std::to_string(from + want.size()));
        }
    }
}

TEST(HostFile, ReadsLinesAndBehindTwoGiB) {
    struct {
        std::string bytes;
        std::int32_t size;
        std::string lines;  // each between bars with the position behind it, + for eof
    } const cases[] = {
        {"ab\r\ncd\ref\ngh", 20, "ab|4 cd|7 ef|10 gh|12+ |12+ "},
        {"ab\r",             20, "ab|3 |3+ "                   },
        {"\r\r\n\n\r",       20, "|1 |3 |4 |5 |5+ "            },
        {"abcdefg\nh",       4,  "abc|8 h|9+ "                 },
        {"abcdefg\r\nh",     1,  "|9 |10+ "                    },
    };
    char buf[30];
    for (auto const& c : cases) {
        Opened opened(c.bytes);
        std::string seen;
        while (seen.size() < c.lines.size()) {
            std::memset(buf, '#', sizeof buf);
            std::int32_t const got = opened.file.ReadLine(buf, c.size);
            EXPECT_EQ(got, std::ssize(std::string(buf)));
            EXPECT_EQ(buf[c.size], '#');
            seen += buf + ("|" + std::to_string(opened.file.GetPos())) + (opened.file.eof ? "+ " : " ");
        }
        EXPECT_EQ(seen, c.lines);
    }
    Opened opened("");
    int const descriptor = open(opened.dir.Bytes("file").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(pwrite(descriptor, "0123456789ab\rcd\n", 16, MaxLen), 16);
    HFile(HandleOf(descriptor)).Flush();
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << "an adopted handle is owned";
    opened.file.SetPos(MaxLen);
    EXPECT_EQ(opened.file.ReadBytes(buf, 10), 10);
    EXPECT_TRUE(opened.file.GetPos() == MaxLen && opened.file.Length() == MaxLen);
    opened.file.ReadLine(buf, 10);
    opened.file.ReadLine(buf, 10);  // the look behind the CR went back to the true position
    EXPECT_STREQ(buf, "cd");
}

TEST(HostFile, NumbersStandLowByteFirst) {
    Opened opened("");
    HFile& file = opened.file;
    file.WriteByte(1), file << 'b' << u8'c', file.WriteWord(short{-2}), file.WriteDWord(0x01020304);
    file.WriteQWord(0x0102030405060708LL), file.Write(static_cast<signed char>('!'), 3000);
    EXPECT_EQ(opened.State(), "0 3017 \1bc\xFE\xFF\4\3\2\1\10\7\6\5\4\3\2\1" + std::string(3000, '!'));
    unsigned short word = 0;
    unsigned dword = 0;
    unsigned long long qword = 0;
    file.SetPos(3), file.ReadWord(word), file.ReadDWord(dword), file.ReadQWord(qword);
    EXPECT_TRUE(word == 0xFFFE && dword == 0x01020304u && qword == 0x0102030405060708u);
    file.SetPos(-2, 2), file.ReadDWord(dword);
    EXPECT_TRUE(dword == 0x01022121u && file.eof) << "what arrived, the rest unchanged";
}

TEST(HostFile, ShowsNumbersInEveryBase) {
    std::string const ones(64, '1'), noughts(63, '0'),
        binary = "0 " + ones.substr(35) + "011 1" + noughts.substr(32) + " 1" + noughts + " " +
                 ones.substr(32) + " " + ones;
    std::tuple<int, std::string> const cases[] = {
        {2,  binary                                                                 },
        {10, "0 -5 -2147483648 -9223372036854775808 4294967295 18446744073709551615"},
        {16, "0 fffffffb 80000000 8000000000000000 ffffffff ffffffffffffffff"       },
        {36, "0 1z141yz zik0zk 1y2p0ij32e8e8 1z141z3 3w5e11264sgsf"                 },
    };
    for (auto const& [radix, want] : cases) {
        Opened opened("");
        opened.file.radix = radix;
        opened.file << 0 << ' ' << short{-5} << ' ' << INT32_MIN << ' ' << INT64_MIN << ' ' << UINT32_MAX
                    << ' ' << UINT64_MAX;
        EXPECT_EQ(ReadWhole(opened.dir.Bytes("file")), want);
    }
    HFile file;
    for (std::int32_t const radix : {1, -10, 37, INT32_MIN}) {
        file.radix = radix;
        EXPECT_EQ(HaltOf([&] { file << 5; }), "HFile, operator<<():\nradix out of range");
    }
    EXPECT_ASSERTION_STOP("HFile", file.Write(static_cast<char const*>(nullptr)));
}

TEST(Result, EveryCodeHasItsWords) {
    std::istringstream words(
        "unknown error code|done|not done|call error|context error|read only|heap overflow|already exists|"
        "already open|illegal drive|illegal path|illegal name|illegal file|unknown drive|unknown path|not "
        "found|"
        "disk full|too long|no permission|not supported|not implemented|too many files|device off|"
        "disk parity error|hardware error|network error|unknown error code");
    HFile file;
    file.res = -1;
    for (std::string word; std::getline(words, word, '|'); ++file.res) {
        TChar text[20], ofHFile[6];
        GetTextResMsg(text, std::size(text), file.res);
        HFile::GetResMsg(ofHFile, std::size(ofHFile), file.res);
        EXPECT_EQ(text, NameFromBytes(file.res == ResHeapOverflow ? "not enough memory" : word));
        EXPECT_EQ(ofHFile, NameFromBytes(word.substr(0, 5))) << "cut to what fits";
        EXPECT_EQ(GetFileRes(file), 0 <= file.res && file.res <= 24 ? file.res : ResNotDone);
    }
    EXPECT_EQ(file.res, ResNetworkError + 2);
    EXPECT_ASSERTION_STOP("HSys", GetTextResMsg(nullptr, 6, ResDone));
}

// All 65536 numbers: what no entry names is "not done".
TEST(Result, TranslatesTheSystemsErrors) {
    std::istringstream entries(
        "0:0 1:2 2:14 3:9 4:20 5:17 6:2 8:5 12:17 14:5 15:8 19:4 20:8 23:22 32:17 33:17 36:20 39:15 50:18 "
        "51:21 "
        "52:10 53:13 54:24 55:21 65:17 80:6 87:2 112:15 120:19 123:10 161:9 183:6 267:13 1006:11 65536:0");
    std::uint32_t error = 0, named = 0;  // what no entry names is "not done"
    FileRes res = ResDone;
    for (char colon; entries >> named >> colon >> res;) {
        for (; error <= named; ++error) {
            platform::SetLastError(error | 0x80070000);
            ASSERT_EQ(GetFileRes(), error == named ? res : ResNotDone) << error;
        }
    }
}

}  // namespace
}  // namespace vfile::test
