#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/platform.h"
#include "platform/posix/calls.h"
#include "unicode/utf.h"

namespace vfile::platform {

namespace {

// Standard error through a buffer on the stack: one write, so that a short message comes out in one piece.
class ErrorText {
public:
    ~ErrorText() { Flush(); }

    void Append(TChar const* text) {
        std::size_t const units = text ? std::char_traits<TChar>::length(text) : 0;
        for (std::size_t at = 0; at < units;) {
            unicode::Step const step = unicode::DecodeUtf16(text + at, units - at);
            if (sizeof bytes_ - size_ < unicode::kMaxUtf8Bytes) Flush();
            size_ += unicode::EncodeUtf8(step.codePoint, bytes_ + size_);
            at += step.len;
        }
    }

private:
    void Flush() {
        for (std::size_t done = 0; done < size_;) {
            ssize_t const put = Repeated([&] { return write(STDERR_FILENO, bytes_ + done, size_ - done); });
            if (put <= 0) break;  // nobody listens; the abort still tells
            done += static_cast<std::size_t>(put);
        }
        size_ = 0;
    }

    std::size_t size_ = 0;
    char bytes_[1024];
};

}  // namespace

void ShowAndAbort(TChar const* title, TChar const* message) {
    {
        ErrorText text;
        text.Append(title);
        text.Append(u": ");
        text.Append(message);
        text.Append(u"\n");
    }
    std::abort();
}

}  // namespace vfile::platform
