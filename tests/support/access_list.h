// Access lists of files, set without a program for it.
#pragma once

#include <sys/xattr.h>

#include "support/test.h"

namespace vfile::test {

// Lets user 5 do what `rights` says, and nobody else but the file's owner; the group bits of the mode become `rights` and are nobody's. As a
// directory's `default` list it is given to what is made in it. False: the file system has no lists.
inline bool GiveList(std::string const& path, char rights, bool asDefault = false) {
    char list[] =
        "\2\0\0\0"
        "\1\0\6\0\377\377\377\377"
        "\2\0?\0\5\0\0\0"
        "\4\0\0\0\377\377\377\377"
        "\20\0?\0\377\377\377\377"
        "\40\0\0\0\377\377\377\377";
    list[4 + 8 + 2] = list[4 + 3 * 8 + 2] = rights;
    if (asDefault) list[4 + 2] = 7;
    char const* const kind = asDefault ? "system.posix_acl_default" : "system.posix_acl_access";
    return setxattr(path.c_str(), kind, list, sizeof list - 1, 0) == 0;
}

// The bytes of an attribute, of the list if not told otherwise; empty where there is none.
inline std::string Attribute(std::string const& path, char const* name = "system.posix_acl_access") {
    char bytes[1000];
    ssize_t const len = lgetxattr(path.c_str(), name, bytes, sizeof bytes);
    return len < 0 ? std::string() : std::string(bytes, static_cast<std::size_t>(len));
}

}  // namespace vfile::test
