#include "platform/posix/attributes.h"

#include <sys/types.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace vfile::platform {
namespace {

// Bytes of an attribute, and of the list of their names: more cannot be kept.
constexpr std::size_t kMostAttribute = 16384;

// One attribute beside owner and mode: an access list, a label, something of the user's.
struct Value {
    char bytes[kMostAttribute];
    ssize_t len;

    Value(int file, char const* name) : len(fgetxattr(file, name, bytes, sizeof bytes)) {}
    bool operator==(Value const& other) const {
        return len == other.len &&
               (len <= 0 || std::memcmp(bytes, other.bytes, static_cast<std::size_t>(len)) == 0);
    }
};

// Rights that a program file has by what it holds are lost with every other change of its bytes, too.
bool GoesAlong(std::string_view attribute) { return attribute != "security.capability"; }

bool CopyAttribute(int from, int to, char const* name) {
    Value const wanted(from, name);
    if (wanted.len == -1) return errno == ENODATA;
    return wanted == Value(to, name) ||
           fsetxattr(to, name, wanted.bytes, static_cast<std::size_t>(wanted.len), 0) == 0;
}

// The directory may have given the new file an access list that the old one does not have.
bool DropForeignList(int from, int to) {
    constexpr char kList[] = "system.posix_acl_access";
    bool const lacks = fgetxattr(from, kList, nullptr, 0) == -1 && (errno == ENODATA || errno == ENOTSUP);
    return !lacks || fremovexattr(to, kList) == 0 || errno == ENODATA || errno == ENOTSUP;
}

}  // namespace

bool CopyAttributeList(int from, int to) {
    char names[kMostAttribute];
    ssize_t const len = flistxattr(from, names, sizeof names);
    if (len == -1) return errno == ENOTSUP;
    for (char const* name = names; name < names + len; name += std::strlen(name) + 1) {
        if (GoesAlong(name) && !CopyAttribute(from, to, name)) return false;
    }
    return DropForeignList(from, to);
}

}  // namespace vfile::platform
