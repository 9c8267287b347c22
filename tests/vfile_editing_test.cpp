// The typed editing forms: what each passes on to the operation behind it, and what the file is like afterwards.
#include <gtest/gtest.h>
#include <vfile.h>

#include <thread>

#include "support/cut_file.h"
#include "support/halts.h"
#include "support/host_source.h"
#include "support/twin.h"

namespace vfile::test {
namespace {

std::string Told(std::int32_t n) {
    return n == SameLen ? "SameLen" : n == MaxLen ? "MaxLen" : std::to_string(n);
}

std::string CallText(char const* operation, std::int32_t start, std::int32_t delLen,
                     std::string const& source) {
    return std::string(operation) + '(' + Told(start) + ", " + Told(delLen) + ", " + source + ')';
}

// Notes each call of an operation that an editing form makes, but not those that the operations make themselves.
class Recorder : public VFile {
public:
    using VFile::VFile;
    using VFile::operator=;
    using VFile::ReplaceCh;
    using VFile::ReplaceFile;
    std::string calls;
    mutable int asked = 0;

    void ReplaceBuf(std::int32_t start, std::int32_t delLen, void const* data, std::int32_t n) override {
        std::string const bytes =
            data ? "'" + std::string(static_cast<char const*>(data), std::size_t(n)) + "'" : "null";
        Note(CallText("Buf", start, delLen, bytes + ", " + Told(n)),
             [&] { VFile::ReplaceBuf(start, delLen, data, n); });
    }
    void ReplaceCh(std::int32_t start, std::int32_t delLen, char ch, std::int32_t n) override {
        Note(CallText("Ch", start, delLen, std::string(1, ch) + ", " + Told(n)),
             [&] { VFile::ReplaceCh(start, delLen, ch, n); });
    }
    void ReplaceTxt(std::int32_t start, std::int32_t delLen, VFile const& src, std::int32_t from,
                    std::int32_t n) override {
        Note(CallText("Txt", start, delLen, AllBytes(src) + ", " + Told(from) + ", " + Told(n)),
             [&] { VFile::ReplaceTxt(start, delLen, src, from, n); });
    }
    void ReplaceFile(std::int32_t start, std::int32_t delLen, HFile& file, std::int32_t n) override {
        Note(CallText("File", start, delLen, Told(n)), [&] { VFile::ReplaceFile(start, delLen, file, n); });
    }
    void ReplaceFile(std::int32_t start, std::int32_t delLen, void* handle, std::int32_t n) override {
        Note(CallText("Handle", start, delLen, Told(n)),
             [&] { VFile::ReplaceFile(start, delLen, handle, n); });
    }

protected:
    std::int32_t PreChange(std::int32_t, std::int32_t, std::int32_t) const override {
        return ++asked, ResDone;
    }

private:
    int depth_ = 0;

