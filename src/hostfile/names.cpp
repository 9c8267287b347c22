// File names as text: separators, components, joining.
#include <vfile/bounded_strings.h>
#include <vfile/host_file.h>

#include <string_view>

#include "frame/stop.h"
#include "platform/platform.h"

namespace vfile {
namespace {

using Text = std::u16string_view;

constexpr TChar const* kModule = u"HFile";

// The components of a path, as stretches of it.
struct Components {
    Text drive, dir, name, ext;
};

Components ComponentsOf(Text path) {
    Components parts;
    std::size_t const drive = path.size() >= 2 && path[1] == u':' ? 2 : 0;
    parts.drive = path.substr(0, drive);
    Text const rest = path.substr(drive);
    std::size_t const dir = rest.find_last_of(u"/\\") + 1;  // 0 without a separator
    parts.dir = rest.substr(0, dir);
    Text const file = rest.substr(dir);
    std::size_t const dot = file.rfind(u'.');
    parts.name = file.substr(0, dot);
    if (dot != Text::npos) parts.ext = file.substr(dot);
    return parts;
}

// A component and where it is wanted; nowhere is null with size 0.
struct Output {
    TChar* dst;
    std::uint32_t size;
    Text part;

    bool IsSound() const { return (dst != nullptr) == (size > 0); }
    bool Fits() const { return !dst || part.size() < size; }
    void Store(bool whole) const {
        if (!dst) return;
        std::size_t const units = whole ? part.copy(dst, size - 1) : 0;
        dst[units] = 0;
    }
};

// A name that grows in a buffer, and stops at its end.
class NameBuilder {
public:
    NameBuilder(TChar* buffer, std::uint32_t capacity) : dst(buffer), size(capacity) { *dst = 0; }

    void Add(Text text) {
        used += text.copy(dst + used, size - 1 - used);
        dst[used] = 0;
    }
    void Add(TChar c) { Add(Text(&c, 1)); }

private:
    TChar* dst;
    std::size_t size;
    std::size_t used = 0;
};

Text OrEmpty(TChar const* s) { return s ? Text(s) : Text(); }

bool IsSound(TChar const* dst, std::uint32_t size) {
    VFILE_REQUIRE(kModule, dst);
    VFILE_REQUIRE(kModule, size > 0);
    return dst && size > 0;
}

bool IsSound(TChar const* source) {
    VFILE_REQUIRE(kModule, source);
    return source != nullptr;
}

}  // namespace

bool HFile::EqualName(TChar const* a, TChar const* b) { return EqualStrI(a, b); }

void HFile::CondAppendDirSep(TChar* name, std::uint32_t size) {
    if (!IsSound(name, size)) return;
    std::size_t length = 0;
    while (length < size && name[length]) ++length;
    if (length == 0 || length + 1 >= size || IsDirSep(name[length - 1])) return;
    name[length] = platform::kSeparator;
    name[length + 1] = 0;
}

void HFile::BuildName(TChar* dst, std::uint32_t size, TChar const* dir, TChar const* name) {
    if (!IsSound(dst, size)) return;
    AssignStr(dst, size, dir);
    AppendStr(dst, size, name);
}

void HFile::BuildName(TChar* dst, std::uint32_t size, TChar const* drive, TChar const* dir, TChar const* name,
                      TChar const* ext) {
    if (!IsSound(dst, size)) return;
    Text const drivePart = OrEmpty(drive), dirPart = OrEmpty(dir), extPart = OrEmpty(ext);
    NameBuilder result(dst, size);
    if (!drivePart.empty()) {
        result.Add(drivePart.front());
        result.Add(u':');
    }
    result.Add(dirPart);
    if (!dirPart.empty() && !IsDirSep(dirPart.back())) result.Add(platform::kSeparator);
    result.Add(OrEmpty(name));
    if (!extPart.empty() && extPart.front() != u'.') result.Add(u'.');
    result.Add(extPart);
}

void HFile::SplitName(TChar* drive, std::uint32_t driveSize, TChar* dir, std::uint32_t dirSize, TChar* name,
                      std::uint32_t nameSize, TChar* ext, std::uint32_t extSize, TChar const* path) {
    if (!IsSound(path)) return;
    Components const parts = ComponentsOf(path);
    Output const outputs[] = {
        {drive, driveSize, parts.drive},
        {dir,   dirSize,   parts.dir  },
        {name,  nameSize,  parts.name },
        {ext,   extSize,   parts.ext  }
    };
    bool whole = true;
    for (Output const& output : outputs) {
        VFILE_REQUIRE(kModule, output.IsSound());
        if (!output.IsSound()) return;
        whole = whole && output.Fits();
    }
    for (Output const& output : outputs) output.Store(whole);
}

void HFile::SplitName(TChar* dir, std::uint32_t dirSize, TChar* name, std::uint32_t nameSize,
                      TChar const* path) {
    if (!IsSound(path) || !IsSound(dir, dirSize) || !IsSound(name, nameSize)) return;
    TChar parts[4][MaxNameUnits];
    SplitName(parts[0], MaxNameUnits, parts[1], MaxNameUnits, parts[2], MaxNameUnits, parts[3], MaxNameUnits,
              path);
    BuildName(dir, dirSize, parts[0], parts[1]);
    BuildName(name, nameSize, parts[2], parts[3]);
}

}  // namespace vfile
