#include <dirent.h>

#include "platform/platform.h"
#include "platform/posix/errors.h"
#include "platform/posix/name_bytes.h"

namespace vfile::platform {

bool Directory::Open(TChar const* name) {
    Close();
    NameBytes const path(*name ? name : u".");
    if (path.SystemError() != 0) return Fail(path.SystemError());
    stream = opendir(path.Bytes());
    if (!stream) StoreNameError(errno, path.Bytes());
    return IsOpen();
}

void Directory::Close() {
    if (stream) closedir(static_cast<DIR*>(stream));
    stream = nullptr;
}

// An entry that has no room cannot be told, and is passed over rather than cut: it would be another one.
bool Directory::Next(TChar* name, std::uint32_t size) {
    while (dirent const* const entry = readdir(static_cast<DIR*>(stream))) {
        std::size_t const units = UnitsOfBytes(entry->d_name, nullptr);
        if (units >= size) continue;
        UnitsOfBytes(entry->d_name, name);
        name[units] = u'\0';
        return true;
    }
    return false;
}

}  // namespace vfile::platform
