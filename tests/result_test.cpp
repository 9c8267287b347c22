#include <gtest/gtest.h>
#include <vfile/host_file.h>
#include <vfile/result.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>

#include "platform/platform.h"
#include "support/halts.h"

namespace vfile::test {
namespace {

using Lookup = void (*)(TChar*, std::uint32_t, FileRes);

// The words for `res`, in a buffer of `size` units whose neighbour must stay.
std::string Words(Lookup lookup, FileRes res, std::uint32_t size = 60) {
    TChar msg[64];
    std::fill(std::begin(msg), std::end(msg), u'#');
    lookup(msg, size, res);
    EXPECT_EQ(msg[size], u'#');
    TString const units = msg;
    return {units.begin(), units.end()};
}

TEST(Result, EveryCodeHasItsWords) {
    std::istringstream words(
        "unknown error code|done|not done|call error|context error|read only|heap overflow|already exists|"
        "already open|illegal drive|illegal path|illegal name|illegal file|unknown drive|unknown path|not "
        "found|"
        "disk full|too long|no permission|not supported|not implemented|too many files|device off|"
        "disk parity error|hardware error|network error|unknown error code");
    FileRes res = -1;
    for (std::string word; std::getline(words, word, '|'); ++res) {
        EXPECT_EQ(Words(HFile::GetResMsg, res), word);
        EXPECT_EQ(Words(GetTextResMsg, res), res == ResHeapOverflow ? "not enough memory" : word);
        HFile file;
        file.res = res;
        EXPECT_EQ(GetFileRes(file), 0 <= res && res <= 24 ? res : ResNotDone);
    }
    EXPECT_EQ(res, ResNetworkError + 2);
    for (Lookup const lookup : {HFile::GetResMsg, GetTextResMsg}) {
        EXPECT_EQ(Words(lookup, ResNotDone, 6), "not d");
        EXPECT_EQ(Words(lookup, ResNotDone, 1), "");
        EXPECT_ASSERTION_STOP("HSys", lookup(nullptr, 6, ResDone));
    }
}

// All 65536 numbers: what no entry names is "not done".
TEST(Result, TranslatesTheSystemsErrors) {
    std::istringstream entries(
        "0:0 1:2 2:14 3:9 4:20 5:17 6:2 8:5 12:17 14:5 15:8 19:4 20:8 23:22 32:17 33:17 36:20 39:15 50:18 "
        "51:21 "
        "52:10 53:13 54:24 55:21 65:17 80:6 87:2 112:15 120:19 123:10 161:9 183:6 267:13 1006:11");
    std::map<std::uint32_t, FileRes> named;
    std::uint32_t number;
    char colon;
    while (entries >> number >> colon) entries >> named[number];
    for (std::uint32_t error = 0; error <= 0xFFFF; ++error) {
        FileRes const want = named.contains(error) ? named[error] : ResNotDone;
        platform::SetLastError(error);
        ASSERT_EQ(GetFileRes(), want) << error;
        platform::SetLastError(error | 0x80070000);
        ASSERT_EQ(GetFileRes(), want) << error;
    }
}

}  // namespace
}  // namespace vfile::test
