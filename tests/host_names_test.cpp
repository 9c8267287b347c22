// Names as text. What every buffer size makes of them, the fuzz targets names and wildcard tell against models.
#include <gtest/gtest.h>
#include <vfile/bounded_strings.h>
#include <vfile/host_file.h>
#include <vfile/names.h>

#include <algorithm>
#include <array>
#include <vector>

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

using Parts = std::array<TString, 4>;  // drive, directory, name, extension

struct {
    TString path;
    Parts parts;
} const kSplits[] = {
    {u"C:\\a.b\\c.tar.gz", Parts{u"C:", u"\\a.b\\", u"c.tar", u".gz"}},
    {u"a.b\\c",            Parts{u"", u"a.b\\", u"c", u""}           },
    {u".profile",          Parts{u"", u"", u"", u".profile"}         },
    {u"/usr/lib\\x.so",    Parts{u"", u"/usr/lib\\", u"x", u".so"}   },
    {u"",                  Parts{u"", u"", u"", u""}                 },
    {u"//\\/",             Parts{u"", u"//\\/", u"", u""}            },
    {u"...",               Parts{u"", u"", u"..", u"."}              },
    {u"x:",                Parts{u"x:", u"", u"", u""}               },
    {u"::a",               Parts{u"::", u"", u"a", u""}              },
    {u"a/b:c.d/",          Parts{u"", u"a/b:c.d/", u"", u""}         },
};

TEST(HostNames, SplitGivesWhatIsWantedOfAPath) {
    for (auto const& row : kSplits) {
        for (std::size_t out = 0; out < 5; ++out) {  // the part that is not wanted, or none
            TChar buffers[4][20] = {};
            std::array<TChar*, 4> at;
            std::array<std::uint32_t, 4> sizes;
            for (std::size_t i = 0; i < 4; ++i) {
                at[i] = i == out ? nullptr : buffers[i];
                sizes[i] = i == out ? 0 : 20;
            }
            HFile::SplitName(at[0], sizes[0], at[1], sizes[1], at[2], sizes[2], at[3], sizes[3],
                             row.path.c_str());
            Parts want = row.parts;
            if (out < 4) want[out].clear();
            EXPECT_EQ((Parts{buffers[0], buffers[1], buffers[2], buffers[3]}), want) << out;
        }
    }
    TChar dir[] = u"old", ext[] = u"old";
    HFile::SplitName(nullptr, 0, dir, 4, nullptr, 0, ext, 4, u"long/a.b");
    EXPECT_TRUE(*dir == 0 && *ext == 0) << "a part that fits beside one that does not";
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
        for (std::uint32_t size = 1; size < 10; ++size) {
            auto const build = [&](TChar* dst, std::uint32_t n) {
                HFile::BuildName(dst, n, row.drive, row.dir, row.name, row.ext);
            };
            EXPECT_EQ(InBuffer(size, u"", build), TString(row.want).substr(0, size - 1));
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
    TString const up = here.substr(0, here.rfind(u'/')), longest = u"/" + TString(300, u'x');
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
        {longest,         longest            },
    };
    for (auto const& row : rows) {
        auto const full = [&row](TChar* dst, std::uint32_t n) {
            HFile::GetFullName(dst, n, row.name.c_str());
        };
        auto const units = static_cast<std::uint32_t>(row.full.size());
        EXPECT_EQ(InBuffer(units + 1, u"", full), row.full);
        for (std::uint32_t const tight : {1U, units})
            EXPECT_EQ(InBuffer(tight, u"", full), row.name.substr(0, tight - 1));
    }
    std::filesystem::create_directory("gone");
    std::filesystem::current_path("gone");
    std::filesystem::remove(dir.Path() / "gone");
    TChar full[50];
    HFile::GetFullName(full, 50, u"a/../b");
    EXPECT_EQ(TString(full), u"a/../b");
    std::filesystem::current_path(before);
}

TEST(HostNames, BackupExtensionsRunTo99) {
    struct {
        TString from, to;  // empty: there is none
        std::uint32_t size;
    } const rows[] = {
        {u"",     u".~",   20},
        {u".",    u".~",   20},
        {u"",     u"",     2 },
        {u".",    u".~",   3 },
        {u"a1b",  u"~",    20},
        {u"ab1",  u"~",    20},
        {u".abc", u".~bc", 20},
        {u"~9x",  u"~10",  20},
        {u"~12x", u"~13x", 20},
        {u"~1x",  u"~2x",  20},
        {u"~19x", u"~20x", 20},
        {u"~a1",  u"~1",   20},
        {u"c",    u"~",    20},
        {u".a-b", u".~-b", 20},
        {u"~ab",  u"~1b",  20},
        {u"~5",   u"~6",   20},
        {u"~98",  u"~99",  20},
        {u".~99", u"",     20},
        {u"~99x", u"",     20},
        {u"~",    u"",     2 },
        {u"~",    u"~1",   3 },
        {u".~9",  u"",     4 },
        {u".~9",  u".~10", 5 },
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

}  // namespace
}  // namespace vfile::test
