#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/bounded_strings.h>
#include <vfile/host_file.h>
#include <vfile/names.h>

#include <algorithm>
#include <array>
#include <vector>

#include "hostfile/wildcard.h"
#include "support/halts.h"
#include "support/temp_dir.h"

namespace vfile::test {
namespace {

constexpr TChar kUntouched = 0xABCD;

// What `call` leaves in a buffer of `size` units, which it must end and not leave.
template <class Call>
TString InBuffer(std::uint32_t size, TString const& before, Call call) {
    std::vector<TChar> buffer(size + 3, kUntouched);
    std::copy_n(before.c_str(), std::min<std::size_t>(before.size() + 1, size), buffer.begin());
    call(buffer.data(), size);
    EXPECT_EQ(std::count(buffer.begin() + size, buffer.end(), kUntouched), 3);
    auto const end = std::find(buffer.begin(), buffer.begin() + size, TChar{0});
    EXPECT_NE(end, buffer.begin() + size) << "no terminator";
    return {buffer.begin(), end};
}

TString const kLong(300, u'x');

struct Split {
    TString path, drive, dir, name, ext;
};
Split const kSplits[] = {
    {u"C:\\a.b\\c.tar.gz",  u"C:", u"\\a.b\\",    u"c.tar",               u".gz"                          },
    {u"a.b\\c",             u"",   u"a.b\\",      u"c",                   u""                             },
    {u".profile",           u"",   u"",           u"",                    u".profile"                     },
    {u"/usr/lib\\x.so",     u"",   u"/usr/lib\\", u"x",                   u".so"                          },
    {u"",                   u"",   u"",           u"",                    u""                             },
    {u"//\\/",              u"",   u"//\\/",      u"",                    u""                             },
    {u"...",                u"",   u"",           u"..",                  u"."                            },
    {u"x:",                 u"x:", u"",           u"",                    u""                             },
    {u"::a",                u"::", u"",           u"a",                   u""                             },
    {u"a/b:c.d/",           u"",   u"a/b:c.d/",   u"",                    u""                             },
    {u"/" + kLong.substr(0, 259),  u"",           u"/",                   kLong.substr(0,                   259), u""},
    {kLong.substr(0,                  259) + u"/a.b",                       u"",                       kLong.substr(0,              259) + u"/",                     u"a", u".b"},
    {kLong.substr(0,          260) + u"/a.b",           u"",                   kLong.substr(0,                            260) + u"/",                           u"a", u".b"},
    {u"a/" + kLong,                  u"",u"a/",kLong,u""},
};

// All outputs in one row of buffers of the given sizes; 0 leaves one out.
std::array<TString, 4> SplitInto(TString const& path, std::array<std::uint32_t, 4> sizes) {
    std::array<std::vector<TChar>, 4> buffers;
    TChar* at[4];
    for (std::size_t i = 0; i < 4; ++i) {
        buffers[i].assign(sizes[i] + 1, kUntouched);
        at[i] = sizes[i] > 0 ? buffers[i].data() : nullptr;
    }
    HFile::SplitName(at[0], sizes[0], at[1], sizes[1], at[2], sizes[2], at[3], sizes[3], path.c_str());
    std::array<TString, 4> parts;
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(buffers[i].back(), kUntouched);
        if (at[i]) parts[i] = at[i];
    }
    return parts;
}

TEST(HostNames, SplitAndBuildAtEverySize) {
    for (Split const& row : kSplits) {
        SCOPED_TRACE(BytesFromName(row.path.c_str()));
        std::array<TString, 4> const parts{row.drive, row.dir, row.name, row.ext};
        for (std::size_t tight = 0; tight < 5; ++tight) {
            for (std::uint32_t const size : {0U, 1U, 3U, 260U, 261U, 302U}) {
                std::array<std::uint32_t, 4> sizes{302, 302, 302, 302};
                if (tight < 4) sizes[tight] = size;
                bool const fits = tight == 4 || size == 0 || parts[tight].size() < size;
                std::array<TString, 4> want = fits ? parts : std::array<TString, 4>{};
                if (tight < 4 && size == 0) want[tight].clear();
                EXPECT_EQ(SplitInto(row.path, sizes), want) << tight << ' ' << size;
            }
        }
        bool const shortParts =
            std::all_of(parts.begin(), parts.end(), [](auto& p) { return p.size() <= 260; });
        TString const halves[] = {shortParts ? row.drive + row.dir : TString(),
                                  shortParts ? row.name + row.ext : TString()};
        for (std::uint32_t size = 1; size < 305; size += size < 20 ? 1 : 60) {
            TString name;
            EXPECT_EQ(InBuffer(size, u"",
                               [&](TChar* dir, std::uint32_t) {
                                   name = InBuffer(306 - size, u"", [&](TChar* file, std::uint32_t fileSize) {
                                       HFile::SplitName(dir, size, file, fileSize, row.path.c_str());
                                   });
                               }),
                      halves[0].substr(0, size - 1));
            EXPECT_EQ(name, halves[1].substr(0, 305 - size));
            auto const build = [&](TChar* dst, std::uint32_t n) {
                HFile::BuildName(dst, n, row.drive.c_str(), row.dir.c_str(), row.name.c_str(),
                                 row.ext.c_str());
            };
            EXPECT_EQ(InBuffer(size, u"", build), row.path.substr(0, size - 1));
        }
    }
}

TEST(HostNames, BuildAddsWhatIsMissing) {
    struct {
        TChar const *drive, *dir, *name, *ext, *want;
    } const rows[] = {
        {u"c",    u"x",    u"y",    u"z",    u"c:x/y.z"},
        {u"c",    u"x/",   u"y",    u".z",   u"c:x/y.z"},
        {nullptr, nullptr, nullptr, nullptr, u""       },
        {u"",     u"\\",   u"y",    u"",     u"\\y"    },
        {u"dd:",  nullptr, nullptr, u"e",    u"d:.e"   },
    };
    for (auto const& row : rows) {
        TString const want = row.want;
        for (std::uint32_t size = 1; size < 10; ++size) {
            auto const build = [&](TChar* dst, std::uint32_t n) {
                HFile::BuildName(dst, n, row.drive, row.dir, row.name, row.ext);
            };
            EXPECT_EQ(InBuffer(size, u"", build), want.substr(0, size - 1));
        }
    }
    for (std::uint32_t size = 1; size < 7; ++size) {
        auto const join = [](TChar* dst, std::uint32_t n) { HFile::BuildName(dst, n, u"ab", u"cd"); };
        EXPECT_EQ(InBuffer(size, u"", join), TString(u"abcd").substr(0, size - 1));
        for (TString const name : {u"", u"a", u"a/", u"a\\", u"C:", u"abcd"}) {
            if (name.size() >= size) continue;
            bool const adds = !name.empty() && !HFile::IsDirSep(name.back()) && name.size() + 1 < size;
            EXPECT_EQ(InBuffer(size, name, HFile::CondAppendDirSep), adds ? name + u"/" : name);
        }
    }
    EXPECT_TRUE(HFile::EqualName(u"A/b", u"a/B") && !HFile::EqualName(u"a/b", u"a\\b") &&
                !HFile::IsDirSep(u':'));
}

TEST(HostNames, FullNamesFoldByTheText) {
    TempDir dir;
    std::filesystem::path const before = std::filesystem::current_path();
    std::filesystem::current_path(dir.Path());
    TString const here = NameFromBytes(std::filesystem::current_path().string());
    TString const up = here.substr(0, here.rfind(u'/'));
    struct {
        TString name, full;
    } const rows[] = {
        {u"a",            here + u"/a"       },
        {u"./a//b/../c/", here + u"/a/c/"    },
        {u"",             here               },
        {u"..",           up                 },
        {u"../x",         up + u"/x"         },
        {u"/..",          u"/"               },
        {u"/../../",      u"/"               },
        {u"//a/./b/.",    u"/a/b"            },
        {u"/.a/..b/c..",  u"/.a/..b/c.."     },
        {u"a\\..\\b",     here + u"/a\\..\\b"},
        {u"/" + kLong,    u"/" + kLong       },
    };
    for (auto const& row : rows) {
        for (std::uint32_t size = 1; size < 400; size += 1 + size / 30) {
            bool const fits = row.full.size() < size;
            EXPECT_EQ(
                InBuffer(size, u"",
                         [&](TChar* d, std::uint32_t n) { HFile::GetFullName(d, n, row.name.c_str()); }),
                fits ? row.full : row.name.substr(0, size - 1));
        }
    }
    std::filesystem::create_directory("gone");
    std::filesystem::current_path("gone");
    std::filesystem::remove(dir.Path() / "gone");
    TChar full[50];
    HFile::GetFullName(full, 50, u"a/../b");
    EXPECT_EQ(TString(full), u"a/../b");
    std::filesystem::current_path(before);
}

// A run of backup extensions, each in a buffer that has just the room for one unit more.
std::vector<TString> RunOf(TString ext) {
    std::vector<TString> run;
    for (bool more = true; more;) {
        auto const size = static_cast<std::uint32_t>(ext.size()) + 2;
        TString const next =
            InBuffer(size, ext, [&](TChar* b, std::uint32_t n) { more = HFile::GetNextBackupExt(b, n); });
        EXPECT_EQ(next == ext, !more);
        if (more) run.push_back(ext = next);
        if (run.size() > 200) break;
    }
    return run;
}

TEST(HostNames, BackupExtensionsRunTo99) {
    auto const numbered = [](std::vector<TString> run, TString const& head, TString const& tail) {
        for (int n = 1; n <= 99; ++n) {
            TString digits;
            for (char const c : std::to_string(n)) digits += static_cast<TChar>(c);
            run.push_back(head + digits + (n < 10 ? tail : tail.substr(tail.empty() ? 0 : 1)));
        }
        return run;
    };
    EXPECT_EQ(RunOf(u".txt"), numbered({u".~xt"}, u".~", u"t"));
    EXPECT_EQ(RunOf(u"c"), numbered({u"~"}, u"~", u""));
    EXPECT_EQ(RunOf(u".html"), numbered({u".~tml"}, u".~", u"ml"));
    struct {
        TString from, to;
        std::uint32_t size;
    } const rows[] = {
        {u"",     u".~",   20},
        {u".",    u".~",   20},
        {u"a1b",  u"~",    20},
        {u"ab1",  u"~",    20},
        {u".abc", u".~bc", 20},
        {u"~9x",  u"~10",  20},
        {u"~12x", u"~13x", 20},
        {u"~1x",  u"~2x",  20},
        {u"~19x", u"~20x", 20},
        {u"~a1",  u"~1",   20},
        {u"~98",  u"~99",  20},
        {u"~99",  u"",     20},
        {u".~99", u"",     20},
        {u"~99x", u"",     20},
        {u"~",    u"",     2 },
        {u"~",    u"~1",   3 },
        {u".~9",  u"",     4 },
        {u".~9",  u".~10", 5 },
        {u"~8",   u"~9",   3 },
    };
    for (auto const& row : rows) {
        bool stepped = false;
        TString const next = InBuffer(row.size, row.from, [&](TChar* ext, std::uint32_t size) {
            stepped = HFile::GetNextBackupExt(ext, size);
        });
        EXPECT_EQ(stepped, !row.to.empty());
        EXPECT_EQ(next, stepped ? row.to : row.from) << BytesFromName(row.from.c_str());
    }
}

TEST(HostNames, BrokenContractsStopAndChangeNothing) {
    TChar buffer[8] = u"kept";
    void (*const kBroken[])(TChar*) = {
        [](TChar*) { HFile::CondAppendDirSep(nullptr, 8); },
        [](TChar* b) { HFile::CondAppendDirSep(b, 0); },
        [](TChar*) { HFile::BuildName(nullptr, 8, u"a", u"b"); },
        [](TChar* b) { HFile::BuildName(b, 0, u"a", u"b"); },
        [](TChar* b) { HFile::BuildName(b, 0, u"a", u"b", u"c", u"d"); },
        [](TChar* b) { HFile::SplitName(b, 8, b, 8, nullptr); },
        [](TChar* b) { HFile::SplitName(b, 8, nullptr, 0, u"a"); },
        [](TChar* b) { HFile::SplitName(b, 0, b, 8, b, 8, b, 8, u"a"); },
        [](TChar* b) { HFile::SplitName(b, 8, b, 8, b, 8, nullptr, 8, u"a"); },
        [](TChar* b) { HFile::GetFullName(b, 8, nullptr); },
        [](TChar* b) { HFile::GetFullName(b, 0, u"a"); },
        [](TChar* b) { HFile::GetNextBackupExt(b, 0); },
        [](TChar*) { HFile::GetTempDir(nullptr, 8); },
    };
    for (auto const call : kBroken) {
        SCOPED_TRACE(&call - kBroken);
        EXPECT_ASSERTION_STOP("HFile", call(buffer));
        NoteHalts noting;
        call(buffer);
        EXPECT_TRUE(EqualStr(buffer, u"kept"));
    }
}

// By the definition, one unit after the other.
bool Matches(std::u16string_view pattern, std::u16string_view name) {
    if (pattern.empty()) return name.empty();
    if (pattern[0] == u'*')
        return Matches(pattern.substr(1), name) || (!name.empty() && Matches(pattern, name.substr(1)));
    return !name.empty() && (pattern[0] == u'?' || pattern[0] == name[0]) &&
           Matches(pattern.substr(1), name.substr(1));
}

TEST(HostNames, WildcardsMatchByTheirDefinition) {
    std::vector<TString> patterns{u""}, names{u""};
    for (std::size_t i = 0; patterns[i].size() < 5; ++i) {
        for (TChar const c : {u'*', u'?', u'a', u'.'}) patterns.push_back(patterns[i] + c);
    }
    for (std::size_t i = 0; names[i].size() < 5; ++i) {
        for (TChar const c : {u'a', u'.'}) names.push_back(names[i] + c);
    }
    for (TString const& pattern : patterns) {
        for (TString const& name : names) {
            bool const want = pattern == u"*.*" || Matches(pattern, name);
            ASSERT_EQ(MatchesWildcard(pattern, name), want)
                << BytesFromName(pattern.c_str()) << " on " << BytesFromName(name.c_str());
        }
    }
    TString hostile;
    for (int i = 0; i < 1000; ++i) hostile += u"*a";
    EXPECT_FALSE(MatchesWildcard(hostile + u"b", TString(20000, u'a')));  // steps, not a power of them
}

}  // namespace
}  // namespace vfile::test
