// A text file of the host on its way into a virtual file: read in steps, handed on as units.
#pragma once

#include <vfile/char_file.h>

#include <optional>

#include "text/codec.h"
#include "vfile/inflow.h"
#include "vfile/step_buffer.h"

namespace vfile {

class TextInflow final : public Inflow {
public:
    explicit TextInflow(Inflow& hostFile) : host(hostFile), step(MaxLen) {}

    // Reads the first bytes, decides, and passes over the mark: over that of `known` where it is given. False:
    // Code() tells why. To be called first.
    bool Begin(std::optional<TCharVFile::Encoding> known);

    TCharVFile::Encoding Found() const { return encoding; }

    // Whether it was the host file that could not be read.
    bool ReadFailed() const { return readFailed; }

    bool IsOpen() const override { return host.IsOpen(); }

    // Where a zero byte may end the text, the size of the file tells nothing.
    std::int64_t SureBytes() const override { return EndsAtZero(encoding) ? 0 : Held() + host.SureBytes(); }

    bool Read(void* dst, std::int32_t len, std::int32_t& got) override;
    FileRes Code() const override { return code; }

    // What is converted comes as units of this process, not as bytes of a file.
    bool IsWatched() const override { return decoder.has_value(); }

private:
    std::int32_t Held() const { return end - begin; }
    char const* Bytes() { return reinterpret_cast<char const*>(step.Data()) + begin; }
    bool Take(void* dst, std::int32_t len, std::int32_t& got);
    bool Refill(std::int32_t limit);
    void CutAtZero(std::int32_t from);
    bool ReadPlain(unsigned char* dst, std::int32_t len, std::int32_t& got);
    bool ReadDecoded(TChar* dst, std::size_t room, std::int32_t& got);

    Inflow& host;
    StepBuffer step;
    std::int32_t begin = 0;  // what was read and not handed on yet
    std::int32_t end = 0;
    bool ended = false;  // nothing comes behind that
    bool readFailed = false;
    TCharVFile::Encoding encoding = TCharVFile::EncodingUtf16;
    std::optional<Decoder> decoder;
    FileRes code = ResDone;
};

}  // namespace vfile
