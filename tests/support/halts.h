// Turns a halt into an exception for the length of a scope, so that a test can see its message and go on.
#pragma once

#include "support/test.h"

namespace vfile::test {

struct HaltCaught {
    TString message;
};

class CatchHalts {
public:
    CatchHalts() {
        InstallHaltProc([](TChar const* message) { throw HaltCaught{message}; });
    }
    ~CatchHalts() { DeinstallHaltProc(); }
    CatchHalts(CatchHalts const&) = delete;
    CatchHalts& operator=(CatchHalts const&) = delete;
};

// Notes the messages of halts and lets the stopping operation go on.
class NoteHalts {
public:
    NoteHalts() {
        Noted().clear();
        InstallHaltProc([](TChar const* message) { Noted().emplace_back(message); });
    }
    ~NoteHalts() { DeinstallHaltProc(); }
    NoteHalts(NoteHalts const&) = delete;
    NoteHalts& operator=(NoteHalts const&) = delete;

    // What was noted since the last call.
    std::vector<TString> Take() { return std::exchange(Noted(), {}); }

private:
    static std::vector<TString>& Noted() {
        static thread_local std::vector<TString> noted;
        return noted;
    }
};

// The message of the halt that `action` runs into, empty when it does not.
template <class Action>
std::string HaltOf(Action action) {
    CatchHalts catching;
    try {
        action();
    } catch (HaltCaught const& halt) {
        return std::string(halt.message.begin(), halt.message.end());  // the library's own messages are ASCII
    }
    return {};
}

}  // namespace vfile::test

// An assertion stop says its line, which a test does not pin down.
#define EXPECT_ASSERTION_STOP(module, action)                                              \
    do {                                                                                   \
        std::string const haltText = ::vfile::test::HaltOf([&] { action; });               \
        EXPECT_EQ(haltText.rfind(module ", line ", 0), 0u) << "halted with: " << haltText; \
        EXPECT_NE(haltText.find(":\nAssertion failure"), std::string::npos) << haltText;   \
    } while (false)
