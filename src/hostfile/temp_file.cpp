// The directory for temporary files, and files in it.
#include <vfile/bounded_strings.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "frame/stop.h"
#include "hostfile/open_file.h"

namespace vfile {
namespace {

using Text = std::u16string_view;

constexpr std::int32_t kNumbers = 100000000;
constexpr std::size_t kLongestPart = 63;  // of prefix, and of extension with its dot

// The names to be tried: a directory, a prefix, a number, an extension.
struct TempName {
    TChar dir[MaxNameUnits];
    Text prefix;
    Text ext;  // without its dot

    // False: it does not fit.
    bool Put(TChar* dst, std::uint32_t size, std::int32_t number) const {
        char digits[12];
        char const* const end = std::to_chars(digits, std::end(digits), number).ptr;
        TChar units[12];
        Text const numberText(
            units, static_cast<std::size_t>(std::copy(digits, const_cast<char*>(end), units) - units));
        Text const parts[] = {dir, prefix, numberText, ext.empty() ? Text() : Text(u"."), ext};
        std::size_t used = 0;
        for (Text const part : parts) {
            if (part.size() >= size - used) return false;
            used += part.copy(dst + used, part.size());
        }
        dst[used] = 0;
        return true;
    }
};

// False: the directory's name does not fit, and cut it would be another's.
bool FindDirectory(TChar (&found)[MaxNameUnits], TChar const* dir) {
    if (!dir) {
        HFile::GetTempDir(found, MaxNameUnits);
        return true;
    }
    AssignStr(found, MaxNameUnits, dir);
    HFile::CondAppendDirSep(found, MaxNameUnits);
    return std::char_traits<TChar>::length(dir) < MaxNameUnits - 1;
}

TempName NameOf(TChar const* prefix, TChar const* ext) {
    Text const extension = ext ? ext : u".tmp";
    std::size_t const dot = extension.starts_with(u'.') ? 1 : 0;
    return {
        {}, Text(prefix ? prefix : u"~hf").substr(0, kLongestPart), extension.substr(dot, kLongestPart - 1)};
}

// Whether a name is taken, so that the next one is worth a try. A directory that refuses one name refuses them all.
bool IsTaken(FileRes res, TChar const* name) {
    bool const refused = res == ResNoPermission || res == ResReadOnly;
    return res == ResAlreadyExists || (refused && HFile::Exists(name));
}

}  // namespace

void HFile::GetTempDir(TChar* dst, std::uint32_t size) {
    VFILE_REQUIRE(u"HFile", dst);
    VFILE_REQUIRE(u"HFile", size > 0);
    if (!dst || size == 0) return;
    TChar dir[MaxNameUnits];
    auto const isUsable = [&dir](char const* variable) {
        return platform::ReadEnvironment(variable, dir, MaxNameUnits) && platform::IsUsableDirectory(dir);
    };
    auto const variables = platform::TempDirVariables();
    bool const named = std::any_of(variables.begin(), variables.end(), isUsable);
    AssignStr(dst, size, named ? dir : platform::LastResortTempDir());
    CondAppendDirSep(dst, size);
}

bool HFile::CreateTempFile(HFile& file, TChar* name, std::uint32_t size, TChar const* prefix,
                           TChar const* ext, TChar const* dir, bool seqWrite) {
    VFILE_REQUIRE(u"HFile", !file.IsOpen());
    VFILE_REQUIRE(u"HFile", name);
    VFILE_REQUIRE(u"HFile", size > 0);
    if (file.IsOpen() || !name || size == 0) return false;
    using namespace platform;
    OpenMode const mode{seqWrite ? Access::kWrite : Access::kReadWrite, kShareNone, Disposition::kCreateNew,
                        seqWrite ? Hint::kSequential : Hint::kRandom, true};
    TempName wanted = NameOf(prefix, ext);
    bool const fits = FindDirectory(wanted.dir, dir);
    std::int32_t const start = static_cast<std::int32_t>(TickCount()) % kNumbers;
    for (std::int32_t i = 0; i < kNumbers; ++i) {
        if (!fits || !wanted.Put(name, size, (start + i) % kNumbers)) {
            *name = 0;
            file.res = ResIllegalName;
            return false;
        }
        if (OpenAs(file, name, mode)) return true;
        if (!IsTaken(file.res, name)) return false;
    }
    return false;
}

}  // namespace vfile
