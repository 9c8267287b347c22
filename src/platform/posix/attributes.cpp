#include "platform/posix/attributes.h"

#include <endian.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

namespace vfile::platform {
namespace {

// Bytes of an attribute, and of the list of their names: more cannot be kept.
constexpr std::size_t kMostAttribute = 16384;

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr char kCapabilities[] = "security.capability";
constexpr mode_t kSetIdBits = S_ISUID | S_ISGID;
constexpr mode_t kClassesBits = S_IRWXG | S_IRWXO;
constexpr mode_t kPermissionBits = S_IRWXU | kClassesBits;

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
bool GoesAlong(std::string_view attribute) { return attribute != kCapabilities; }

// One entry of an access list as the system hands it out, behind four bytes of version; the low byte first.
struct ListEntry {
    std::uint16_t tag, rights;
    std::uint32_t id;
};
constexpr std::size_t kListHead = 4;
constexpr std::uint16_t kOwner = 1, kOwningGroup = 4, kOthers = 32;  // the rest: whom it names, and the mask

// Takes the rights of all but the owner out of a list.
void LeaveToOwner(Value& list) {
    for (std::size_t at = kListHead; at + sizeof(ListEntry) <= static_cast<std::size_t>(list.len);
         at += sizeof(ListEntry)) {
        ListEntry entry;
        std::memcpy(&entry, list.bytes + at, sizeof entry);
        entry.rights = le16toh(entry.tag) == kOwner ? htole16(S_IRUSR >> 6 | S_IWUSR >> 6) : std::uint16_t{0};
        std::memcpy(list.bytes + at, &entry, sizeof entry);
    }
}

bool CopyAttribute(int from, int to, char const* name, ListRights rights = ListRights::kAll) {
    Value wanted(from, name);
    if (wanted.len == -1) return errno == ENODATA;
    if (rights == ListRights::kOwner && std::string_view(name) == kAccessList) LeaveToOwner(wanted);
    return wanted == Value(to, name) ||
           fsetxattr(to, name, wanted.bytes, static_cast<std::size_t>(wanted.len), 0) == 0;
}

bool IsAbsent(int systemError) { return systemError == ENODATA || systemError == ENOTSUP; }

// Whether a file system or the rights of the caller do not admit what was asked for; anything else went wrong.
bool IsNotAdmitted(int systemError) {
    constexpr int kRefusals[] = {EPERM, EACCES, ENOTSUP, EINVAL, ENOSYS};
    return std::ranges::find(kRefusals, systemError) != std::end(kRefusals);
}

bool DropList(int file) { return fremovexattr(file, kAccessList) == 0 || IsAbsent(errno); }

// The directory may have given the new file an access list that the old one does not have.
bool DropForeignList(int from, int to) {
    bool const lacks = fgetxattr(from, kAccessList, nullptr, 0) == -1 && IsAbsent(errno);
    return !lacks || DropList(to);
}

// The bits of a mode that give nobody more than an access list did. The group bits of the mode with the list are its
// mask and nobody's right. Whom an entry names is one of the group or of the others without it.
mode_t BitsWithoutList(mode_t mode, Value const& list) {
    mode_t group = 0, others = 0, all = S_IRWXO;
    for (std::size_t at = kListHead; at + sizeof(ListEntry) <= static_cast<std::size_t>(list.len);
         at += sizeof(ListEntry)) {
        ListEntry entry;
        std::memcpy(&entry, list.bytes + at, sizeof entry);
        mode_t const rights = le16toh(entry.rights);
        std::uint16_t const tag = le16toh(entry.tag);
        if (tag == kOwningGroup) group = rights;
        if (tag == kOthers) others = rights;
        if (tag != kOwner && tag != kOwningGroup && tag != kOthers) all &= rights;
    }
    return (mode & ~kClassesBits) | ((group & all) << 3) | (others & all);
}

// The same for a file of another group, whose members were among the others.
mode_t BitsWithoutGroup(mode_t mode) {
    mode_t const both = (mode >> 3) & mode & S_IRWXO;
    return (mode & ~kClassesBits) | (both << 3) | both;
}

// A list that is set gives its permission bits in the same moment.
bool GiveRights(int from, int to, mode_t mode, bool sameGroup) {
    Value const list(from, kAccessList);
    bool const hasList = list.len != -1;
    if (!hasList && !IsAbsent(errno)) return false;
    if (hasList && sameGroup) {
        bool const set = fsetxattr(to, kAccessList, list.bytes, static_cast<std::size_t>(list.len), 0) == 0;
        if (set) return (mode & ~kPermissionBits) == 0 || fchmod(to, mode) == 0;
        if (!IsNotAdmitted(errno)) return false;
    }
    if (hasList) mode = BitsWithoutList(mode, list);
    return DropList(to) && fchmod(to, sameGroup ? mode : BitsWithoutGroup(mode)) == 0;
}

bool CopyFurther(int from, int to, bool sameOwner) {
    char names[kMostAttribute];
    ssize_t const len = flistxattr(from, names, sizeof names);
    if (len == -1) return errno == ENOTSUP;
    for (char const* name = names; name < names + len; name += std::strlen(name) + 1) {
        bool const apart = name == std::string_view(kAccessList) || (!sameOwner && !GoesAlong(name));
        if (!apart && !CopyAttribute(from, to, name) && !IsNotAdmitted(errno)) return false;
    }
    return true;
}

// Who may not give a file away may still give it to a group of his.
bool CopyOwner(struct stat const& from, int to) {
    if (fchown(to, from.st_uid, from.st_gid) == 0) return true;
    return IsNotAdmitted(errno) &&
           (fchown(to, static_cast<uid_t>(-1), from.st_gid) == 0 || IsNotAdmitted(errno));
}

}  // namespace

bool CopyAttributeList(int from, int to, ListRights rights) {
    char names[kMostAttribute];
    ssize_t const len = flistxattr(from, names, sizeof names);
    if (len == -1) return errno == ENOTSUP;
    for (char const* name = names; name < names + len; name += std::strlen(name) + 1) {
        if (GoesAlong(name) && !CopyAttribute(from, to, name, rights)) return false;
    }
    return DropForeignList(from, to);
}

bool CopyRights(int from, int to) {
    struct stat source, target;
    return fstat(from, &source) == 0 && fstat(to, &target) == 0 &&
           GiveRights(from, to, source.st_mode & kPermissionBits, source.st_gid == target.st_gid);
}

// The owner comes first, since a change of it takes away set-id bits and capabilities.
bool CopyEverything(int from, int to) {
    struct stat was, is;
    if (fstat(from, &was) != 0 || !CopyOwner(was, to) || fstat(to, &is) != 0) return false;
    bool const sameGroup = was.st_gid == is.st_gid;
    bool const sameOwner = was.st_uid == is.st_uid && sameGroup;
    mode_t const mode = was.st_mode & ~static_cast<mode_t>(S_IFMT);
    if (!CopyFurther(from, to, sameOwner) ||
        !GiveRights(from, to, sameOwner ? mode : mode & ~kSetIdBits, sameGroup))
        return false;
    struct timespec const times[] = {was.st_atim, was.st_mtim};
    return futimens(to, times) == 0 || IsNotAdmitted(errno);
}

}  // namespace vfile::platform
