#include "hostfile/names_beside.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

namespace vfile {

namespace {

using namespace platform;

constexpr std::size_t kSureUnits = 80;  // of a name: hardly any file system finds it and a number too long
constexpr std::u16string_view kWords[] = {u".~part~", u".~new~", u".~old~"};

}  // namespace

bool NamesBeside::Put(Meaning meaning, TChar* dst) const {
    std::u16string_view const path = target, word = kWords[meaning];
    std::size_t const slash = path.find_last_of(kSeparator);
    std::size_t const begin = slash == path.npos ? 0 : slash + 1;
    std::size_t end = std::min(path.size(), begin + most);
    bool const inPair = end < path.size() && end > begin && (path[end - 1] & 0xFC00) == 0xD800;
    if (inPair) --end;
    char digits[12];
    char const* const last = std::to_chars(digits, std::end(digits), number).ptr;
    auto const count = static_cast<std::size_t>(last - digits);
    if (number == 0 || end + word.size() + count >= kUnits) return false;
    dst = std::copy_n(path.data(), end, dst);
    dst = std::copy_n(word.data(), word.size(), dst);
    *std::copy_n(digits, count, dst) = 0;
    return true;
}

// Whether the names that the save is to go on to are still to be had.
bool NamesBeside::IsFree() {
    if (!Put(kPart, name)) {
        SetLastError(kInvalidName);
        return false;
    }
    return IsNameFree(Get(kNew)) && IsNameFree(Get(kOld));
}

// Whether the stored reason is one that another number, or a shorter name, can do away with.
bool NamesBeside::MayGoOn() {
    if (LastError() == kFileExists) return true;
    if (LastError() != kInvalidName || most == 0) return false;
    most = most > kSureUnits ? kSureUnits : 0;
    number = 0;
    return true;
}

}  // namespace vfile
