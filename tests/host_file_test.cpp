#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vfile/host_file.h>

#include <cstring>
#include <functional>
#include <string>

#include "support/halts.h"
#include "support/temp_dir.h"

namespace vfile::test {
namespace {

template <class... T>
constexpr bool kNoneAdoptable = (!std::is_constructible_v<HFile, T> && ...);
static_assert(std::is_constructible_v<HFile, void*> && std::is_constructible_v<HFile, void* const&>);
static_assert(kNoneAdoptable<std::nullptr_t, char*, HFile*, int, void const*, HFile const&, HFile>);
static_assert(!std::is_convertible_v<void*, HFile> && !std::is_copy_assignable_v<HFile>);

template <class T>
concept Shown = requires(HFile& f, T t) {
    f << t;
};
template <class T>
concept Typed = requires(HFile& f, T t) {
    f >> t;
}
|| requires(HFile& f, T t) { f.WriteByte(t); };
enum Plain { kPlain };
enum class Scoped : short { kScoped };
template <class... T>
constexpr bool kNoneTyped = (!(Typed<T> || Shown<T>)&&...);
static_assert(kNoneTyped<bool, wchar_t, char16_t, char32_t, Plain, Scoped, double, void*, std::nullptr_t>);
template <class... T>
constexpr bool kAllShown = (Shown<T> && ...);
static_assert(kAllShown<short, int, long, long long, char, signed char, char8_t, char const*, char*>);
static_assert(kAllShown<unsigned short, unsigned, unsigned long, unsigned long long, unsigned char>);

// A directory with `file` in it, and an object that has it open, at the given position.
struct Opened {
    explicit Opened(std::string const& bytes = "0123456789", std::int32_t pos = 0) {
        WriteWhole(dir.Bytes("file"), bytes);
        EXPECT_TRUE(file.Open(dir.Name("file").c_str()));
        file.SetPos(pos);
    }
    std::string Close() {
        file.Close();
        return ReadWhole(dir.Bytes("file"));
    }
    void Expect(FileRes res, bool eof, std::int32_t pos) const {
        EXPECT_EQ(file.res, res);
        EXPECT_EQ(file.eof, eof);
        EXPECT_EQ(file.GetPos(), pos);
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
        TempDir dir;
        auto const attempt = [&](TString const& name) {
            HFile file;
            file.res = 77;    // a stored failure is no obstacle
            file.eof = true;  // and eof is left alone
            bool const done = form.open(file, name.c_str());
            EXPECT_TRUE(done == (file.res == ResDone) && done == file.IsOpen());
            EXPECT_TRUE(file.eof);
            return file.res;
        };
        FileRes const ofExisting = form.Does('k') ? ResAlreadyExists : ResDone;
        WriteWhole(dir.Bytes("there"), "kept");
        WriteWhole(dir.Bytes("caf\xE9"), "");
        std::filesystem::create_directory(dir.Bytes("directory"));
        EXPECT_EQ(attempt(dir.Name("there")), ofExisting);
        EXPECT_EQ(ReadWhole(dir.Bytes("there")), form.Does('e') ? "" : "kept");
        EXPECT_EQ(attempt(dir.Name("caf\xE9")), ofExisting);
        EXPECT_EQ(attempt(u"/dev/null"), ofExisting);
        EXPECT_EQ(attempt(dir.Name("missing")), form.Does('m') ? ResDone : ResNotFound);
        EXPECT_EQ(dir.Entries(), form.Does('m') ? 4u : 3u);
        EXPECT_EQ(attempt(dir.Name("directory")), form.Does('k') ? ResAlreadyExists : ResNoPermission);
        EXPECT_EQ(attempt(dir.Name("no/such")), ResIllegalPath);
        EXPECT_EQ(attempt(dir.Name("there/inside")), ResUnknownPath);
        EXPECT_EQ(attempt(dir.Name(std::string(300, 'n'))), ResIllegalName);
        EXPECT_EQ(attempt(dir.Name("lone") + u'\xD800'), ResIllegalName);
        chmod(dir.Bytes("there").c_str(), 0444);
        if (geteuid() != 0 && form.Does('w') && !form.Does('k')) {
            EXPECT_EQ(attempt(dir.Name("there")), ResNoPermission);
        }
    }
}

// Every way of opening against every way that holds the file already.
TEST(HostFile, RefusesASecondOpener) {
    for (auto const& holder : kForms) {
        for (auto const& second : kForms) {
            SCOPED_TRACE(std::string(holder.traits) + ", then " + second.traits);
            TempDir dir;
            TString const name = dir.Name("file");
            if (!holder.Does('k')) WriteWhole(dir.Bytes("file"), "kept");
            HFile first, other;
            ASSERT_TRUE(holder.open(first, name.c_str()));
            std::string const held = ReadWhole(dir.Bytes("file"));
            bool const both = !holder.Does('w') && !second.Does('w');
            EXPECT_EQ(second.open(other, name.c_str()), both);
            EXPECT_EQ(other.res, both ? ResDone : second.Does('k') ? ResAlreadyExists : ResNoPermission);
            EXPECT_EQ(ReadWhole(dir.Bytes("file")), held);
            first.Close();
            EXPECT_EQ(both || second.open(other, name.c_str()), !second.Does('k'));
        }
    }
}

TEST(HostFile, TransfersInTheDirectionThatItWasOpenedFor) {
    for (auto const& form : kForms) {
        SCOPED_TRACE(form.traits);
        TempDir dir;
        if (!form.Does('k')) WriteWhole(dir.Bytes("file"), "kept");
        HFile file;
        ASSERT_TRUE(form.open(file, dir.Name("file").c_str()));
        FileRes const ofWriting = form.Does('w') ? ResDone : ResNoPermission;
        file.WriteBytes("ab", 2);
        EXPECT_EQ(file.res, ofWriting);
        file.Reset();
        char c = '#';
        file.ReadChar(c);
        EXPECT_EQ(file.res, form.Does('r') ? ResDone : ResNoPermission);
        EXPECT_FALSE(file.eof);
        EXPECT_EQ(c, !form.Does('r') ? '#' : form.Does('w') ? 'a' : 'k');
        EXPECT_FALSE(form.open(file, dir.Name("other").c_str()));
        EXPECT_EQ(file.res, ResCallError);
        file.SetPos(1);
        EXPECT_EQ(file.res, ResDone);
        file.Truncate();
        EXPECT_EQ(file.res, ofWriting);
        file.Flush();
        EXPECT_EQ(file.res, ResDone);
        EXPECT_EQ(file.Length(), form.Does('w') ? 1 : 4);
        EXPECT_EQ(dir.Entries(), 1u);
    }
}

TEST(HostFile, GoesToPositions) {
    constexpr struct {
        std::int32_t offset, origin, pos;  // -1: refused
    } kCases[] = {
        {3,         0,  3 },
        {1000,      0,  10},
        {-1,        0,  -1},
        {-2,        1,  4 },
        {MaxLen,    1,  10},
        {INT32_MIN, 1,  -1},
        {-3,        2,  7 },
        {-20,       2,  -1},
        {0,         3,  -1},
        {0,         -1, -1},
    };
    for (auto const& c : kCases) {
        SCOPED_TRACE(std::to_string(c.offset) + " from " + std::to_string(c.origin));
        Opened opened("0123456789", 6);
        for (FileRes const stored : {ResDone, ResDiskFull}) {
            opened.file.SetPos(6);
            opened.file.res = stored;
            opened.file.eof = true;
            opened.file.SetPos(c.offset, c.origin);
            opened.Expect(c.pos < 0 ? ResCallError : ResDone, false, c.pos < 0 ? 6 : c.pos);
        }
    }
}

struct Step {
    std::int32_t (*run)(HFile& file, char* buf);
    std::int32_t got;
    FileRes res;
    bool eof;  // on ten bytes with the position at 6, eof true before
    std::int32_t pos;
};
constexpr Step kSteps[] = {
    {[](HFile& f, char* b) { return f.ReadBytes(b, 4); },                           4,    ResDone,      false, 10  },
    {[](HFile& f, char* b) { return f.ReadBytes(b, 10); },                          4,    ResDone,      true,  10  },
    {[](HFile& f, char* b) { return f.ReadBytes(b, 10), f.ReadBytes(b, 10); },      0,    ResDone,      true,  10  },
    {[](HFile& f, char* b) { return f.ReadBytes(b, 0) + f.ReadBytes(nullptr, 0); }, 0,    ResDone,      true,  6   },
    {[](HFile& f, char* b) { return f.ReadBytes(b, -1); },                          0,    ResCallError, true,  6   },
    {[](HFile& f, char*) { return f.ReadBytes(nullptr, 1); },                       0,    ResCallError, true,  6   },
    {[](HFile& f, char*) { return f.ReadLine(nullptr, 5); },                        0,    ResCallError, true,  6   },
    {[](HFile& f, char* b) { return f.ReadLine(b, 0); },                            0,    ResCallError, true,  6   },
    {[](HFile& f, char* b) { return f.ReadTxt(b, 0, 0, 1); },                       0,    ResCallError, true,  6   },
    {[](HFile& f, char* b) { return f.ReadTxt(b, 5, -1, 1); },                      0,    ResCallError, true,  6   },
    {[](HFile& f, char* b) { return f.ReadTxt(b, 5, 0, -1); },                      0,    ResCallError, true,  6   },
    {[](HFile& f, char* b) { return f.WriteBytes(b, -1), 0; },                      0,    ResCallError, true,  6   },
    {[](HFile& f, char*) { return f.WriteBytes(nullptr, 1), 0; },                   0,    ResCallError, true,  6   },
    {[](HFile& f, char*) { return f.WriteBytes(nullptr, 0), f.Write(""), 0; },      0,    ResDone,      true,  6   },
    {[](HFile& f, char*) { return f.Write('x', 0), f.Write('x', -5), 0; },          0,    ResDone,      true,  6   },
    {[](HFile& f, char*) { return f.Write('x', 3000), f.Length(); },                3006, ResDone,      true,  3006},
    {[](HFile& f, char*) { return f.Truncate(), f.Length(); },                      6,    ResDone,      true,  6   },
    {[](HFile& f, char*) { return f.Close(), f.Length(); },                         0,    ResDone,      true,  0   },
    {[](HFile& f, char*) { return f.Close(), f.Close(), 0; },                       0,    ResCallError, true,  0   },
};

TEST(HostFile, KeepsItsStateAtTheEdges) {
    for (auto const& step : kSteps) {
        SCOPED_TRACE(&step - kSteps);
        Opened opened("0123456789", 6);
        opened.file.eof = true;
        char buf[20] = "#";
        EXPECT_EQ(step.run(opened.file, buf), step.got);
        opened.Expect(step.res, step.eof, step.pos);
        EXPECT_EQ(buf[0], step.pos == 10 ? '6' : '#');
    }
}

// Everything that moves bytes, on a file with a failure stored, and on a closed one.
TEST(HostFile, TransfersNothingOnceItFailed) {
    char buf[8] = "buffer";
    short word = 7;
    std::function<void(HFile&)> const transfers[] = {
        [&](HFile& f) { f.ReadBytes(buf, 4), f.ReadWord(word), f >> buf[0]; },
        [&](HFile& f) { f.ReadTxt(buf, 4, 0, 4), f.ReadLine(buf, 4); },
        [&](HFile& f) { f << "abc" << 'x' << 12; },
        [&](HFile& f) { f.Write('x', 3000), f.WriteQWord(std::int64_t{1}), f.WriteLn(); },
    };
    for (auto const& transfer : transfers) {
        for (FileRes const stored : {ResDiskFull, -5}) {
            Opened opened("0123456789", 3);
            opened.file.eof = true;
            opened.file.res = stored;
            transfer(opened.file);
            opened.Expect(stored, true, 3);
            EXPECT_EQ(opened.Close(), "0123456789");
            EXPECT_STREQ(buf, "buffer");
            EXPECT_EQ(word, 7);
        }
    }
    for (auto const& transfer : transfers) {
        HFile closed(InvalidHandle());
        transfer(closed);
        EXPECT_EQ(closed.res, ResCallError);
    }
    HFile closed;
    for (auto const operation : {&HFile::Reset, &HFile::Truncate, &HFile::Flush, &HFile::Close}) {
        closed.res = ResDone;
        (closed.*operation)();
        EXPECT_EQ(closed.res, ResCallError);
    }
    ASSERT_TRUE(closed.CreateSeqWrite(u"/dev/full", true));
    closed << "text" << 5;
    EXPECT_EQ(closed.res, ResDiskFull);
}

TEST(HostFile, OwnsTheHandleThatItAdopts) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    HFile(HandleOf(ends[1])) << "line\r\nnext\rlost";
    EXPECT_EQ(fcntl(ends[1], F_GETFD), -1);
    HFile read(HandleOf(ends[0]));
    char buf[40];
    EXPECT_EQ(read.ReadLine(buf, sizeof buf), 4);
    EXPECT_EQ(read.res, ResDone);
    EXPECT_EQ(read.GetPos() + read.Length(), 0);
    EXPECT_EQ(read.ReadLine(buf, sizeof buf), 4);
    EXPECT_STREQ(buf, "next");
    EXPECT_NE(read.res, ResDone);  // the byte looked at cannot go back
    read.res = ResDone;
    EXPECT_EQ(read.ReadBytes(buf, sizeof buf), 3);
    EXPECT_TRUE(read.eof);
}

TEST(HostFile, TwoGiBAndMoreReadAsMaxLen) {
    Opened opened("");
    int const descriptor = open(opened.dir.Bytes("file").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(pwrite(descriptor, "ab\rcd\n", 6, std::int64_t{MaxLen} + 10), 6);
    close(descriptor);
    opened.file.SetPos(MaxLen);
    char buf[10];
    EXPECT_EQ(opened.file.ReadBytes(buf, 10), 10);
    EXPECT_EQ(opened.file.GetPos(), MaxLen);
    EXPECT_EQ(opened.file.Length(), MaxLen);
    EXPECT_EQ(opened.file.ReadLine(buf, 10), 2);
    EXPECT_EQ(opened.file.ReadLine(buf, 10), 2);  // the look behind the CR went back to the true position
    EXPECT_STREQ(buf, "cd");
}

TEST(HostFile, NumbersStandLowByteFirst) {
    Opened opened("");
    HFile& file = opened.file;
    file.WriteByte(0x01), file.WriteChar('b'), file.WriteChar(u8'c'), file.WriteWord(short{-2});
    file.WriteDWord(0x01020304), file.WriteQWord(0x0102030405060708LL), file.WriteLn(), file.Write("end");
    file.Write(static_cast<signed char>('!'), 2);
    file.Reset();
    unsigned char byte = 0, character = 0;
    unsigned short word = 0;
    unsigned dword = 0;
    unsigned long long qword = 0;
    file.ReadByte(byte), file >> character, file.SetPos(3);
    file.ReadWord(word), file.ReadDWord(dword), file.ReadQWord(qword);
    EXPECT_TRUE(byte == 1 && character == 'b' && word == 0xFFFE && dword == 0x01020304u);
    EXPECT_EQ(qword, 0x0102030405060708u);
    file.SetPos(-2, 2);
    dword = 0xAABBCCDD;
    file.ReadDWord(dword);
    EXPECT_EQ(dword, 0xAABB2121u);  // what arrived, the rest unchanged
    EXPECT_TRUE(file.eof);
    EXPECT_EQ(opened.Close(), "\1bc\xFE\xFF\4\3\2\1\10\7\6\5\4\3\2\1\r\nend!!");
}

TEST(HostFile, ShowsNumbersInEveryBase) {
    struct {
        std::int32_t radix;
        void (*show)(HFile&);
        std::string want;
    } const cases[] = {
        {10, [](HFile& f) { f << short{-5} << ' ' << -5 << ' ' << -5L << ' ' << -5LL; }, "-5 -5 -5 -5"                    },
        {10, [](HFile& f) { f << INT32_MIN << INT64_MIN; },                              "-2147483648-9223372036854775808"},
        {10, [](HFile& f) { f << UINT32_MAX << ',' << UINT64_MAX; },                     "4294967295,18446744073709551615"},
        {10, [](HFile& f) { f << 0 << static_cast<unsigned short>(65535) << "%"; },      "065535%"                        },
        {16, [](HFile& f) { f << short{-1} << ' ' << -1LL; },                            "ffffffff ffffffffffffffff"      },
        {16, [](HFile& f) { f << static_cast<unsigned short>(0xABCD); },                 "abcd"                           },
        {2,  [](HFile& f) { f << -1LL << '.' << 5u; },                                   std::string(64,                    '1') + ".101"},
        {3,  [](HFile& f) { f << UINT64_MAX; },                                                                            "11112220022122120101211020120210210211220"                                                                          },
        {36,  [](HFile& f) { f << 35 << ' ' << -1; },                                                                           "z 1z141z3"},
    };
    for (auto const& c : cases) {
        Opened opened("");
        opened.file.radix = c.radix;
        c.show(opened.file);
        EXPECT_EQ(opened.Close(), c.want);
    }
    HFile file;
    for (std::int32_t const radix : {1, 0, -10, 37, INT32_MIN}) {
        file.radix = radix;
        EXPECT_EQ(HaltOf([&] { file << 5; }), "HFile, operator<<():\nradix out of range");
    }
    EXPECT_ASSERTION_STOP("HFile", file.Write(static_cast<char const*>(nullptr)));
}

TEST(HostFile, ReadsLines) {
    struct {
        std::string bytes;
        std::int32_t size;
        std::string lines;  // each between bars with the position behind it, + for eof
    } const cases[] = {
        {"ab\r\ncd\ref\ngh",   20, "ab|4 cd|7 ef|10 gh|12+ |12+ "},
        {"ab\r",               20, "ab|3 |3+ "                   },
        {"\r\r\n\n\r",         20, "|1 |3 |4 |5 |5+ "            },
        {"abcdefg\nh",         4,  "abc|8 h|9+ "                 },
        {"abcdefg\r\nh",       1,  "|9 |10+ "                    },
        {std::string("a\0b\n", 4), 20,                             std::string("a\0b|4 ", 6)},
        {"",                  20,                    "|0+ |0+ "                                                },
    };
    for (auto const& c : cases) {
        Opened opened(c.bytes);
        std::string seen;
        while (seen.size() < c.lines.size()) {
            std::string buf(30, '#');
            auto const got = static_cast<std::size_t>(opened.file.ReadLine(buf.data(), c.size));
            EXPECT_EQ(opened.file.res, ResDone);
            EXPECT_EQ(buf[got], '\0');
            EXPECT_EQ(buf.substr(got + 1), std::string(29 - got, '#'));
            seen += buf.substr(0, got) + "|" + std::to_string(opened.file.GetPos());
            seen += opened.file.eof ? "+ " : " ";
        }
        EXPECT_EQ(seen, c.lines);
    }
}

TEST(HostFile, ReadsStretches) {
    constexpr struct {
        std::int32_t size, pos, len, posAfter;
        char const* want;
    } kCases[] = {
        {4,   0,      10,     3,  "012"       },
        {100, 8,      10,     10, "89"        },
        {11,  0,      10,     10, "0123456789"},
        {10,  0,      10,     9,  "012345678" },
        {100, 50,     10,     10, ""          },
        {1,   5,      3,      5,  ""          },
        {100, MaxLen, MaxLen, 10, ""          },
    };
    for (auto const& c : kCases) {
        Opened opened;
        char buf[100] = "#";
        EXPECT_EQ(static_cast<std::size_t>(opened.file.ReadTxt(buf, c.size, c.pos, c.len)),
                  std::strlen(c.want));
        EXPECT_STREQ(buf, c.want);
        opened.Expect(ResDone, false, c.posAfter);
    }
}

}  // namespace
}  // namespace vfile::test
