// The words of every kind of stop, and what happens with them.
#include <gtest/gtest.h>
#include <vfile/halt.h>

#include <csignal>

#include "support/halts.h"

namespace vfile::test {
namespace {

TEST(Halt, SaysItWordByWord) {
    NoteHalts halts;
    Halt(u"as it % is");
    Halt(u"HSys", u"message");
    Halt(u"VMem", u"FindPage", u"reading from swap file failed");
    HaltA(u"VFile", 407);
    HaltA(u"Host", u"Proc", 0);
    HaltA(nullptr, SameLen);
    Fatal(u"HSys", 3);
    Fatal(u"\xD83D\xDE00", MaxLen);
    EXPECT_EQ(halts.Take(),
              (std::vector<TString>{
                  u"as it % is", u"HSys: message", u"VMem, FindPage():\nreading from swap file failed",
                  u"VFile, line 407:\nAssertion failure", u"Host, Proc(), line 0:\nAssertion failure",
                  u", line -2147483648:\nAssertion failure", u"Fatal Error 3 in module HSys ",
                  u"Fatal Error 2147483647 in module \xD83D\xDE00 "}));
}

TEST(Halt, CutsWhatIsLongerThanItsBuffer) {
    NoteHalts halts;
    for (std::size_t length = 225; length < 300; ++length) {
        TString text(length, u'a');
        text.back() = u'z';
        auto const expectCut = [&](TString const& whole) {
            EXPECT_EQ(halts.Take(), std::vector<TString>{whole.substr(0, 255)}) << length;
        };
        Halt(text.c_str(), u"m"), expectCut(text + u": m");
        Halt(u"M", u"P", text.c_str()), expectCut(u"M, P():\n" + text);
        HaltA(text.c_str(), text.c_str(), 1), expectCut(text + u", " + text);
        HaltA(text.c_str(), -12345), expectCut(text + u", line -12345:\nAssertion failure");
        Fatal(text.c_str(), 12), expectCut(u"Fatal Error 12 in module " + text + u" ");
        Halt(text.c_str());
        EXPECT_EQ(halts.Take(), std::vector<TString>{text}) << "never cut";
    }
}

TEST(HaltDeathTest, ShowsItAndAborts) {
    InstallHaltProc([](TChar const*) {});
    DeinstallHaltProc();
    DeinstallHaltProc();
    EXPECT_EXIT(Halt(u"VMem", u"FindPage", u"no \x20AC"), testing::KilledBySignal(SIGABRT),
                "Program halted(.|\n)*VMem, FindPage\\(\\):\nno \xE2\x82\xAC");
}

}  // namespace
}  // namespace vfile::test
