// What the allocator hands out; broken contracts; limits; where the swap file goes.
#include "support/halts.h"
#include "support/temp_dir.h"
#include "support/test.h"
#include "vmem/invariants.h"

namespace vfile::test {
namespace {

using See = VMemInspector;

// Plays moves: "a10=0" allocates 10 bytes and must get 0, "f10=0" frees them; "p" and "d" do so with a page.
// Addresses count from the end of the range.
void Play(VMem& memory, char const* moves) {
    std::int32_t const base = See::MaxAddress(memory);
    std::istringstream words(moves);
    char move = 0;
    std::int16_t len = 0;
    for (std::int32_t at = 0; words >> move >> len && words.ignore() && words >> at;) {
        bool const frees = move == 'f' || move == 'd';
        std::int32_t addr = frees ? base + at : -7;
        if (move == 'a') memory.Alloc(addr, len);
        if (move == 'p') memory.AllocPage(addr);
        if (move == 'f') memory.Dealloc(addr, len);
        if (move == 'd') memory.DeallocPage(addr);
        EXPECT_EQ(addr, frees ? -1 : base + at) << move << len << " in " << moves;
        EXPECT_STREQ(BrokenRule(memory), nullptr) << moves;
    }
}

// Thirteen lists, the most that can be made; what is freed then goes to the general one.
constexpr char const* kAllLists =
    "a20=0 a21=20 a22=41 a23=63 a24=86 a25=110 a26=135 a27=161 a28=188 a29=216 a30=245 a31=275 a32=306 "
    "a4=338 "
    "f20=0 f21=20 f22=41 f23=63 f24=86 f25=110 f26=135 f27=161 f28=188 f29=216 f30=245 f31=275 f32=306";

TEST(VMemChunks, EdgesOfTheAllocator) {
    char const* const cases[][2] = {
        {"",        "a1=0 a3=4 a4=8 a5=12 f5=12 f4=8 a2=8 f1=0 a4=0"                                },
        {"",        "p1024=0 p1024=1024 p1024=2048 d1024=0 d1024=1024 p1024=1024 a1024=0 a1024=3072"},
        {"",        "a1023=0 p1024=2048 a1015=1023 a10=2038"                                        },
        {"",        "a4=0 a5=4 a1024=9 a4=1033 f4=0 f5=4 f1024=9 a1024=9 a2=0 a5=4"                 },
        {"",        "a9=0 a1024=9 a9=1033 f1024=9 p1024=2048"                                       },
        {kAllLists, "a54=0 a4=54 f54=0 a50=0 a4=50"                                                 },
        {kAllLists, "a53=0 a4=53 f53=0 a50=57 a53=0"                                                },
        {kAllLists, "a60=0 a4=60 a60=64 a40=124 a4=164 f60=0 f60=64 f40=124 a10=64"                 },
    };
    VMem memory;
    memory.SetMaxCacheSize(3);
    for (auto const& [before, moves] : cases) {
        Play(memory, before);
        Play(memory, moves);
        memory.DeallocAll();
    }
}

TEST(VMemChunks, CopyIsAMove) {
    VMem memory;
    memory.SetMaxCacheSize(3);
    for (std::int32_t page = 0; page < 7 * 1024;) memory.AllocPage(page);
    std::string want(8000, 0), got(want);
    std::mt19937 random(1);
    for (int i = 0; i < 4000; ++i) {
        int const dst = static_cast<int>(random() % 4000), len = static_cast<int>(random() % 3900);
        int const src = i % 2 ? dst ^ (i % 64) : 4000 - dst;
        memory.Set(src, static_cast<char>(i));
        want.data()[src] = static_cast<char>(i);
        memory.CopyBytes(dst, src, static_cast<std::int16_t>(len));
        std::memmove(want.data() + dst, want.data() + src, static_cast<std::size_t>(len));
        memory.Get(0, got.data(), 8000);
        ASSERT_EQ(got, want) << len << " bytes from " << src << " to " << dst;
    }
}

TEST(VMemStops, BrokenContractsAtTheEndOfTheAddresses) {
    VMem memory;
    std::int32_t at = 0;
    while (memory.CanAllocPage()) memory.AllocPage(at);
    EXPECT_EQ(at, 0x7FFFF800);
    memory.Alloc(at, 1023);
    char buf[8] = {};
    memory.Get(MaxLen - 8, buf, 8);
    // clang-format off
    struct {
        char const* halt;
        std::function<void()> action;
    } const cases[] = {
        {"Get():\nlength of specified virt.memory must be >0", [&] { memory.Get(-1, nullptr, -1); }},
        {"Set():\nillegal address (>max.address)", [&] { memory.Set(MaxLen - 7, buf, 8); }},
        {"DeallocPage():\naddress is not a page address", [&] { memory.DeallocPage(at = -1); }},
    };
    // clang-format on
    for (auto const& c : cases) EXPECT_EQ(HaltOf(c.action), std::string("VMem, ") + c.halt);
    memory.Get(-1, nullptr, 0);  // nothing is checked
    memory.Set(0, std::int32_t{1}), memory.Set(16384 * 1024, std::int32_t{2}), memory.Get(0, at);
    EXPECT_EQ(at, 1) << "pages so far apart compete for one place in the table";
    memory.DeallocPage(at = 0);
    EXPECT_TRUE(memory.CanAllocPage()) << "one free page is enough";
}

void ExpectPlace(VMem& memory, std::string const& dir) {
    std::int32_t page = 0;
    memory.AllocPage(page);
    memory.Set(page, 'x');
    memory.FlushCache();
    std::string const name = BytesFromName(See::SwapName(memory));
    EXPECT_TRUE(name.starts_with(dir + "/~vmem") && name.ends_with(".tmp")) << name << " in " << dir;
}

TEST(VMemSettings, WhereTheSwapFileGoes) {
    TempDir dir;
    std::string const a = dir.Bytes("a"), b = dir.Bytes("b");
    std::string const fits =
        dir.Bytes(std::string(200, 'd')) + "/" + std::string(44 - dir.Bytes("").size(), 'd');
    std::string const tooLong = fits + "d";  // with a separator and 14 units of name more than 260 units
    for (auto const& path : {a, b, fits, tooLong}) std::filesystem::create_directories(path);
    std::string const cases[][5] = {
        {a,           b,           b,         b,  a         },
        {"/dev/null", "/absent",   a,         b,  a         },
        {"",          "/dev/null", "",        a,  a         },
        {fits,        b,           b,         b,  fits      },
        {tooLong,     tooLong,     b,         a,  b         },
        {"",          "",          "/absent", "", "/var/tmp"},
    };
    for (auto const& [set, tmp, temp, tmpdir, want] : cases) {
        setenv("TMP", tmp.c_str(), 1);
        setenv("TEMP", temp.c_str(), 1);
        setenv("TMPDIR", tmpdir.c_str(), 1);
        VMem memory;
        memory.SetTempDir(NameFromBytes(set).c_str());
        memory.SetTempDir(memory.GetTempDir());
        ExpectPlace(memory, want);
        memory.SetTempDir(NameFromBytes(b).c_str());
        ExpectPlace(memory, want);  // the file stays where it is
        memory.DeallocAll();
        ExpectPlace(memory, b);
        EXPECT_TRUE(std::filesystem::is_empty(b)) << "nobody else can reach it";
    }
    for (char const* variable : {"TMP", "TEMP", "TMPDIR"}) unsetenv(variable);
}

}  // namespace
}  // namespace vfile::test
