// The typed editing forms: what each leaves of the file.
#include "support/halts.h"
#include "support/host_source.h"
#include "support/test.h"
#include "support/twin.h"

namespace vfile::test {
namespace {

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
    Form families[5];
    std::int32_t replaceLen;  // of what is there
    std::string_view bytes;
};

// clang-format off
Member const kMembers[] = {
    {FAMILIES(Byte, 'b'), 1, "b"},
    {FAMILIES(Bytes, "x\r\n..", 3), 3, "x\r\n"},
    {FAMILIES(Word, std::int16_t{0x4142}), 2, "BA"},
    {FAMILIES(DWord, 0x41424344), 4, "DCBA"},
    {FAMILIES(QWord, std::int64_t{0x4142434445464748}), 8, "HGFEDCBA"},
    {FAMILIES(, 'c', 3), 3, "ccc"},
    {FAMILIES(, "str"), 3, "str"},
    {FAMILIES(, s.text, 7, 9), 3, "789"},
    {FAMILIES(, s.host.file, 4), 4, "from"},
    {FAMILIES(FromFile, s.Handle(), 4), 4, "from"},
};
// clang-format on

TEST(Editing, EveryFamilyTakesEverySource) {
    Sources sources;
    for (Member const& member : kMembers) {
        for (int run = 0; run < 5 * 2 * 3; ++run) {
            SCOPED_TRACE(testing::Message() << &member - kMembers << ", run " << run);
            int const family = run % 5;
            bool const inserting = run / 5 % 2;
            std::int32_t const cursor = 4 * (run / 10), start = family < 3 ? cursor : family == 3 ? 8 : 0;
            bool const replaces = family == 1 || (family == 2 && !inserting);
            VFile file("abcdefgh");
            file.SetFlag(VFile::InsertMode, inserting);
            file.SetPos(cursor);
            sources.host.At(0);
            file.eof = true;
            member.families[family](file, sources);
            std::string want = "abcdefgh";
            want.replace(std::size_t(start), std::size_t(replaces ? member.replaceLen : 0), member.bytes);
            EXPECT_EQ(AllBytes(file), want);
            EXPECT_TRUE(file.GetPos() == start + std::ssize(member.bytes) && !file.eof &&
                        file.res == ResDone);
            file.InclFlag(VFile::ReadOnly);  // nothing to add is refused like anything else
            file.SetPos(2);
            member.families[family](file, sources);
            EXPECT_TRUE(file.res == ResReadOnly && file.GetPos() == 2 && AllBytes(file) == want);
        }
    }
}

// Forms with a range of their own, on "abcdefgh" with the cursor at 3.
#define FORM(...) [](VFile& f, [[maybe_unused]] Sources& s) { __VA_ARGS__; }
// clang-format off
struct {
    Form form;
    char const* want;
    std::int32_t cursor;
} const kSingles[] = {
    {FORM(f.Delete(1, 2)), "adefgh", 1},
    {FORM(f.Truncate()), "abc", 3},
    {FORM(f = 'x'), "x", 1},
    {FORM(f = s.text), "0123456789", 10},
    {FORM(f.InclFlag(VFile::InsertMode); f << 65535u), "abc65535defgh", 8},
    {FORM(f << 'x' << 12 << "y"), "abcx12yh", 7},
    {FORM(char c = 'x'; signed char d = 'x'; f.SetPos(7); f >> c >> d; EXPECT_TRUE(c == 'h' && d == 0 && f.eof)), "abcdefgh", 8},
    {FORM(s.text.SetPos(7); s.text >> f; EXPECT_EQ(s.text.GetPos(), 10)), "789", 3},
};
// clang-format on

TEST(Editing, FormsWithARangeOfTheirOwn) {
    for (auto const& single : kSingles) {
        SCOPED_TRACE(&single - kSingles);
        Sources sources;
        VFile file("abcdefgh");
        file.SetPos(3);
        single.form(file, sources);
        EXPECT_EQ(AllBytes(file), single.want);
        EXPECT_TRUE(file.GetPos() == single.cursor && file.res == ResDone && file.radix == 10);
    }
}

// Shown in any base, and stored low byte first, by host files alike.
template <class File>
void ExpectNumbers(File& file) {
    std::uint32_t dword = 0;
    std::int64_t qword = 0;
    file << INT64_MIN << ' ' << std::uint16_t{65535} << ' ' << INT32_MIN << ' ' << 0 << ' ' << UINT64_MAX
         << ' ';
    file.radix = 2;
    file << std::int16_t{-1} << ' ';
    file.radix = 36;
    file << -1 << ' ' << std::int64_t{-1};
    std::string bytes(static_cast<std::size_t>(file.Length()), '\0');
    file.SetPos(0), file.ReadBytes(bytes.data(), file.Length());
    EXPECT_EQ(bytes, "-9223372036854775808 65535 -2147483648 0 18446744073709551615 " + std::string(32, '1') +
                         " 1z141z3 3w5e11264sgsf");
    file.SetPos(0), file.WriteWord(std::int16_t{-2}), file.WriteQWord(std::int64_t{0x0807060504030201}),
        file.Truncate();
    file.SetPos(2), file.ReadQWord(qword), file.SetPos(7), file.ReadDWord(dword = 0x09090909);
    EXPECT_TRUE(qword == 0x0807060504030201 && dword == 0x09080706 && file.eof)
        << "what arrived, the rest unchanged";
    for (file.radix = 37; file.radix > -20; file.radix -= 36)
        EXPECT_NE(HaltOf([&] { file << 5; }), "") << file.radix;
}

TEST(Editing, Numbers) {
    TempDir const dir;
    HFile host;
    ASSERT_TRUE(host.Create(dir.Name("numbers").c_str(), true));
    VFile file;
    ExpectNumbers(file);
    ExpectNumbers(host);
}

}  // namespace
}  // namespace vfile::test
