#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/host_dir.h>
#include <vfile/host_file.h>
#include <vfile/names.h>

#include <climits>
#include <random>
#include <set>

#include "support/faults.h"
#include "support/halts.h"
#include "support/temp_dir.h"

namespace vfile::test {
namespace {

std::set<std::string> Found(HFileDir& search) {
    std::set<std::string> names;
    TChar name[MaxNameUnits];
    while (search.FindNext(name, MaxNameUnits)) {
        EXPECT_TRUE(names.insert(BytesFromName(name)).second);
        EXPECT_EQ(search.Count(), std::ssize(names));
    }
    EXPECT_EQ(*name, 0);
    return names;
}

TEST(HostDir, FindsWhatMatchesUnderAnyName) {
    TempDir dir;
    std::string const full = std::filesystem::canonical(dir.Path()).string();
    std::string const up = full.substr(0, full.rfind('/'));
    std::string const odd[] = {"a.txt",
                               "b.txt",
                               ".hidden",
                               "caf\xE9",
                               "new\nline",
                               "star*",
                               "back\\slash",
                               std::string(255, 'n'),
                               "\xF0\x9F\x98\x80",
                               "folder"};
    std::set<std::string> all{full, up};
    for (std::string const& name : odd) {
        name == "folder" ? void(std::filesystem::create_directory(dir.Bytes(name)))
                         : WriteWhole(dir.Bytes(name), "");
        if (full.size() + 1 + name.size() < MaxNameUnits) all.insert(full + "/" + name);
    }
    std::size_t const descriptors = OpenDescriptors();
    struct {
        char const* pattern;
        std::set<std::string> want;
    } const rows[] = {
        {"/*.txt",     {full + "/a.txt", full + "/b.txt"}},
        {"/?.txt",     {full + "/a.txt", full + "/b.txt"}},
        {"/A.txt",     {}                                },
        {"/.*",        {full, up, full + "/.hidden"}     },
        {"/a.txt",     {full + "/a.txt"}                 },
        {"/caf?",      {full + "/caf\xE9"}               },
        {"/??",        {up, full + "/\xF0\x9F\x98\x80"}  }, // a character beyond U+FFFF is two units
        {"/no/*",      {}                                },
        {"/a.txt/*",   {}                                },
        {"//folder/*", {full + "/folder", full}          },
        {"/",          {}                                },
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.pattern);
        HFileDir search((NameFromBytes(full + row.pattern)).c_str());
        EXPECT_EQ(Found(search), row.want);
        EXPECT_EQ(search.Count(), std::ssize(row.want));
    }
    HFileDir search(NameFromBytes(full + "/*.*").c_str());
    std::set<std::string> got = Found(search);
    std::erase_if(got, [](std::string const& name) { return name.find("nnnn") != std::string::npos; });
    EXPECT_EQ(got, all);
    EXPECT_EQ(search.Count(), std::ssize(odd) + 2);
    EXPECT_EQ(OpenDescriptors(), descriptors) << "an ended search holds nothing";
    std::filesystem::path const before = std::filesystem::current_path();
    std::filesystem::current_path(full);
    search.Start(u"*.txt");
    EXPECT_EQ(Found(search), rows[0].want);
    std::filesystem::current_path(before);
    std::string const deep = full + "/" + std::string(255, 'x') + "/*";
    search.Start(NameFromBytes(deep).c_str());
    EXPECT_TRUE(Found(search).empty());
}

TEST(HostDir, KeepsItsStates) {
    TempDir dir;
    for (int i = 0; i < 3; ++i) WriteWhole(dir.Bytes(std::to_string(i) + ".x"), "");
    TString const pattern = dir.Name("*.x");
    std::size_t const descriptors = OpenDescriptors();
    HFileDir search;
    TChar name[MaxNameUnits] = u"kept";
    auto const next = [&] { return search.FindNext(name, MaxNameUnits); };
    EXPECT_TRUE(!next() && *name == 0 && search.Count() == 0);
    EXPECT_TRUE(search.FindFirst(name, MaxNameUnits, pattern.c_str()) && search.Count() == 1);
    EXPECT_TRUE(!search.FindNext(nullptr, 9) && search.Count() == 1);  // does not move on
    EXPECT_TRUE(next() && next() && search.Count() == 3);
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(!next() && *name == 0 && search.Count() == 3);
    search.Stop();
    EXPECT_EQ(search.Count(), 0);
    EXPECT_TRUE(search.FindFirst(name, MaxNameUnits, pattern.c_str()));
    EXPECT_TRUE(!search.FindFirst(nullptr, 9, pattern.c_str()) && search.Count() == 0);
    EXPECT_FALSE(next());
    for (TChar const* const nothing : {u"", static_cast<TChar const*>(nullptr)}) {
        search.Start(pattern.c_str());
        EXPECT_TRUE(next());
        search.Start(nothing);
        EXPECT_TRUE(!next() && search.Count() == 0);
    }
    EXPECT_FALSE(search.FindFirst(name, MaxNameUnits, dir.Name("*.y").c_str()));
    EXPECT_TRUE(search.Count() == 0 && OpenDescriptors() == descriptors);
    search.Start(pattern.c_str());
    EXPECT_ASSERTION_STOP("HFile", search.FindNext(name, 0));
    EXPECT_TRUE(search.FindNext(name, 3) && name[2] == 0 && name[1] != 0);  // cut
}

// ReadLine as if by one byte after the other.
struct ByteReader {
    std::string bytes;
    std::size_t pos = 0;
    bool eof = false;

