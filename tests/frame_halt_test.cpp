// The words of every kind of stop, and what happens with them.
#include <gtest/gtest.h>
#include <vfile/halt.h>

#include <csignal>

#include "support/halts.h"

namespace vfile::test {
namespace {

TString Letters(std::size_t count) {
    TString letters;
    for (std::size_t i = 0; i < count; ++i) letters += static_cast<TChar>(u'a' + i % 26);
    return letters;
}

TEST(Halt, SaysItWordByWord) {
    struct {
        void (*stop)();
        TChar const* text;
    } const kCases[] = {
        {[] { Halt(u"as it % is"); },                                          u"as it % is"                                    },
        {[] { Halt(u"HSys", u"message"); },                                    u"HSys: message"                                 },
        {[] { Halt(u"VMem", u"FindPage", u"reading from swap file failed"); },
         u"VMem, FindPage():\nreading from swap file failed"                                                                    },
        {[] { HaltA(u"VFile", 407); },                                         u"VFile, line 407:\nAssertion failure"           },
        {[] { HaltA(u"Host", u"Proc", 0); },                                   u"Host, Proc(), line 0:\nAssertion failure"      },
        {[] { Fatal(u"HSys", 3); },                                            u"Fatal Error 3 in module HSys "                 },
        {[] { Fatal(u"\xD83D\xDE00", MaxLen); },                               u"Fatal Error 2147483647 in module \xD83D\xDE00 "},
        {[] { HaltA(nullptr, -10); },                                          u", line -10:\nAssertion failure"                },
        {[] { HaltA(u"", nullptr, SameLen); },                                 u", (), line -2147483648:\nAssertion failure"    },
    };
    NoteHalts halts;
    for (auto const& c : kCases) {
        c.stop();
        EXPECT_EQ(halts.Take(), std::vector<TString>{c.text});
    }
}

TEST(Halt, CutsWhatIsLongerThanItsBuffer) {
    NoteHalts halts;
    for (std::size_t length = 230; length < 300; ++length) {
        TString const text = Letters(length);
        auto const expectCut = [&](TString const& whole) {
            EXPECT_EQ(halts.Take(), std::vector<TString>{whole.substr(0, 255)}) << length;
        };
        Halt(text.c_str(), u"m"), expectCut(text + u": m");
        Halt(u"M", u"P", text.c_str()), expectCut(u"M, P():\n" + text);
        HaltA(text.c_str(), text.c_str(), 1), expectCut(text + u", " + text);
        HaltA(text.c_str(), -12345), expectCut(text + u", line -12345:\nAssertion failure");
        Fatal(text.c_str(), 12), expectCut(u"Fatal Error 12 in module " + text + u" ");
    }
    TString const endless = Letters(10'000);
    Halt(endless.c_str());
    EXPECT_EQ(halts.Take(), std::vector<TString>{endless});
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
