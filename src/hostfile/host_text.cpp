// What HFile reads and writes as text: runs of characters, numbers, stretches.
#include <vfile/halt.h>
#include <vfile/host_file.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "frame/number_text.h"
#include "frame/stop.h"

namespace vfile {
namespace {

// Numbers stand low byte first, whatever the machine.
void TurnForFile(unsigned char* value, std::int32_t width) {
    if constexpr (std::endian::native == std::endian::big) std::reverse(value, value + width);
}

}  // namespace

void internal::ReadNumber(HFile& file, void* value, std::int32_t width) {
    auto* const bytes = static_cast<unsigned char*>(value);
    TurnForFile(bytes, width);  // a read that falls short leaves the upper part of the variable
    file.ReadBytes(bytes, width);
    TurnForFile(bytes, width);
}

void internal::WriteNumber(HFile& file, void const* value, std::int32_t width) {
    unsigned char bytes[8];
    std::memcpy(bytes, value, static_cast<std::size_t>(width));
    TurnForFile(bytes, width);
    file.WriteBytes(bytes, width);
}

void internal::WriteRun(HFile& file, unsigned char c, std::int32_t count) {
    if (file.res != ResDone || count < 1) return;
    unsigned char run[1024];
    std::memset(run, c, std::min(sizeof run, static_cast<std::size_t>(count)));
    while (count > 0 && file.res == ResDone) {
        std::int32_t const piece = std::min<std::int32_t>(count, sizeof run);
        file.WriteBytes(run, piece);
        count -= piece;
    }
}

void HFile::Write(char const* text) {
    VFILE_REQUIRE(u"HFile", text);
    if (!text) return;
    std::size_t left = std::strlen(text);
    while (left > 0 && res == ResDone) {
        std::size_t const piece = std::min<std::size_t>(left, MaxLen);
        WriteBytes(text, static_cast<std::int32_t>(piece));
        text += piece;
        left -= piece;
    }
}

void HFile::WriteLn() { WriteBytes("\r\n", 2); }

namespace {

template <class T>
HFile& Put(HFile& file, T value) {
    if (!IsRadix(file.radix)) {
        Halt(u"HFile", u"operator<<", u"radix out of range");
        return file;
    }
    NumberScratch scratch;
    std::string_view const text = NumberText(scratch, value, file.radix);
    file.WriteBytes(text.data(), static_cast<std::int32_t>(text.size()));
    return file;
}

}  // namespace

HFile& internal::PutNumber(HFile& file, std::int32_t value) { return Put(file, value); }
HFile& internal::PutNumber(HFile& file, std::uint32_t value) { return Put(file, value); }
HFile& internal::PutNumber(HFile& file, std::int64_t value) { return Put(file, value); }
HFile& internal::PutNumber(HFile& file, std::uint64_t value) { return Put(file, value); }

std::int32_t HFile::ReadTxt(char* buf, std::int32_t size, std::int32_t pos, std::int32_t len) {
    if (res != ResDone) return 0;
    if (!buf || size < 1 || pos < 0 || len < 0) {
        res = ResCallError;
        return 0;
    }
    std::int32_t const length = Length();
    pos = std::min(pos, length);
    len = std::min({len, length - pos, size - 1});
    SetPos(pos);
    std::int32_t const got = ReadBytes(buf, len);
    buf[got] = '\0';
    return got;
}

}  // namespace vfile