    std::string ReadLine(std::size_t size) {
        std::string line;
        for (;;) {
            eof = pos == bytes.size();
            if (eof) break;
            char const c = bytes[pos++];
            if (c == '\r' && pos < bytes.size() && bytes[pos] == '\n') ++pos;
            if (c == '\r' || c == '\n') break;
            if (line.size() + 1 < size) line += c;
        }
        return line;
    }
};

TEST(HostLines, PiecesReadAsBytesDo) {
    std::mt19937 random(20);
    TempDir dir;
    for (int round = 0; round < 40; ++round) {
        std::string bytes(static_cast<std::size_t>(round < 20 ? round : 4080 + round), 'a');
        std::size_t const rarity = round < 20 ? 3 : round % 2 ? 60 : 4000;
        for (char& c : bytes) {
            if (random() % rarity == 0) c = "\r\n\r\0"[random() % 4];
        }
        if (round % 3 == 0) bytes += "\r";
        if (round >= 20) bytes.insert(4095, round % 2 ? "\r\n" : "\rb");  // over the end of a piece
        WriteWhole(dir.Bytes("lines"), bytes);
        HFile file;
        ASSERT_TRUE(file.OpenSeqRead(dir.Name("lines").c_str()));
        for (ByteReader model{bytes}; !model.eof;) {
            auto const size = static_cast<std::int32_t>(1 + random() % (random() % 2 ? 9 : 9000));
            std::string const want = model.ReadLine(static_cast<std::size_t>(size));
            char line[9001];
            ASSERT_EQ(file.ReadLine(line, size), std::ssize(want));
            ASSERT_EQ(std::string(line, want.size() + 1), want + '\0');
            ASSERT_TRUE(file.GetPos() == static_cast<std::int32_t>(model.pos) && file.eof == model.eof &&
                        file.res == ResDone);
        }
    }
}

TEST(HostLines, ALineTakesThreeCallsAtMost) {
    TempDir dir;
    std::string bytes;
    for (int i = 0; i < 200; ++i)
        bytes += std::string(80, 'x') + (i % 3 == 0 ? "\n" : i % 3 == 1 ? "\r\n" : "\r");
    WriteWhole(dir.Bytes("lines"), bytes + "end\r");
    HFile file;
    ASSERT_TRUE(file.OpenSeqRead(dir.Name("lines").c_str()));
    char line[100];
    for (int i = 0; i <= 201; ++i) {
        Faults const counting({Fault::kFail, INT_MAX});
        EXPECT_EQ(file.ReadLine(line, 100), i < 200 ? 80 : i == 200 ? 3 : 0);
        EXPECT_LE(counting.Seen(), 3);
        EXPECT_EQ(file.eof, i == 201);
    }
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "ab\r\ncd\nef\rgh", 12), 12);
    close(ends[1]);
    HFile piped(HandleOf(ends[0]));
    for (char const* const want : {"ab", "cd", "ef"}) {
        piped.ReadLine(line, 100);
        EXPECT_STREQ(line, want);
        EXPECT_EQ(piped.res == ResDone, want[0] != 'e');  // the byte behind a lone CR is lost, and told
    }
    piped.res = ResDone;
    EXPECT_TRUE(piped.ReadLine(line, 100) == 1 && line[0] == 'h' && piped.eof);
    HFile failing;
    ASSERT_TRUE(failing.OpenSeqRead(dir.Name("lines").c_str()));
    Faults const faults({Fault::kFail, 1, EIO, 0, Call::kRead});
    EXPECT_TRUE(failing.ReadLine(line, 100) == 0 && line[0] == 0 && failing.res == ResDiskParityError &&
                !failing.eof);
}

}  // namespace
}  // namespace vfile::test
