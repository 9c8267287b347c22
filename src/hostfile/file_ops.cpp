// Files by name.
#include <vfile/host_file.h>

#include "hostfile/full_name.h"
#include "platform/platform.h"

namespace vfile {
namespace {

bool Told(bool done, FileRes& code) {
    code = done ? ResDone : GetFileRes();
    return done;
}

bool IsSameText(TChar const* a, TChar const* b) {
    return a && b && *a && std::char_traits<TChar>::length(a) == std::char_traits<TChar>::length(b) &&
           std::char_traits<TChar>::compare(a, b, std::char_traits<TChar>::length(a)) == 0;
}

}  // namespace

// A full name that has no room is not cut, which would make it another: the system is asked for the one given.
bool HFile::Exists(TChar const* name) {
    TChar full[MaxNameUnits];
    platform::Attributes attributes{};
    bool const whole = name && *name && MakeFullName(full, MaxNameUnits, name);
    return platform::GetAttributes(whole ? full : name, attributes);
}

bool HFile::IsDirectory(TChar const* name) {
    platform::Attributes attributes{};
    return platform::GetAttributes(name, attributes) && attributes.directory;
}

bool HFile::IsReadOnly(TChar const* name) {
    platform::Attributes attributes{};
    return platform::GetAttributes(name, attributes) && attributes.readOnly;
}

bool HFile::SetReadOnly(TChar const* name, bool on) {
    platform::Attributes attributes{};
    if (!platform::GetAttributes(name, attributes)) return false;
    return attributes.readOnly == on || platform::SetReadOnly(name, on);
}

bool HFile::Copy(TChar const* from, TChar const* to, FileRes& code, bool overwrite) {
    return Told(platform::CopyNamed(from, to, overwrite), code);
}

bool HFile::Rename(TChar const* from, TChar const* to, FileRes& code) {
    return Told(IsSameText(from, to) || platform::RenameNamed(from, to), code);
}

bool HFile::Remove(TChar const* name, FileRes& code) { return Told(platform::RemoveNamed(name), code); }

bool HFile::Copy(TChar const* from, TChar const* to, bool overwrite) {
    FileRes code;
    return Copy(from, to, code, overwrite);
}

bool HFile::Rename(TChar const* from, TChar const* to) {
    FileRes code;
    return Rename(from, to, code);
}

bool HFile::Remove(TChar const* name) {
    FileRes code;
    return Remove(name, code);
}

}  // namespace vfile
