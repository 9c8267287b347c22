#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "platform/platform.h"
#include "platform/posix/errors.h"
#include "platform/posix/name_bytes.h"

namespace vfile::platform {

std::span<char const* const> TempDirVariables() {
    static constexpr char const* kVariables[] = {"TMP", "TEMP", "TMPDIR"};
    return kVariables;
}

// Not /tmp, which is often memory: what the swap file is to save.
TChar const* LastResortTempDir() { return u"/var/tmp/"; }

namespace {

bool StoreUnits(std::string_view bytes, TChar* buf, std::uint32_t size) {
    std::size_t const units = UnitsOfBytes(bytes, nullptr);
    if (units >= size) return false;
    UnitsOfBytes(bytes, buf);
    buf[units] = u'\0';
    return true;
}

}  // namespace

bool ReadEnvironment(char const* variable, TChar* buf, std::uint32_t size) {
    char const* const value = secure_getenv(variable);
    if (!value || !*value) return false;
    return StoreUnits(value, buf, size);
}

bool CurrentDirectory(TChar* buf, std::uint32_t size) {
    char bytes[PATH_MAX];
    if (!getcwd(bytes, sizeof bytes)) return Fail(errno);
    return StoreUnits(bytes, buf, size) || Fail(ENAMETOOLONG);
}

bool IsUsableDirectory(TChar const* name) {
    NameBytes const path(name);
    if (path.SystemError() != 0) return false;
    struct stat info;
    if (stat(path.Bytes(), &info) != 0 || !S_ISDIR(info.st_mode)) return false;
    // The effective user's rights, by which the file in it will be made; access() asks for the real user.
    // Without the right to search, reading and writing a directory come to nothing.
    return faccessat(AT_FDCWD, path.Bytes(), R_OK | W_OK | X_OK, AT_EACCESS) == 0;
}

}  // namespace vfile::platform
