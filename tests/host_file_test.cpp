#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vfile/host_file.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/halts.h"
#include "support/temp_dir.h"

namespace vfile::test {
namespace {

template <class T>
concept Adoptable = requires(T t) {
    HFile{t};
};
static_assert(Adoptable<void*> && Adoptable<void* const> && Adoptable<void*&>);
static_assert(!Adoptable<std::nullptr_t> && !Adoptable<char*> && !Adoptable<HFile*> && !Adoptable<int> &&
              !Adoptable<void const*>);
static_assert(!std::is_convertible_v<void*, HFile> && !std::is_copy_constructible_v<HFile> &&
              !std::is_copy_assignable_v<HFile> && !std::is_move_constructible_v<HFile>);
static_assert(std::has_virtual_destructor_v<HFile>);

template <class T>
concept Shown = requires(HFile& f, T t) {
    f << t;
};
template <class T>
concept Typed = Shown<T> || requires(HFile& f, T t) {
    f >> t;
} || requires(HFile& f, T t) {
    f.WriteByte(t);
} || requires(HFile& f, T t) {
    f.WriteChar(t);
} || requires(HFile& f, T t) {
    f.ReadChar(t);
} || requires(HFile& f, T t) {
    f.WriteWord(t);
} || requires(HFile& f, T t) {
    f.ReadWord(t);
} || requires(HFile& f, T t) {
    f.WriteDWord(t);
} || requires(HFile& f, T t) {
    f.ReadDWord(t);
} || requires(HFile& f, T t) {
    f.WriteQWord(t);
} || requires(HFile& f, T t) {
    f.ReadQWord(t);
} || requires(HFile& f, T t) {
    f.Write(t, 1);
};
enum Plain { kPlain };
enum class Scoped : short { kScoped };
static_assert(!Typed<bool> && !Typed<wchar_t> && !Typed<char16_t> && !Typed<char32_t> && !Typed<Plain> &&
              !Typed<Scoped> && !Typed<double> && !Typed<void*> && !Typed<std::nullptr_t>);
static_assert(Shown<short> && Shown<unsigned short> && Shown<int> && Shown<unsigned> && Shown<long> &&
              Shown<unsigned long> && Shown<long long> && Shown<unsigned long long> && Shown<char> &&
              Shown<signed char> && Shown<unsigned char> && Shown<char8_t> && Shown<char const*> &&
              Shown<char*>);

// A directory with `file` in it, and an object that has it open.
struct Opened {
    explicit Opened(std::string const& bytes = "0123456789") {
        WriteWhole(dir.Bytes("file"), bytes);
        EXPECT_TRUE(file.Open(dir.Name("file").c_str()));
    }
    std::string Close() {
        file.Close();
        return ReadWhole(dir.Bytes("file"));
    }
    TempDir dir;
    HFile file;
};

struct State {
    FileRes res;
    bool eof;
    std::int32_t pos;
    bool operator==(State const&) const = default;
};
State StateOf(HFile const& file) { return {file.res, file.eof, file.GetPos()}; }
std::ostream& operator<<(std::ostream& out, State const& s) {
    return out << "res " << s.res << (s.eof ? " eof" : "") << " pos " << s.pos;
}

struct OpenForm {
    char const* what;
    bool (*open)(HFile& file, TChar const* name);
    bool reads, writes, makes, keeps, empties;  // keeps: refuses an existing file
};
constexpr OpenForm kForms[] = {
    {"OpenSeqRead",         [](HFile& f, TChar const* n) { return f.OpenSeqRead(n); },           true,  false, false, false,
     false                                                                                                                        },
    {"CreateSeqWrite new",  [](HFile& f, TChar const* n) { return f.CreateSeqWrite(n, false); }, false, true,
     true,                                                                                                            true,  false},
    {"CreateSeqWrite over", [](HFile& f, TChar const* n) { return f.CreateSeqWrite(n, true); },  false, true,
     true,                                                                                                            false, true },
    {"Open",                [](HFile& f, TChar const* n) { return f.Open(n); },                  true,  true,  false, false, false},
    {"Create new",          [](HFile& f, TChar const* n) { return f.Create(n, false); },         true,  true,  true,  true,
     false                                                                                                                        },
    {"Create over",         [](HFile& f, TChar const* n) { return f.Create(n, true); },          true,  true,  true,  false,
     true                                                                                                                         },
    {"Lookup",              [](HFile& f, TChar const* n) { return f.Lookup(n, false); },         true,  true,  false, false, false},
    {"Lookup make",         [](HFile& f, TChar const* n) { return f.Lookup(n, true); },          true,  true,  true,  false,
     false                                                                                                                        },
};

TEST(HostFile, OpensInEightWays) {
    for (auto const& form : kForms) {
        SCOPED_TRACE(form.what);
        TempDir dir;
        auto const attempt = [&](TString const& name) {
            HFile file;
            file.res = 77;    // a stored failure is no obstacle
            file.eof = true;  // and eof is left alone
            bool const done = form.open(file, name.c_str());
            EXPECT_EQ(done, file.res == ResDone);
            EXPECT_EQ(done, file.IsOpen());
            EXPECT_TRUE(file.eof);
            return file.res;
        };
        WriteWhole(dir.Bytes("there"), "kept");
        EXPECT_EQ(attempt(dir.Name("there")), form.keeps ? ResAlreadyExists : ResDone);
        EXPECT_EQ(ReadWhole(dir.Bytes("there")), form.empties ? "" : "kept");
        EXPECT_EQ(attempt(dir.Name("missing")), form.makes ? ResDone : ResNotFound);
        EXPECT_EQ(std::filesystem::exists(dir.Bytes("missing")), form.makes);

        EXPECT_EQ(attempt(dir.Name("no/such")), ResIllegalPath);
        EXPECT_EQ(attempt(dir.Name("there/inside")), ResUnknownPath);
        std::filesystem::create_directory(dir.Bytes("directory"));
        EXPECT_EQ(attempt(dir.Name("directory")), form.keeps ? ResAlreadyExists : ResNoPermission);
        EXPECT_EQ(attempt(dir.Name(std::string(300, 'n'))), ResIllegalName);
        EXPECT_EQ(attempt(dir.Name("lone") + u'\xD800'), ResIllegalName);
        std::string const noUtf8 = "caf\xE9";
        WriteWhole(dir.Bytes(noUtf8), "x");
        EXPECT_EQ(attempt(dir.Name(noUtf8)), form.keeps ? ResAlreadyExists : ResDone);
        EXPECT_EQ(attempt(u"/dev/null"), form.keeps ? ResAlreadyExists : ResDone);

        chmod(dir.Bytes("there").c_str(), 0444);
        if (geteuid() != 0 && !form.keeps) {
            EXPECT_EQ(attempt(dir.Name("there")), form.writes ? ResNoPermission : ResDone);
        }
    }
}

// Every way of opening against every way that holds the file already.
TEST(HostFile, RefusesASecondOpener) {
    for (auto const& holder : kForms) {
        for (auto const& second : kForms) {
            SCOPED_TRACE(std::string(holder.what) + ", then " + second.what);
            TempDir dir;
            TString const name = dir.Name("file");
            if (!holder.keeps) WriteWhole(dir.Bytes("file"), "kept");
            HFile first, other;
            ASSERT_TRUE(holder.open(first, name.c_str()));
            std::string const held = ReadWhole(dir.Bytes("file"));
            bool const both = !holder.writes && !second.writes;
            EXPECT_EQ(second.open(other, name.c_str()), both);
            EXPECT_EQ(other.res, both ? ResDone : second.keeps ? ResAlreadyExists : ResNoPermission);
            EXPECT_EQ(ReadWhole(dir.Bytes("file")), held);
            first.Close();
            other.res = ResDone;
            if (!both && !second.keeps) {
                EXPECT_TRUE(second.open(other, name.c_str()));
            }
        }
    }
}

TEST(HostFile, TransfersInTheDirectionThatItWasOpenedFor) {
    for (auto const& form : kForms) {
        SCOPED_TRACE(form.what);
        TempDir dir;
        if (!form.keeps) WriteWhole(dir.Bytes("file"), "kept");
        HFile file;
        ASSERT_TRUE(form.open(file, dir.Name("file").c_str()));
        file.WriteBytes("ab", 2);
        EXPECT_EQ(file.res, form.writes ? ResDone : ResNoPermission);
        file.Reset();
        EXPECT_EQ(file.res, ResDone);
        char c = '#';
        file.ReadChar(c);
        EXPECT_EQ(file.res, form.reads ? ResDone : ResNoPermission);
        EXPECT_FALSE(file.eof);
        EXPECT_EQ(c, !form.reads ? '#' : form.writes ? 'a' : 'k');
        EXPECT_FALSE(form.open(file, dir.Name("other").c_str()));
        EXPECT_EQ(file.res, ResCallError);
        file.SetPos(1);
        EXPECT_EQ(StateOf(file), (State{ResDone, false, 1}));
        file.Truncate();
        EXPECT_EQ(file.res, form.writes ? ResDone : ResNoPermission);
        file.Flush();
        EXPECT_EQ(file.res, ResDone);
        EXPECT_EQ(file.Length(), form.writes ? 1 : 4);
        EXPECT_EQ(dir.Entries(), 1u);
    }
}

struct Step {
    char const* what;
    std::function<void(HFile&)> run;
    State want;  // on ten bytes with the position at 6
};

TEST(HostFile, PositionsAndBytesAtTheEdges) {
    char buf[20];
    std::vector<Step> const steps = {
        {"beyond the end is the end",      [](HFile& f) { f.SetPos(1000); },                        {ResDone, false, 10}    },
        {"negative",                       [](HFile& f) { f.SetPos(-1); },                          {ResCallError, false, 6}},
        {"from the start",                 [](HFile& f) { f.SetPos(3, 0); },                        {ResDone, false, 3}     },
        {"from here",                      [](HFile& f) { f.SetPos(-2, 1); },                       {ResDone, false, 4}     },
        {"from here, wrapping",            [](HFile& f) { f.SetPos(MaxLen, 1); },                   {ResDone, false, 10}    },
        {"from here, before the start",    [](HFile& f) { f.SetPos(INT32_MIN, 1); },                {ResCallError, false, 6}},
        {"from the end",                   [](HFile& f) { f.SetPos(-3, 2); },                       {ResDone, false, 7}     },
        {"from the end, before the start", [](HFile& f) { f.SetPos(-20, 2); },                      {ResCallError, false, 6}},
        {"no such origin",                 [](HFile& f) { f.SetPos(0, 3); },                        {ResCallError, false, 6}},
        {"negative origin",                [](HFile& f) { f.SetPos(0, -1); },                       {ResCallError, false, 6}},
        {"Reset",                          [](HFile& f) { f.Reset(); },                             {ResDone, false, 0}     },
        {"no bytes",                       [&](HFile& f) { EXPECT_EQ(f.ReadBytes(buf, 0), 0); },    {ResDone, true, 6}      },
        {"no bytes to nowhere",            [](HFile& f) { EXPECT_EQ(f.ReadBytes(nullptr, 0), 0); }, {ResDone, true, 6}      },
        {"all bytes",                      [&](HFile& f) { EXPECT_EQ(f.ReadBytes(buf, 4), 4); },    {ResDone, false, 10}    },
        {"too many",                       [&](HFile& f) { EXPECT_EQ(f.ReadBytes(buf, 10), 4); },   {ResDone, true, 10}     },
        {"too many, again",
         [&](HFile& f) {
             f.ReadBytes(buf, 10);
             EXPECT_EQ(f.ReadBytes(buf, 10), 0);
         },                                                                                         {ResDone, true, 10}     },
        {"less than none",                 [&](HFile& f) { EXPECT_EQ(f.ReadBytes(buf, -1), 0); },   {ResCallError, true, 6} },
        {"to nowhere",                     [](HFile& f) { EXPECT_EQ(f.ReadBytes(nullptr, 1), 0); }, {ResCallError, true, 6} },
        {"write less than none",           [&](HFile& f) { f.WriteBytes(buf, -1); },                {ResCallError, true, 6} },
        {"write from nowhere",             [](HFile& f) { f.WriteBytes(nullptr, 1); },              {ResCallError, true, 6} },
        {"write nothing from nowhere",     [](HFile& f) { f.WriteBytes(nullptr, 0); },              {ResDone, true, 6}      },
        {"write",                          [](HFile& f) { f.WriteBytes("abc", 3); },                {ResDone, true, 9}      },
        {"a run of none",                  [](HFile& f) { f.Write('x', 0); },                       {ResDone, true, 6}      },
        {"a run of less",                  [](HFile& f) { f.Write('x', -5); },                      {ResDone, true, 6}      },
        {"the empty text",                 [](HFile& f) { f.Write(""); },                           {ResDone, true, 6}      },
        {"a run",                          [](HFile& f) { f.Write('x', 3000); },                    {ResDone, true, 3006}   },
        {"cut",
         [](HFile& f) {
             f.Truncate();
             EXPECT_EQ(f.Length(), 6);
         },                                                                                         {ResDone, true, 6}      },
        {"closed",
         [](HFile& f) {
             f.Close();
             EXPECT_FALSE(f.IsOpen());
         },                                                                                         {ResDone, true, 0}      },
        {"closed twice",                   [](HFile& f) { f.Close(), f.Close(); },                  {ResCallError, true, 0} },
    };
    for (auto const& step : steps) {
        SCOPED_TRACE(step.what);
        Opened opened;
        opened.file.SetPos(6);
        opened.file.eof = true;
        step.run(opened.file);
        EXPECT_EQ(StateOf(opened.file), step.want);
    }
}

// Everything that moves bytes, on a file with a failure stored, and on a closed one.
TEST(HostFile, TransfersNothingOnceItFailed) {
    char buf[8] = "buffer";
    short word = 7;
    std::vector<std::function<void(HFile&)>> const transfers = {
        [&](HFile& f) { EXPECT_EQ(f.ReadBytes(buf, 4), 0); },
        [&](HFile& f) { EXPECT_EQ(f.ReadTxt(buf, 4, 0, 4), 0); },
        [&](HFile& f) { EXPECT_EQ(f.ReadLine(buf, 4), 0); },
        [&](HFile& f) { f.ReadWord(word); },
        [&](HFile& f) { f >> buf[0]; },
        [&](HFile& f) { f.WriteBytes("abc", 3); },
        [&](HFile& f) { f.Write('x', 3000); },
        [&](HFile& f) { f << "abc" << 'x' << 12; },
        [&](HFile& f) { f.WriteQWord(std::int64_t{1}), f.WriteLn(); },
    };
    for (FileRes const stored : {ResDiskFull, -5}) {
        for (auto const& transfer : transfers) {
            Opened opened;
            opened.file.SetPos(3);
            opened.file.eof = true;
            opened.file.res = stored;
            transfer(opened.file);
            EXPECT_EQ(StateOf(opened.file), (State{stored, true, 3}));
            EXPECT_EQ(opened.Close(), "0123456789");
        }
    }
    EXPECT_STREQ(buf, "buffer");
    EXPECT_EQ(word, 7);

    for (auto const& transfer : transfers) {
        HFile closed;
        transfer(closed);
        EXPECT_EQ(closed.res, ResCallError);
    }
    using Setter = void (*)(HFile&);
    for (Setter const set : std::initializer_list<Setter>{
             [](HFile& f) { f.SetPos(0); }, [](HFile& f) { f.SetPos(0, 1); }, [](HFile& f) { f.Truncate(); },
             [](HFile& f) { f.Flush(); }, [](HFile& f) { f.Close(); }}) {
        HFile closed(InvalidHandle());
        set(closed);
        EXPECT_EQ(closed.res, ResCallError);
    }
}

TEST(HostFile, ReportsAFullDevice) {
    HFile full;
    ASSERT_TRUE(full.OpenSeqRead(u"/dev/full"));
    full.Close();
    ASSERT_TRUE(full.CreateSeqWrite(u"/dev/full", true));
    full << "text" << 5;
    EXPECT_EQ(full.res, ResDiskFull);
    full.Write('x', 5);
    EXPECT_EQ(full.res, ResDiskFull);
}

TEST(HostFile, OwnsTheHandleThatItAdopts) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    {
        HFile write(HandleOf(ends[1]));
        write << "line\r\nnext\rlost";
        EXPECT_EQ(write.res, ResDone);
    }
    EXPECT_EQ(fcntl(ends[1], F_GETFD), -1);
    HFile read(HandleOf(ends[0]));
    char buf[40];
    EXPECT_EQ(read.ReadLine(buf, sizeof buf), 4);
    EXPECT_EQ(read.res, ResDone);
    EXPECT_EQ(read.GetPos(), 0);
    EXPECT_EQ(read.Length(), 0);
    EXPECT_EQ(read.ReadLine(buf, sizeof buf), 4);  // the byte looked at cannot go back
    EXPECT_STREQ(buf, "next");
    EXPECT_NE(read.res, ResDone);
    read.res = ResDone;
    EXPECT_EQ(read.ReadBytes(buf, sizeof buf), 3);
    EXPECT_TRUE(read.eof);
}

TEST(HostFile, TwoGiBAndMoreReadAsMaxLen) {
    Opened opened("");
    std::int64_t const far = std::int64_t{MaxLen} + 10;
    int const descriptor = open(opened.dir.Bytes("file").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(pwrite(descriptor, "ab\rcd\n", 6, far), 6);
    opened.file.SetPos(MaxLen);
    EXPECT_EQ(opened.file.Length(), MaxLen);
    char gap[10], line[10];
    EXPECT_EQ(opened.file.ReadBytes(gap, 10), 10);
    EXPECT_EQ(opened.file.GetPos(), MaxLen);
    EXPECT_EQ(opened.file.ReadLine(line, 10), 2);
    EXPECT_EQ(opened.file.ReadLine(line, 10), 2);  // the look behind the CR went back to the true position
    EXPECT_STREQ(line, "cd");
    close(descriptor);
}

TEST(HostFile, NumbersStandLowByteFirst) {
    Opened opened("");
    HFile& file = opened.file;
    file.WriteByte(0x01), file.WriteChar('b'), file.WriteChar(u8'c'), file.WriteWord(short{-2});
    file.WriteDWord(0x01020304), file.WriteQWord(0x0102030405060708LL), file.WriteLn(), file.Write("end");
    file.Write(static_cast<signed char>('!'), 2);
    std::string const want("\1bc\xFE\xFF\4\3\2\1\10\7\6\5\4\3\2\1\r\nend!!");
    file.Reset();
    unsigned char byte = 0;
    signed char character = 0;
    unsigned short word = 0;
    unsigned dword = 0;
    unsigned long long qword = 0;
    file.ReadByte(byte), file >> character, file.SetPos(3);
    file.ReadWord(word), file.ReadDWord(dword), file.ReadQWord(qword);
    EXPECT_EQ(byte, 1);
    EXPECT_EQ(character, 'b');
    EXPECT_EQ(word, 0xFFFE);
    EXPECT_EQ(dword, 0x01020304u);
    EXPECT_EQ(qword, 0x0102030405060708u);
    file.SetPos(-2, 2);
    dword = 0xAABBCCDD;
    file.ReadDWord(dword);
    EXPECT_EQ(dword, 0xAABB2121u);  // what arrived, the rest unchanged
    EXPECT_TRUE(file.eof);
    EXPECT_EQ(opened.Close(), want);
}

TEST(HostFile, ShowsNumbersInEveryBase) {
    std::string const ones(64, '1');
    struct {
        std::int32_t radix;
        std::function<void(HFile&)> show;
        std::string want;
    } const cases[] = {
        {10, [](HFile& f) { f << short{-5} << ' ' << -5 << ' ' << -5L << ' ' << -5LL; }, "-5 -5 -5 -5"                              },
        {10, [](HFile& f) { f << INT32_MIN << INT64_MIN; },                              "-2147483648-9223372036854775808"          },
        {10, [](HFile& f) { f << UINT32_MAX << ',' << UINT64_MAX; },                     "4294967295,18446744073709551615"          },
        {10, [](HFile& f) { f << 0 << static_cast<unsigned short>(65535) << "%"; },      "065535%"                                  },
        {16, [](HFile& f) { f << short{-1} << ' ' << -1 << ' ' << -1LL; },
         "ffffffff ffffffff ffffffffffffffff"                                                                                       },
        {16, [](HFile& f) { f << static_cast<unsigned short>(0xABCD); },                 "abcd"                                     },
        {2,  [](HFile& f) { f << -1LL; },                                                ones                                       },
        {2,  [](HFile& f) { f << -1 << '.' << 5u; },                                     ones.substr(32) + ".101"                   },
        {3,  [](HFile& f) { f << UINT64_MAX; },                                          "11112220022122120101211020120210210211220"},
        {36, [](HFile& f) { f << 35 << ' ' << -1; },                                     "z 1z141z3"                                },
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.want);
        Opened opened("");
        opened.file.radix = c.radix;
        c.show(opened.file);
        EXPECT_EQ(opened.Close(), c.want);
    }
    for (std::int32_t const radix : {1, 0, -10, 37, INT32_MIN}) {
        Opened opened("");
        opened.file.radix = radix;
        EXPECT_EQ(HaltOf([&] { opened.file << 5; }), "HFile, operator<<():\nradix out of range");
        EXPECT_EQ(opened.Close(), "");
    }
    Opened opened("");
    EXPECT_ASSERTION_STOP("HFile", opened.file.Write(static_cast<char const*>(nullptr)));
}

struct Line {
    std::string text;
    State after;
};

TEST(HostFile, ReadsLines) {
    struct {
        std::string bytes;
        std::int32_t size;
        std::vector<Line> lines;
    } const cases[] = {
        {"ab\r\ncd\ref\ngh",
         20,                       {{"ab", {ResDone, false, 4}},
          {"cd", {ResDone, false, 7}},
          {"ef", {ResDone, false, 10}},
          {"gh", {ResDone, true, 12}},
          {"", {ResDone, true, 12}}}                                            },
        {"ab\r",               20, {{"ab", {ResDone, false, 3}}, {"", {ResDone, true, 3}}}  },
        {"\r\r\n\n\r",
         20,                       {{"", {ResDone, false, 1}},
          {"", {ResDone, false, 3}},
          {"", {ResDone, false, 4}},
          {"", {ResDone, false, 5}},
          {"", {ResDone, true, 5}}}                                             },
        {"abcdefg\nh",         4,  {{"abc", {ResDone, false, 8}}, {"h", {ResDone, true, 9}}}},
        {"abcdefg\r\nh",       1,  {{"", {ResDone, false, 9}}, {"", {ResDone, true, 10}}}   },
        {std::string("a\0b\n", 4), 20,                                                        {{std::string("a\0b", 3), {ResDone, false, 4}}}},
        {"",                    20,                     {{"", {ResDone, true, 0}}}                                                        },
        {"abc",                    0,                  {{"#", {ResCallError, false, 0}}}},
        {"abc",                    -1,                  {{"#", {ResCallError, false, 0}}}                                                       },
    };
    for (auto const& c : cases) {
        Opened opened(c.bytes);
        for (auto const& line : c.lines) {
            SCOPED_TRACE(c.bytes + " -> " + line.text);
            std::string buf(30, '#');
            std::int32_t const got = opened.file.ReadLine(buf.data(), c.size);
            EXPECT_EQ(StateOf(opened.file), line.after);
            if (c.size < 1) {
                EXPECT_EQ(got, 0);
            } else {
                EXPECT_EQ(static_cast<std::size_t>(got), line.text.size());
                EXPECT_EQ(buf[line.text.size()], '\0');
            }
            EXPECT_EQ(buf.substr(0, line.text.size()), line.text);
            EXPECT_EQ(buf.substr(line.text.size() + 1), std::string(29 - line.text.size(), '#'));
        }
    }
    Opened opened;
    EXPECT_EQ(opened.file.ReadLine(nullptr, 5), 0);
    EXPECT_EQ(opened.file.res, ResCallError);
}

TEST(HostFile, ReadsStretches) {
    constexpr struct {
        std::int32_t size, pos, len;
        char const* want;  // null: refused
        std::int32_t posAfter;
    } kCases[] = {
        {4,   0,      10,     "012",        3 },
        {100, 8,      10,     "89",         10},
        {100, 50,     10,     "",           10},
        {100, 2,      MaxLen, "23456789",   10},
        {11,  0,      10,     "0123456789", 10},
        {10,  0,      10,     "012345678",  9 },
        {1,   5,      3,      "",           5 },
        {100, MaxLen, MaxLen, "",           10},
        {100, 3,      0,      "",           3 },
        {0,   0,      1,      nullptr,      6 },
        {5,   -1,     1,      nullptr,      6 },
        {5,   0,      -1,     nullptr,      6 },
    };
    for (auto const& c : kCases) {
        SCOPED_TRACE(c.want ? c.want : "refused");
        Opened opened;
        opened.file.SetPos(6);
        char buf[100] = "untouched";
        std::int32_t const got = opened.file.ReadTxt(buf, c.size, c.pos, c.len);
        EXPECT_EQ(StateOf(opened.file), (State{c.want ? ResDone : ResCallError, false, c.posAfter}));
        EXPECT_STREQ(buf, c.want ? c.want : "untouched");
        EXPECT_EQ(static_cast<std::size_t>(got), c.want ? std::strlen(c.want) : 0);
    }
}

}  // namespace
}  // namespace vfile::test