    template <class Action>
    void Note(std::string const& call, Action action) {
        if (depth_++ == 0) calls += call;
        action();
        --depth_;
    }
};

// What the sources of the table draw from.
struct Sources {
    VFile text{"0123456789"};
    HostSource host{"from the host"};
    void* Handle() { return host.AsHandle(text); }
};

using Form = void (*)(VFile&, Sources&);

// One member in its five families: Insert, Replace, Write, Append, Prepend.
#define FAMILIES(member, ...)                                                              \
    {                                                                                      \
        [](VFile& f, [[maybe_unused]] Sources& s) { f.Insert##member(__VA_ARGS__); },      \
            [](VFile& f, [[maybe_unused]] Sources& s) { f.Replace##member(__VA_ARGS__); }, \
            [](VFile& f, [[maybe_unused]] Sources& s) { f.Write##member(__VA_ARGS__); },   \
            [](VFile& f, [[maybe_unused]] Sources& s) { f.Append##member(__VA_ARGS__); },  \
            [](VFile& f, [[maybe_unused]] Sources& s) { f.Prepend##member(__VA_ARGS__); }  \
    }

struct Member {
    char const* what;
    Form families[5];
    char const* operation;
    std::int32_t replaceLen;
    char const* passed;  // what follows start and length
    std::string_view bytes;
};

// clang-format off
Member const kMembers[] = {
    {"byte", FAMILIES(Byte, 'b'), "Buf", 1, "'b', 1", "b"},
    {"bytes", FAMILIES(Bytes, "x\r\n..", 3), "Buf", 3, "'x\r\n', 3", "x\r\n"},
    {"no bytes", FAMILIES(Bytes, nullptr, 0), "Buf", 0, "null, 0", ""},
    {"word", FAMILIES(Word, std::int16_t{0x4142}), "Buf", 2, "'BA', 2", "BA"},
    {"double word", FAMILIES(DWord, 0x41424344), "Buf", 4, "'DCBA', 4", "DCBA"},
    {"quad word", FAMILIES(QWord, std::int64_t{0x4142434445464748}), "Buf", 8, "'HGFEDCBA', 8", "HGFEDCBA"},
    {"character", FAMILIES(, 'c', 3), "Ch", 3, "c, 3", "ccc"},
    {"signed character", FAMILIES(, static_cast<signed char>('s'), 1), "Ch", 1, "s, 1", "s"},
    {"no character", FAMILIES(, 'c', 0), "Ch", 0, "c, 0", ""},
    {"string", FAMILIES(, "str"), "Buf", SameLen, "'str', 3", "str"},
    {"empty string", FAMILIES(, ""), "Buf", SameLen, "'', 0", ""},
    {"range of a file", FAMILIES(, s.text, 7, 9), "Txt", SameLen, "0123456789, 7, 9", "789"},
    {"host file", FAMILIES(, s.host.file, 4), "File", SameLen, "4", "from"},
    {"handle", FAMILIES(FromFile, s.Handle(), 4), "Handle", SameLen, "4", "from"},
};
// clang-format on

struct Range {
    std::int32_t start, delLen;
};

Range RangeOf(int family, bool inserting, std::int32_t cursor, std::int32_t length, std::int32_t replaceLen) {
    if (family >= 3) return {family == 3 ? length : 0, 0};
    return {cursor, family == 1 || (family == 2 && !inserting) ? replaceLen : 0};
}

TEST(Editing, EveryFamilyPassesOnEverySource) {
    constexpr char const* kFamilies[] = {"Insert", "Replace", "Write", "Append", "Prepend"};
    std::string const old = "abcdefgh";
    Sources sources;
    for (Member const& member : kMembers) {
        for (int run = 0; run < 5 * 2 * 3; ++run) {
            int const family = run % 5;
            bool const inserting = run / 5 % 2;
            std::int32_t const cursor = 4 * (run / 10);
            SCOPED_TRACE(std::string(kFamilies[family]) + ' ' + member.what + " at " + Told(cursor) +
                         (inserting ? " inserting" : ""));
            Recorder file(old.c_str());
            file.SetFlag(VFile::InsertMode, inserting);
            file.SetPos(cursor);
            sources.host.At(0);
            file.eof = true;
            member.families[family](file, sources);

            auto const range =
                RangeOf(family, inserting, cursor, file.calls.empty() ? 0 : 8, member.replaceLen);
            EXPECT_EQ(file.calls, CallText(member.operation, range.start, range.delLen, member.passed));
            auto const n = static_cast<std::int32_t>(member.bytes.size());
            std::string want = old;
            want.replace(std::size_t(range.start), std::size_t(range.delLen == SameLen ? n : range.delLen),
                         member.bytes);
            EXPECT_EQ(AllBytes(file), want);
            EXPECT_EQ(file.GetPos(), range.start + n);
            EXPECT_FALSE(file.eof);
            EXPECT_EQ(file.res, ResDone);

            for (std::int32_t flag : {VFile::ReadOnly, 0}) {  // nothing to add is refused like anything else
                file.SetPos(2);
                flag ? file.InclFlag(flag) : static_cast<void>(file.res = ResNetworkError);
                sources.host.At(0);
                member.families[family](file, sources);
                EXPECT_EQ(file.res, flag ? ResReadOnly : ResNetworkError);
                EXPECT_EQ(file.GetPos(), 2);
                EXPECT_EQ(AllBytes(file), want);
            }
        }
    }
}

// Forms with a range of their own, on "abcdefgh" with the cursor at 3.
struct Single {
    char const* what;
    Form form;
    char const* calls;
    char const* want;
    std::int32_t cursor;
    FileRes res = ResDone;
};

#define FORM(...) [](VFile& f, [[maybe_unused]] Sources& s) { __VA_ARGS__; }
#define TEXT_OF_10 "0123456789, 0, MaxLen)"

// clang-format off
Single const kSingles[] = {
    {"delete", FORM(f.Delete(1, 2)), "Buf(1, 2, null, 0)", "adefgh", 1},
    {"delete past the end", FORM(f.Delete(6, 100)), "Buf(6, 100, null, 0)", "abcdef", 6},
    {"delete behind the end", FORM(f.Delete(20, 1)), "Buf(20, 1, null, 0)", "abcdefgh", 8},
    {"delete as much as goes in", FORM(f.Delete(1, SameLen)), "Buf(1, SameLen, null, 0)", "abcdefgh", 1},
    {"delete before the start", FORM(f.Delete(-1, 1)), "Buf(-1, 1, null, 0)", "abcdefgh", 3, ResCallError},
    {"truncate", FORM(f.Truncate()), "Buf(3, MaxLen, null, 0)", "abc", 3},
    {"truncate at the end", FORM(f.SetPos(8); f.Truncate()), "Buf(8, MaxLen, null, 0)", "abcdefgh", 8},
    {"= character", FORM(f = 'x'), "Buf(0, 8, 'x', 1)", "x", 1},
    {"= signed", FORM(f = static_cast<signed char>('x')), "Buf(0, 8, 'x', 1)", "x", 1},
    {"= unsigned", FORM(f = static_cast<unsigned char>('x')), "Buf(0, 8, 'x', 1)", "x", 1},
    {"= char8_t", FORM(f = u8'x'), "Buf(0, 8, 'x', 1)", "x", 1},
    {"= string", FORM(f = "new"), "Buf(0, 8, 'new', 3)", "new", 3},
    {"= file", FORM(f = s.text), "Txt(0, 8, " TEXT_OF_10, "0123456789", 10},
    {"= moved", FORM(f = std::move(s.text)), "Txt(0, 8, " TEXT_OF_10, "0123456789", 10},
    {"= itself", FORM(f = *&f), "Txt(0, 8, abcdefgh, 0, MaxLen)", "abcdefgh", 8},
    {"<< character", FORM(f << 'x'), "Buf(3, 1, 'x', 1)", "abcxefgh", 4},
    {"<< string", FORM(f << "xy"), "Buf(3, SameLen, 'xy', 2)", "abcxyfgh", 5},
    {"<< file", FORM(f << s.text), "Txt(3, SameLen, " TEXT_OF_10, "abc0123456789", 13},
    {"<< number", FORM(f << std::int16_t{-5}), "Buf(3, SameLen, '-5', 2)", "abc-5fgh", 5},
    {"<< in insert mode", FORM(f.InclFlag(VFile::InsertMode); f << 65535u), "Buf(3, 0, '65535', 5)", "abc65535defgh", 8},
    {"<< << <<", FORM(f << 'x' << 12 << "y"), "Buf(3, 1, 'x', 1)Buf(4, SameLen, '12', 2)Buf(6, SameLen, 'y', 1)", "abcx12yh", 7},
    {"+= character", FORM(f += 'x'), "Buf(8, 0, 'x', 1)", "abcdefghx", 9},
    {"+= string", FORM(f += "xy"), "Buf(8, 0, 'xy', 2)", "abcdefghxy", 10},
    {"+= file", FORM(f += s.text), "Txt(8, 0, " TEXT_OF_10, "abcdefgh0123456789", 18},
    {"+= itself", FORM(f += f), "Txt(8, 0, abcdefgh, 0, MaxLen)", "abcdefghabcdefgh", 16},
    {">> the file", FORM(s.text.SetPos(7); s.text >> f; EXPECT_EQ(s.text.GetPos(), 10)), "Txt(0, MaxLen, 0123456789, 7, MaxLen)", "789", 3},
    {"ReadFromFile", FORM(f.ReadFromFile(s.host.file, 4)), "File(3, SameLen, 4)", "abcfromh", 7},
    {"ReadFromFile handle", FORM(f.ReadFromFile(s.Handle(), 4)), "Handle(3, SameLen, 4)", "abcfromh", 7},
};
// clang-format on

TEST(Editing, FormsWithARangeOfTheirOwn) {
    for (Single const& single : kSingles) {
        SCOPED_TRACE(single.what);
        Sources sources;
        Recorder file("abcdefgh");
        file.SetPos(3);
        single.form(file, sources);
        EXPECT_EQ(file.calls, single.calls);
        EXPECT_EQ(AllBytes(file), single.want);
        EXPECT_EQ(file.GetPos(), single.cursor);
        EXPECT_EQ(file.res, single.res);
        EXPECT_EQ(file.radix, 10);
        bool const changes = single.res == ResDone && file.calls.find("null") == std::string::npos;
        EXPECT_TRUE(file.asked > 0 || !changes) << "the hooks see a replacement, also by the same bytes";
    }
}

TEST(Editing, MovesOutOfAFile) {
    VFile file("ab");
    char c = 'x';
    signed char d = 'x';
    char8_t e = u8'x';
    file.Reset();
    file.res = ResNotDone;
    file >> c >> d >> e;
    EXPECT_TRUE(c == 'a' && d == 'b' && e == u8'\0' && file.eof);
    EXPECT_EQ(file.res, ResNotDone);

    VFile refusing("keep");
    refusing.InclFlag(VFile::ReadOnly);
    file.SetPos(1);
    file >> refusing;
    EXPECT_EQ(file.res, ResReadOnly);
    EXPECT_EQ(file.GetPos(), 1);
    EXPECT_EQ(AllBytes(refusing), "keep");
}

// Digits by division alone; bits beyond 32 show for operands of 8 bytes only.
template <class T>
std::string Digits(T value, std::uint64_t radix) {
    bool const negative = value < T{0};
    auto bits = static_cast<std::uint64_t>(value);
    if (negative && radix == 10) bits = 0 - bits;
    if (sizeof(T) < 8) bits &= 0xFFFFFFFF;
    std::string text;
    do {
        text.insert(text.begin(), "0123456789abcdefghijklmnopqrstuvwxyz"[bits % radix]);
        bits /= radix;
    } while (bits > 0);
    return (negative && radix == 10 ? "-" : "") + text;
}

template <class... T>
struct Types {};
using AllNumbers =
    Types<short, unsigned short, int, unsigned, long, unsigned long, long long, unsigned long long>;

template <class T>
void ExpectNumber() {
    for (std::int32_t radix : {2, 10, 16, 36}) {
        constexpr auto kMin = std::numeric_limits<T>::min();
        constexpr auto kMax = std::numeric_limits<T>::max();
        for (T value : {kMin, kMax, static_cast<T>(kMin + 1), T{0}, T{1}, T{35}, static_cast<T>(-1)}) {
            VFile file;
            file.radix = radix;
            file << value;
            EXPECT_EQ(AllBytes(file), Digits(value, static_cast<std::uint64_t>(radix))) << radix;
            T back{};
            file.SetPos(0);
            if constexpr (sizeof(T) == 2) file.InsertWord(value), file.SetPos(0), file.ReadWord(back);
            if constexpr (sizeof(T) == 4) file.InsertDWord(value), file.SetPos(0), file.ReadDWord(back);
            if constexpr (sizeof(T) == 8) file.InsertQWord(value), file.SetPos(0), file.ReadQWord(back);
            EXPECT_EQ(back, value);
        }
    }
}

TEST(Numbers, OfEveryTypeInEveryBase) {
    []<class... T>(Types<T...>) { (ExpectNumber<T>(), ...); }(AllNumbers{});

    VFile file;
    file << INT64_MIN << '|' << std::uint16_t{65535} << '|' << INT32_MIN;
    file.radix = 16;
    file << '|' << std::int16_t{-1} << '|' << -1 << '|' << std::int64_t{-1};
    EXPECT_EQ(AllBytes(file), "-9223372036854775808|65535|-2147483648|ffffffff|ffffffff|ffffffffffffffff");
    for (std::int32_t radix : {1, 37, 0, -10}) {
        file.radix = radix;
        EXPECT_NE(HaltOf([&] { file << 5; }).find("radix"), std::string::npos) << radix;
    }
}

// What is accepted, and what must not compile: which of the forms take a T.
// clang-format off
template <class T>
constexpr unsigned kForms = (requires(VFile& f, T x) { f << x; } ? 1 : 0) | (requires(VFile& f, T x) { f = x; } ? 2 : 0) |
    (requires(VFile& f, T x) { f += x; } ? 4 : 0) | (requires(VFile& f, T x) { f.WriteByte(x); } ? 8 : 0) |
    (requires(VFile& f, T x) { f.Append(x, 3); } ? 16 : 0) | (requires(VFile& f, T x) { f.ReplaceCh(0, 0, x, 3); } ? 32 : 0) |
    (requires(VFile& f, T x) { f.InsertWord(x); } ? 64 : 0) | (requires(VFile& f, T x) { f.PrependDWord(x); } ? 128 : 0) |
    (requires(VFile& f, T x) { f.ReplaceQWord(x); } ? 256 : 0);
template <class T>
constexpr int kHandleForms = requires(VFile& f, T& x) { f.InsertFromFile(x, 1); } + requires(VFile& f, T& x) { f.ReadFromFile(x, 1); } +
    requires(VFile& f, T& x) { f.WriteToFile(x, 1); } + requires(VFile& f, T& x) { f.ReplaceFile(0, 0, x, 1); } + requires(T& x) { VFile(x, 1); };
// clang-format on

constexpr unsigned kConverts = 8 | 32;  // a number may stand where a byte is asked for
template <class... T>
constexpr bool AreNumbers(Types<T...>) {
    return (((kForms<T> & ~kConverts) == (1 | (sizeof(T) == 2 ? 64 : sizeof(T) == 4 ? 128 : 256))) && ...);
}
template <class... T>
constexpr bool AreBytes(Types<T...>) {
    return ((kForms<T> == 63) && ...);
}
template <class... T>
constexpr bool AreRefused(Types<T...>) {
    return ((kForms<T> == 0) && ...);
}
template <class... T>
constexpr bool AreNoHandles(Types<T...>) {
    return ((kHandleForms<T> == 0) && ...);
}
enum Plain { kPlain };
enum class Scoped : std::uint16_t {};
static_assert(AreNumbers(AllNumbers{}));
static_assert(AreBytes(Types<char, signed char, unsigned char, char8_t>{}));
static_assert(AreRefused(Types<bool, wchar_t, char16_t, char32_t, Plain, Scoped, std::nullptr_t, void*>{}));
static_assert(kHandleForms<void*> == 5 && kHandleForms<void* const> == 5);
static_assert(AreNoHandles(
    Types<void const*, char*, HFile*, VFile*, void**, char const [5], char[5], std::nullptr_t, int> {}));
static_assert(!std::is_convertible_v<char const*, VFile>, "a string is no file by accident");

struct Seen {
    std::int32_t pos, res;
    bool eof;
    bool operator==(Seen const&) const = default;
};
Seen SeenOf(VFile const& file) { return {file.GetPos(), file.res, file.eof}; }

// All operators of one pair against the order of two strings, which compare as unsigned bytes do.
template <class A, class B>
void ExpectOrder(A const& a, B const& b, int order) {
    EXPECT_TRUE((a == b) == (order == 0) && (a != b) == (order != 0) && (b == a) == (order == 0) &&
                (b != a) == (order != 0));
    EXPECT_TRUE((a < b) == (order < 0) && (a <= b) == (order <= 0) && (a > b) == (order > 0) &&
                (a >= b) == (order >= 0));
    EXPECT_TRUE((b < a) == (order > 0) && (b <= a) == (order >= 0) && (b > a) == (order < 0) &&
                (b >= a) == (order <= 0));
}

TEST(Comparison, AgreesWithStringsHoweverTheBlocksAreCut) {
    constexpr std::string_view kAlphabet("\0a\x7F\x80\xFF", 5);
    std::mt19937 random(3);
    BlockCutter cutter;
    VFile a, b;
    for (int round = 0; round < 1500; ++round) {
        std::string left = RandomText(random, random() % (round % 9 ? 40 : 5000), kAlphabet);
        std::string right = left;
        if (!right.empty() && round % 3) right[random() % right.size()] = kAlphabet[random() % 5];
        if (round % 4 == 0) right += RandomText(random, random() % 3, kAlphabet);
        if (round % 5 == 0) right.resize(random() % (right.size() + 1));
        for (auto [file, text] : {
                 std::pair{&a, &left },
                 std::pair{&b, &right}
        }) {
            file->Reset();
            cutter.Fill(*file, *text, 1 + static_cast<int>(random() % 1024), random);
            file->ReplaceBuf(file->Length() / 2, 0, "e", 1);  // stands in the buffer alone
            text->insert(text->size() / 2, 1, 'e');
            ASSERT_EQ(AllBytes(*file), *text);
        }
        a.eof = round % 2;
        a.res = round % 25;
        Seen const seenA = SeenOf(a), seenB = SeenOf(b);
        SCOPED_TRACE("round " + std::to_string(round));
        ExpectOrder(a, b, left.compare(right));
        ExpectOrder(a, right.c_str(), left.compare(right.c_str()));
        ExpectOrder(a, a, 0);
        ASSERT_TRUE(seenA == SeenOf(a) && seenB == SeenOf(b));
        if (HasFailure()) return;
    }
}

TEST(Comparison, BelongsToTheThreadOfBothFiles) {
    VFile foreign("x");
    std::thread([&] {
        VFile own("x");
        EXPECT_ASSERTION_STOP("VFile", static_cast<void>(own == foreign));
        EXPECT_ASSERTION_STOP("VFile", static_cast<void>(own < foreign));
        EXPECT_ASSERTION_STOP("VFile", static_cast<void>(foreign == own));
        EXPECT_ASSERTION_STOP("VFile", static_cast<void>(foreign == "x"));
        EXPECT_ASSERTION_STOP("VFile", static_cast<void>(foreign >= "x"));
        EXPECT_ASSERTION_STOP("VFile", own.Swap(foreign));
        EXPECT_ASSERTION_STOP("VFile", own = std::move(foreign));
        EXPECT_DEATH(VFile(std::move(foreign)), "VFile, line ");
        NoteHalts noting;
        swap(own, foreign);
        EXPECT_EQ(noting.Take().size(), 1u);
        EXPECT_TRUE(own != foreign && own < foreign);  // no answer
        EXPECT_EQ(AllBytes(own), "x");
    }).join();
    EXPECT_EQ(AllBytes(foreign), "x") << "refused before anything was touched";
}

TEST(Moves, TakeAllThatTheFileIs) {
    Recorder file("some text");
    file.InclFlag(VFile::InsertMode);
    file.radix = 7;
    file.SetPos(4);
    file.WriteByte('!');
    file.res = ResDiskFull;
    file.eof = true;
    int const asked = file.asked;
    VFile taken(std::move(file));
    EXPECT_EQ(AllBytes(taken), "some! text");
    EXPECT_EQ(SeenOf(taken), (Seen{5, ResDiskFull, true}));
    EXPECT_TRUE(taken.radix == 7 && taken.FlagOn(VFile::InsertMode));
    // NOLINTNEXTLINE(bugprone-use-after-move): what is left is an empty file with the same flags.
    EXPECT_TRUE(file.Length() == 0 && file.GetFlags() == VFile::InsertMode && file.radix == 7 &&
                SeenOf(file) == (Seen{0, ResDone, false}));
    swap(file, taken);
    EXPECT_EQ(AllBytes(file), "some! text");
    EXPECT_EQ(taken.Length(), 0);
    file.Swap(file);
    EXPECT_EQ(SeenOf(file), (Seen{5, ResDiskFull, true}));
    EXPECT_EQ(file.asked, asked) << "no hook sees it";
}

}  // namespace
}  // namespace vfile::test
