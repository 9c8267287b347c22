// Names as text, and those of a directory. What every buffer size makes of them, the fuzz targets names and wildcard tell.
#include "hostfile/wildcard.h"
#include "support/faults.h"
#include "support/halts.h"
#include "support/temp_dir.h"
#include "support/test.h"

namespace vfile::test {
namespace {

using Parts = std::array<TString, 4>;  // drive, directory, name, extension

TEST(HostNames, SplitAndBuild) {
    // clang-format off
    std::pair<TString, Parts> const paths[] = {
        {u"C:\\a.b\\c.tar.gz", {u"C:", u"\\a.b\\", u"c.tar", u".gz"}},
        {u".profile", {u"", u"", u"", u".profile"}},
        {u"a/b:c.d/", {u"", u"a/b:c.d/", u"", u""}},
    };
    // clang-format on
    for (auto const& [path, parts] : paths) {
        for (std::size_t out = 0; out < 5; ++out) {  // the part that is not wanted, or none
            TChar b[4][20] = {};
            auto const at = [&](std::size_t i) { return i == out ? nullptr : b[i]; };
            auto const size = [&](std::size_t i) { return i == out ? 0U : 20U; };
            HFile::SplitName(at(0), size(0), at(1), size(1), at(2), size(2), at(3), size(3), path.c_str());
            Parts want = parts;
            if (out < 4) want[out].clear();
            EXPECT_EQ((Parts{b[0], b[1], b[2], b[3]}), want) << out;
        }
    }
    // clang-format off
    TChar const* const built[][5] = {{u"c", u"x", u"y", u"z", u"c:x/y.z"}, {u"c", u"x/", u"y", u".z", u"c:x/y.z"}, {nullptr, nullptr, nullptr, nullptr, u""},
                                     {u"", u"\\", u"y", u"", u"\\y"}, {u"dd:", nullptr, nullptr, u"e", u"d:.e"}};
    // clang-format on
    for (auto const& row : built) {
        TChar name[20];
        HFile::BuildName(name, 20, row[0], row[1], row[2], row[3]);
        EXPECT_EQ(TString(name), row[4]);
    }
    EXPECT_TRUE(HFile::EqualName(u"A/b", u"a/B") && !HFile::EqualName(u"a/b", u"a\\b") &&
                !HFile::IsDirSep(u':'));
}

TEST(HostNames, BackupExtensions) {
    TChar const* const rows[][2] = {
        {u"",     u".~"  },
        {u".",    u".~"  },
        {u"a1b",  u"~"   },
        {u".abc", u".~bc"},
        {u"~9x",  u"~10" },
        {u"~19x", u"~20x"},
        {u"~ab",  u"~1b" },
        {u"~98",  u"~99" }
    };
    TChar ext[20];
    for (auto const& [from, to] : rows) {
        AssignStr(ext, 20, from);
        EXPECT_TRUE(HFile::GetNextBackupExt(ext, 20) && EqualStr(ext, to)) << BytesFromName(from);
    }
    EXPECT_FALSE(HFile::GetNextBackupExt(ext, 20)) << "behind 99";
    *ext = 0;
    EXPECT_TRUE(!HFile::GetNextBackupExt(ext, 2) && *ext == 0) << "no room";
}

TEST(HostNames, BrokenContractsStopAndChangeNothing) {
    TChar buffer[8] = u"kept";
    void (*const kBroken[])(TChar*) = {
        [](TChar*) { HFile::CondAppendDirSep(nullptr, 8); },
        [](TChar*) { HFile::BuildName(nullptr, 8, u"a", u"b"); },
        [](TChar* b) { HFile::SplitName(b, 8, b, 8, nullptr); },
        [](TChar* b) { HFile::SplitName(b, 0, b, 8, b, 8, b, 8, u"a"); },
        [](TChar* b) { HFile::GetFullName(b, 8, nullptr); },
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

TEST(HostDir, FindsWhatMatchesUnderAnyName) {
    TempDir dir;
    std::size_t const descriptors = OpenDescriptors();
    TString const full = NameFromBytes(std::filesystem::canonical(dir.Path()).string());
    // A directory stands for itself as "." and for the one above as "..".
    std::map<TString, TString> all{
        {u".",           full             },
        { u"..", full.substr(0, full.rfind(u'/'))}
    };
    for (char const* const odd :
         {"a.txt", "b.txt", ".hidden", "caf\xE9", "new\nline", "back\\slash", "\xF0\x9F\x98\x80", "*"}) {
        WriteWhole(dir.Bytes(odd), "");
        all[NameFromBytes(odd)] = full + u'/' + NameFromBytes(odd);
    }
    for (TString const pattern : {u"*.txt", u"?.txt", u"A.txt", u".*", u"a.txt", u"caf?", u"??", u"*.*", u"*",
                                  u"", u"no/*", u"a.txt/*"}) {
        std::set<TString> want, found;
        for (auto const& [name, given] : all)
            if (MatchesWildcard(pattern, name)) want.insert(given);
        TChar name[MaxNameUnits];
        HFileDir search((full + u'/' + pattern).c_str());
        while (search.FindNext(name, MaxNameUnits)) EXPECT_TRUE(found.insert(name).second);
        EXPECT_TRUE(found == want && search.Count() == std::ssize(want) && *name == 0)
            << BytesFromName(pattern.c_str());
        search.Start((full + u'/' + TString(255, u'x') + u"/*").c_str());
        EXPECT_FALSE(search.FindNext(name, MaxNameUnits));
    }
    WriteWhole(dir.Bytes(std::string(255, 'n')), "");  // too long for a name here, and counted all the same
    HFileDir search((full + u"/nn*").c_str());
    TChar name[MaxNameUnits];
    search.FindNext(name, MaxNameUnits);
    EXPECT_EQ(search.Count(), 1);
    search.Stop();
    EXPECT_EQ(OpenDescriptors(), descriptors) << "an ended search holds nothing";
}

TEST(HostDir, KeepsItsStates) {
    TempDir dir;
    for (int i = 0; i < 2; ++i) WriteWhole(dir.Bytes(std::to_string(i) + ".x"), "");
    TString const pattern = dir.Name("*.x");
    HFileDir search;
    TChar name[MaxNameUnits] = u"kept";
    auto const next = [&] { return search.FindNext(name, MaxNameUnits); };
    EXPECT_TRUE(!next() && *name == 0 && search.Count() == 0);
    EXPECT_TRUE(search.FindFirst(name, MaxNameUnits, pattern.c_str()) && !search.FindNext(nullptr, 9) &&
                next() && !next() && search.Count() == 2);
    EXPECT_TRUE(!search.FindFirst(nullptr, 9, pattern.c_str()) && !next() && search.Count() == 0);
    search.Start(pattern.c_str());
    EXPECT_ASSERTION_STOP("HFile", search.FindNext(name, 0));
    EXPECT_TRUE(search.FindNext(name, 3) && name[2] == 0 && name[1] != 0);  // cut
}

}  // namespace
}  // namespace vfile::test
