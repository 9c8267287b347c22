#include <vfile/bounded_strings.h>
#include <vfile/halt.h>

#include <algorithm>
#include <string>

#include "vmem/swap_file.h"

namespace vfile {
namespace {

constexpr std::uint32_t kTries = 100000;
constexpr std::uint32_t kLongestFileName = 14;  // "~vmem99999.tmp"

std::uint32_t Length(TChar const* s) {
    return static_cast<std::uint32_t>(std::char_traits<TChar>::length(s));
}

// Puts a separator behind `dir` where one is missing. False when the longest name in it would not fit `size` units.
bool MakeRoomForName(TChar* dir, std::uint32_t size) {
    std::uint32_t const len = Length(dir);
    bool const separated = len == 0 || dir[len - 1] == u'\\' || dir[len - 1] == u'/';
    if (len + (separated ? 0 : 1) + kLongestFileName >= size) return false;
    TChar const separator[] = {platform::kSeparator, 0};
    if (!separated) AppendStr(dir, size, separator);
    return true;
}

// The directory with a separator behind it, in `dir` of `size` units. False when the name fits in none.
bool FindDirectory(TChar* dir, std::uint32_t size, TChar const* wanted) {
    AssignStr(dir, size, wanted);
    if (dir[0] != 0 && platform::IsUsableDirectory(dir) && MakeRoomForName(dir, size)) return true;
    for (char const* variable : platform::TempDirVariables()) {
        if (platform::ReadEnvironment(variable, dir, size) && dir[0] != 0 &&
            platform::IsUsableDirectory(dir) && MakeRoomForName(dir, size)) {
            return true;
        }
    }
    AssignStr(dir, size, platform::LastResortTempDir());
    return MakeRoomForName(dir, size);
}

void AppendFileName(TChar* name, std::uint32_t size, std::uint32_t number) {
    TChar digits[11] = {};
    TChar* first = std::end(digits) - 1;
    do {
        *--first = static_cast<TChar>(u'0' + number % 10);
        number /= 10;
    } while (number > 0);
    AppendStr(name, size, u"~vmem");
    AppendStr(name, size, first);
    AppendStr(name, size, u".tmp");
}

}  // namespace

platform::Handle CreateSwapFile(TChar* name, std::uint32_t size, TChar const* dir) {
    if (!name) HaltA(u"VMem", __LINE__);
    if (size == 0) HaltA(u"VMem", __LINE__);
    if (!name || size == 0) return InvalidHandle();

    TChar full[MaxNameUnits];
    std::uint32_t const capacity = std::min(size, MaxNameUnits);
    if (!FindDirectory(full, capacity, dir)) return InvalidHandle();

    std::uint32_t const dirLen = Length(full);
    std::uint32_t const start = platform::TickCount() % kTries;
    for (std::uint32_t i = 0; i < kTries; ++i) {
        full[dirLen] = 0;
        AppendFileName(full, MaxNameUnits, (start + i) % kTries);
        platform::Handle const file = platform::CreateSwapFile(full);
        if (file != InvalidHandle()) {
            AssignStr(name, size, full);
            return file;
        }
        // Only a taken name is worth the next number: a directory that refuses one name refuses them all.
        if (platform::LastError() != platform::kFileExists) break;
    }
    return InvalidHandle();
}

}  // namespace vfile
