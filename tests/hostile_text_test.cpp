// Files that no text editor would write, and files that change while they are read.
#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/char_file.h>

#include <atomic>
#include <thread>

#include "support/temp_dir.h"
#include "support/twin.h"

namespace vfile::test {
namespace {

using enum TCharVFile::Encoding;

std::string Times(std::size_t n, std::string const& part) {
    std::string all;
    all.reserve(n * part.size());
    while (n-- > 0) all += part;
    return all;
}

// Lines as a plain loop sees them: ended by LF, CR or CR LF.
std::int32_t PlainLines(std::string const& s) {
    std::int32_t lines = 0;
    for (std::size_t i = 0; i < s.size(); ++i)
        lines += s[i] == '\r' || (s[i] == '\n' && (i == 0 || s[i - 1] != '\r'));
    return lines;
}

TEST(HostileText, BytesOfAnyKindComeBack) {
    TempDir const dir;
    std::string everyByte;
    for (int i = 0; i < 256 * 300; ++i) everyByte += static_cast<char>(i % 256 ^ i / 256);
    for (std::string const& bytes :
         {everyByte, std::string(3'000'000, '\0'), Times(1'000'000, "\n"), Times(400'000, "\r\n"),
          Times(700'000, "\r"), Times(50'000, "\n\r\r\n\n"), std::string(10'000'000, 'x'),
          std::string(1023, 'x') + Times(3000, "\r\nx")}) {
        WriteWhole(dir.Bytes("in"), bytes);
        VFile file;
        file.Load(dir.Name("in").c_str(), 1);
        ASSERT_EQ(file.res, ResDone);
        std::int32_t lines = 0;
        char line[100];
        for (file.SetPos(0); !file.Eof(); ++lines) file.ReadLine(line, sizeof line);
        bool const open = !bytes.ends_with('\n') && !bytes.ends_with('\r');
        EXPECT_EQ(lines, PlainLines(bytes) + open);
        file.SaveSafe(dir.Name("out").c_str());
        EXPECT_TRUE(ReadWhole(dir.Bytes("out")) == bytes);
        TCharVFile text;
        text.LoadTextAs(dir.Name("in"), EncodingUtf16BE, 1);
        text.SaveText(dir.Name("out"), true, EncodingUtf16BE, false);
        std::string const back = ReadWhole(dir.Bytes("out"));
        EXPECT_TRUE(text.res == ResDone && back == bytes.substr(0, bytes.size() / 2 * 2));
    }
}

// One of each class of what is no UTF-8, at every place around the border of two pieces of the file.
TEST(HostileText, IllFormedAroundTheBorderOfAPiece) {
    struct {
        char const* bytes;
        int replacements;
    } const kClasses[] = {
        {"\x80",             1},
        {"\xC0\xAF",         2},
        {"\xC3",             1},
        {"\xE0\x9F\xBF",     3},
        {"\xE2\x82",         1},
        {"\xED\xA0\x80",     3},
        {"\xF0\x8F\xBF\xBF", 4},
        {"\xF0\x9F\x98",     1},
        {"\xF4\x90\x80\x80", 4},
        {"\xF8\x88\x80\x80", 4},
        {"\xFF",             1},
    };
    TempDir const dir;
    for (auto const& c : kClasses) {
        for (std::size_t at = 65536 - 5; at <= 65536 + 1; ++at) {
            WriteWhole(dir.Bytes("in"), std::string(at, 'x') + c.bytes + "y");
            TCharVFile text;
            text.LoadTextAs(dir.Name("in"), EncodingUtf8, 1);
            TString const want =
                TString(at, u'x') + TString(static_cast<std::size_t>(c.replacements), u'\uFFFD') + u'y';
            EXPECT_TRUE(text.ToString() == want) << at;
        }
    }
}

// Whatever it gets: bytes that the file had there at some time, or a code and nothing.
TEST(HostileText, FilesThatChangeWhileTheyAreRead) {
    TempDir const dir;
    std::string const path = dir.Bytes("in");
    std::string const whole = Pattern(2'000'000);
    WriteWhole(path, whole);
    std::atomic<bool> over = false;
    std::thread changing([&] {
        for (int i = 0; !over; ++i) {
            if (truncate(path.c_str(), i % 3 * 900'000) != 0 || i % 5 == 4) unlink(path.c_str());
            if (i % 5 == 4) WriteWhole(path, whole);
        }
    });
    for (int i = 0; i < 100; ++i) {
        VFile file;
        file.Load(dir.Name("in").c_str(), 1);
        std::string const got = AllBytes(file);
        bool its = got.size() <= whole.size();
        for (std::size_t n = 0; its && n < got.size(); ++n) its = got[n] == whole[n] || got[n] == '\0';
        EXPECT_TRUE(file.res == ResDone ? its : got.empty());
        ExpectSound(file);
    }
    over = true;
    changing.join();
}

}  // namespace
}  // namespace vfile::test
