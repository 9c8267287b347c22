// Limits, settings, broken contracts, and the swap file's place; other threads and processes.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vfile/vmem.h>

#include <cstdlib>
#include <functional>
#include <thread>

#include "support/halts.h"
#include "support/temp_dir.h"
#include "vmem/invariants.h"

namespace vfile::test {
namespace {

using See = VMemInspector;

void AllocPages(VMem& memory, int count) {
    std::int32_t addr = -1;
    for (int i = 0; i < count; ++i) memory.AllocPage(addr);
}

TEST(VMemStops, BrokenContracts) {
    VMem memory;
    AllocPages(memory, 2);
    char buf[8] = {};
    std::int32_t at = 0;
    struct {
        char const* halt;
        std::function<void()> action;
    } const cases[] = {
        {"Get():\nlength of specified virt.memory must be >0", [&] { memory.Get(-1, nullptr, -1); }        },
        {"Set():\nlength of specified virt.memory must be >0", [&] { memory.Set(-1, nullptr, -1); }        },
        {"Get():\nillegal address (<0)",                       [&] { memory.Get(-1, nullptr, 5000); }      },
        {"Set():\nillegal address (<0)",                       [&] { memory.Set(-1, nullptr, 5000); }      },
        {"Get():\nillegal address (>max.address)",             [&] { memory.Get(2048, nullptr, 1); }       },
        {"Set():\nillegal address (>max.address)",             [&] { memory.Set(2041, buf, 8); }           },
        {"Get():\nillegal address (>max.address)",             [&] { memory.Get(MaxLen, buf, 8); }         },
        {"Get():\nbuffer address must not be 0",               [&] { memory.Get(0, nullptr, 1); }          },
        {"Set():\nbuffer address must not be 0",               [&] { memory.Set(0, nullptr, 1); }          },
        {"DeallocPage():\naddress is not a page address",      [&] { memory.DeallocPage(at = 1); }         },
        {"DeallocPage():\naddress is not a page address",      [&] { memory.DeallocPage(at = -1); }        },
        {"Dealloc0():\nillegal address (<0)",                  [&] { memory.DeallocPage(at = -1024); }     },
        {"Dealloc0():\nillegal address (>max.address)",        [&] { memory.DeallocPage(at = 2048); }      },
        {"Dealloc0():\nillegal address (>max.address)",        [&] { memory.DeallocPage(at = 0x7FFFFC00); }},
        {"Dealloc0():\nlen must be >0",                        [&] { memory.Dealloc(at = -5, 0); }         },
        {"Dealloc0():\nillegal address (<0)",                  [&] { memory.Dealloc(at = -5, 9000); }      },
        {"Dealloc0():\nillegal address (>max.address)",        [&] { memory.Dealloc(at = 2045, 1); }       },
        {"Alloc():\nlen must be >0",                           [&] { memory.Alloc(at, 0); }                },
        {"Alloc():\nlen must be >0",                           [&] { memory.Alloc(at, -1); }               },
        {"CopyBytes():\nlen must be >=0",                      [&] { memory.CopyBytes(3, 3, -1); }         },
    };
    for (auto const& c : cases) EXPECT_EQ(HaltOf(c.action), std::string("VMem, ") + c.halt);
    memory.Get(-1, nullptr, 0);  // nothing is checked
    memory.Set(9999, nullptr, 0);
    memory.Get(2040, buf, 8);
    EXPECT_EQ(See::MaxAddress(memory), 2048);
    EXPECT_EQ(memory.GetCacheSize(), 1);
}

TEST(VMemLimits, KilobytesAndPages) {
    struct {
        int set, shown, pages, kilobytes;  // pages and kilobytes after 33000 pages have been read
    } const cases[] = {
        {70,    70,    69,    69   },
        {0,     0,     1,     1    },
        {1,     1,     1,     1    },
        {-1,    0,     1,     1    },
        {2,     2,     1,     1    },
        {3,     3,     2,     2    },
        {32767, 32767, 32387, 32766}
    };
    for (auto const& c : cases) {
        VMem memory;
        EXPECT_EQ(memory.GetMaxCacheSize(), 70);
        EXPECT_EQ(memory.GetCacheSize(), 0);
        memory.SetMaxCacheSize(static_cast<std::int16_t>(c.set));
        EXPECT_EQ(memory.GetMaxCacheSize(), c.shown);
        AllocPages(memory, 33000);
        for (std::int32_t page = 0, zero = 1; page < 33000; ++page) {
            memory.Get(page * 1024, zero);
            ASSERT_EQ(zero, 0);
        }
        EXPECT_EQ(See::CacheOf(memory).Count(), c.pages);
        EXPECT_EQ(memory.GetCacheSize(), c.kilobytes);
        char const* const rule = BrokenRule(memory);
        EXPECT_EQ(rule, nullptr) << rule;
        memory.ReleaseCache();
        EXPECT_EQ(memory.GetCacheSize(), 0);
        EXPECT_FALSE(See::SwapOf(memory).IsOpen()) << "nothing was changed";
    }
}

template <class T>
constexpr bool kAccepted = requires(VMem& memory, T value) {
    memory.Set(0, value);
    memory.Get(0, value);
};
enum Plain { kPlain };
static_assert(!kAccepted<bool> && !kAccepted<wchar_t> && !kAccepted<char32_t> && !kAccepted<Plain>);
static_assert(!kAccepted<char*> && !kAccepted<std::nullptr_t> && !kAccepted<void const*> && !kAccepted<VMem>);
static_assert(kAccepted<long double> == (sizeof(long double) == 8));

template <class... T>
void ExpectRoundTrips(VMem& memory) {
    std::int32_t addr = 1019;  // most of them over a page boundary
    auto const one = [&]<class V>(V value) {
        V got{};
        memory.Set(addr, value);
        memory.Get(addr, got);
        EXPECT_EQ(got, value) << typeid(V).name();
        ++addr;
    };
    (one(T(77)), ...);
    int target = 0;
    one(static_cast<void*>(&target));
}

TEST(VMemLimits, TypedValues) {
    VMem memory;
    AllocPages(memory, 2);
    ExpectRoundTrips<char, signed char, unsigned char, char8_t, short, unsigned short, TChar, int, unsigned,
                     long, unsigned long, long long, unsigned long long, float, double>(memory);
}

// The directory part of the swap file's name, which must end as such names do; empty without a swap file.
std::string PlaceOf(VMem& memory) {
    std::int32_t addr = -1;
    memory.AllocPage(addr);
    memory.Set(addr, 'x');
    memory.FlushCache();
    std::string const name = BytesFromName(See::SwapName(memory));
    std::size_t const file = name.find("~vmem");
    if (file == std::string::npos || name.substr(name.size() - 4) != ".tmp")
        return "not a swap file: " + name;
    std::string const number = name.substr(file + 5, name.size() - file - 9);
    EXPECT_EQ(number, std::to_string(std::stoi(number)));
    EXPECT_LT(std::stoi(number), 100000);
    return name.substr(0, file);
}

TEST(VMemSettings, WhereTheSwapFileGoes) {
    TempDir dir;
    std::string const absent = dir.Bytes("absent"), file = dir.Bytes("file"),
                      readOnly = dir.Bytes("read-only");
    WriteWhole(file, "x");
    std::string a = dir.Bytes("a"), b = dir.Bytes("b"), longDir = dir.Path().string();
    while (longDir.size() < 235)
        longDir += "/" + std::string(std::min<std::size_t>(20, 245 - longDir.size()), 'd');
    longDir.resize(246, 'd');
    std::string const fits = longDir.substr(0, 245);  // with a separator and 14 units of name it is 260 units
    for (auto const& path : {a, b, longDir, fits}) std::filesystem::create_directories(path);
    struct {
        char const* what;
        std::string set, tmp, temp, tmpdir, want;
    } const cases[] = {
        {"the set one",              a,       b,       b,      b,  a + "/"    },
        {"with a separator already", a + "/", b,       b,      b,  a + "/"    },
        {"absent",                   absent,  a,       b,      b,  a + "/"    },
        {"no directory",             file,    a,       b,      b,  a + "/"    },
        {"TEMP after TMP",           "",      absent,  a,      b,  a + "/"    },
        {"TMPDIR after TEMP",        "",      file,    "",     a,  a + "/"    },
        {"the longest that fits",    fits,    b,       b,      b,  fits + "/" },
        {"one unit too long",        longDir, longDir, b,      a,  b + "/"    },
        {"none at all",              "",      "",      absent, "", "/var/tmp/"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        setenv("TMP", c.tmp.c_str(), 1);
        setenv("TEMP", c.temp.c_str(), 1);
        setenv("TMPDIR", c.tmpdir.c_str(), 1);
        VMem memory;
        memory.SetTempDir(NameFromBytes(c.set).c_str());
        memory.SetTempDir(memory.GetTempDir());
        EXPECT_EQ(memory.GetTempDir() ? BytesFromName(memory.GetTempDir()) : "", c.set);
        EXPECT_EQ(PlaceOf(memory), c.want);
        memory.SetTempDir(NameFromBytes(b).c_str());  // the file stays where it is
        EXPECT_EQ(PlaceOf(memory), c.want);
        memory.DeallocAll();
        EXPECT_EQ(BytesFromName(memory.GetTempDir()), b);
        EXPECT_EQ(PlaceOf(memory), b + "/");
        EXPECT_TRUE(std::filesystem::is_empty(a) && std::filesystem::is_empty(b))
            << "nobody else can reach it";
    }
    for (char const* variable : {"TMP", "TEMP", "TMPDIR"}) unsetenv(variable);
    TChar name[20];
    EXPECT_EQ(CreateSwapFile(name, 20, NameFromBytes(a).c_str()), InvalidHandle()) << "no room for the name";
    EXPECT_ASSERTION_STOP("VMem", CreateSwapFile(nullptr, 20, u""));
    EXPECT_ASSERTION_STOP("VMem", CreateSwapFile(name, 0, u""));
}

TEST(VMemOwner, AnotherThread) {
    VMem memory;
    AllocPages(memory, 3);
    std::int32_t at = 0;
    std::function<void()> const calls[] = {
        [&] { memory.GetCacheSize(); },      [&] { memory.GetMaxCacheSize(); },
        [&] { memory.SetMaxCacheSize(1); },  [&] { memory.GetTempDir(); },
        [&] { memory.SetTempDir(u"x"); },    [&] { memory.CanAllocPage(); },
        [&] { memory.AllocPage(at); },       [&] { memory.DeallocPage(at); },
        [&] { memory.Alloc(at, -1); },       [&] { memory.Dealloc(at, -1); },
        [&] { memory.CopyBytes(0, 0, -1); }, [&] { memory.FlushCache(); },
        [&] { memory.ReleaseCache(); },      [&] { memory.DeallocAll(); },
    };
    std::thread([&] {
        for (auto const& call : calls) EXPECT_ASSERTION_STOP("VMem", call());
        memory.WriteStatus();
    }).join();
    EXPECT_EQ(See::MaxAddress(memory), 3072);
}

constexpr char const* kParents = "swap file belongs to the parent process";

// What a child process finds wrong, in words.
std::string InChild(std::unique_ptr<VMem> memory) {
    char c = 0;
    memory->Get(9 * 1024, c);  // cached
    if (c != 'j') return "a cached page is gone";
    std::string const read = HaltOf([&] { memory->Get(0, c); });
    if (read != std::string("VMem, FindPage():\n") + kParents) return "reading: " + read;
    memory->Set(9 * 1024, 'x');
    std::string const write = HaltOf([&] {
        for (std::int32_t page = 10; page < 20; ++page) memory->Get(page * 1024, c);  // drives page 9 out
    });
    if (write != std::string("VMem, FlushCachePtr():\n") + kParents) return "writing: " + write;
    std::string const destroyed = HaltOf([&] { memory.reset(); });
    if (!destroyed.empty()) return "destroying: " + destroyed;
    VMem own;
    own.SetMaxCacheSize(2);
    AllocPages(own, 8);
    for (std::int32_t page = 0; page < 8; ++page) own.Set(page * 1024, page);
    std::int32_t got = -1;
    own.Get(1024, got);
    return got == 1 ? "" : "a memory of its own";
}

TEST(VMemOwner, AChildProcess) {
    auto memory = std::make_unique<VMem>();
    memory->SetMaxCacheSize(4);
    AllocPages(*memory, 20);
    for (std::int32_t page = 0; page < 10; ++page) memory->Set(page * 1024, static_cast<char>('a' + page));
    memory->FlushCache();
    pid_t const child = fork();
    if (child == 0) {
        std::string const wrong = InChild(std::move(memory));
        if (!wrong.empty()) std::fprintf(stderr, "in the child: %s\n", wrong.c_str());
        _exit(wrong.empty() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    for (std::int32_t page = 0; page < 10; ++page) {
        char c = 0;
        memory->Get(page * 1024, c);
        EXPECT_EQ(c, 'a' + page);
    }
}

}  // namespace
}  // namespace vfile::test
