// The editing forms that are more than one call: assignment, the stream operators, numbers as text.
#include <vfile/halt.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <cstring>

#include "frame/number_text.h"
#include "vfile/block.h"

namespace vfile {

// A file assigned to itself is a source that overlaps, as good as any: its bytes stay.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
VFile& VFile::operator=(VFile const& src) {
    ReplaceTxt(0, Length(), src, 0, MaxLen);
    return *this;
}

VFile& VFile::operator=(char const* s) {
    internal::ReplaceString(*this, 0, Length(), s);
    return *this;
}

VFile& VFile::operator=(char ch) {
    ReplaceBuf(0, Length(), &ch, 1);
    return *this;
}

VFile& VFile::operator=(signed char ch) {
    ReplaceBuf(0, Length(), &ch, 1);
    return *this;
}

VFile& VFile::operator=(unsigned char ch) {
    ReplaceBuf(0, Length(), &ch, 1);
    return *this;
}

VFile& VFile::operator<<(char const* s) {
    Write(s);
    return *this;
}

VFile& VFile::operator<<(VFile const& src) {
    Write(src, 0, MaxLen);
    return *this;
}

VFile& VFile::operator+=(char const* s) {
    Append(s);
    return *this;
}

VFile& VFile::operator+=(VFile const& src) {
    Append(src, 0, MaxLen);
    return *this;
}

VFile& VFile::operator>>(VFile& target) {
    target.ReplaceTxt(0, MaxLen, *this, GetPos(), MaxLen);
    if (target.res == ResDone) {
        SetPos(MaxLen);
    } else {
        res = target.res;
    }
    return *this;
}

namespace internal {

// A string longer than any file is too long like any other source.
void ReplaceString(VFile& file, std::int32_t start, std::int32_t delLen, char const* s) {
    std::size_t const len = std::strlen(s);
    if (len <= static_cast<std::size_t>(MaxLen)) {
        file.ReplaceBuf(start, delLen, s, static_cast<std::int32_t>(len));
    } else if (file.res == ResDone) {
        file.res = ResTooLong;
    }
}

namespace {

template <class T>
VFile& WriteDigits(VFile& file, T value) {
    if (!IsRadix(file.radix)) {
        Halt(kModule, u"operator<<", u"radix out of range");
        return file;
    }
    NumberScratch scratch;
    auto const digits = NumberText(scratch, value, file.radix);
    std::int32_t const goes = file.FlagOn(VFile::InsertMode) ? 0 : SameLen;
    file.ReplaceBuf(file.GetPos(), goes, digits.data(), static_cast<std::int32_t>(digits.size()));
    return file;
}

}  // namespace

VFile& WriteNumber(VFile& file, std::int32_t value) { return WriteDigits(file, value); }
VFile& WriteNumber(VFile& file, std::uint32_t value) { return WriteDigits(file, value); }
VFile& WriteNumber(VFile& file, std::int64_t value) { return WriteDigits(file, value); }
VFile& WriteNumber(VFile& file, std::uint64_t value) { return WriteDigits(file, value); }

}  // namespace internal

}  // namespace vfile
