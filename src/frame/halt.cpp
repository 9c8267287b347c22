#include <vfile/halt.h>

#include <atomic>
#include <iterator>

#include "platform/platform.h"

namespace vfile {
namespace {

void DefaultHaltProc(TChar const* message) { platform::ShowAndAbort(u"Program halted", message); }

// Constant-initialised, so that a stop in any static constructor finds it. Atomic only so that a stop on one
// thread and an install on another are no data race; nothing is ordered by it.
constinit std::atomic<HaltProc> currentHaltProc{&DefaultHaltProc};

// A message under construction, on the stack of the stopping call: nothing here may need memory, since a stop
// may be about the want of it.
class HaltText {
public:
    HaltText& operator<<(TChar const* text) {
        if (text) {
            while (*text && length_ < kMaxUnits) units_[length_++] = *text++;
        }
        units_[length_] = 0;
        return *this;
    }

    HaltText& operator<<(std::int32_t number) {
        TChar digits[12];  // ten digits, sign, terminator
        TChar* first = digits + std::size(digits);
        *--first = 0;
        // Unsigned, for the smallest number has no positive counterpart.
        std::uint32_t rest = static_cast<std::uint32_t>(number);
        if (number < 0) rest = 0 - rest;
        do *--first = static_cast<TChar>(u'0' + rest % 10);
        while (rest /= 10);
        if (number < 0) *--first = u'-';
        return *this << first;
    }

    void Stop() const { Halt(units_); }

private:
    static constexpr std::size_t kMaxUnits = 255;

    TChar units_[kMaxUnits + 1];
    std::size_t length_ = 0;
};

}  // namespace

void InstallHaltProc(HaltProc proc) { currentHaltProc.store(proc, std::memory_order_relaxed); }

void DeinstallHaltProc() { InstallHaltProc(&DefaultHaltProc); }

void Halt(TChar const* msg) { currentHaltProc.load(std::memory_order_relaxed)(msg); }

void Halt(TChar const* module, TChar const* msg) { (HaltText() << module << u": " << msg).Stop(); }

void Halt(TChar const* module, TChar const* proc, TChar const* msg) {
    (HaltText() << module << u", " << proc << u"():\n" << msg).Stop();
}

void HaltA(TChar const* module, std::int32_t line) {
    (HaltText() << module << u", line " << line << u":\nAssertion failure").Stop();
}

void HaltA(TChar const* module, TChar const* proc, std::int32_t line) {
    (HaltText() << module << u", " << proc << u"(), line " << line << u":\nAssertion failure").Stop();
}

void Fatal(TChar const* module, std::int32_t number) {
    (HaltText() << u"Fatal Error " << number << u" in module " << module << u" ").Stop();
}

}  // namespace vfile
