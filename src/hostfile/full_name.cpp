#include "hostfile/full_name.h"

#include <vfile/bounded_strings.h>
#include <vfile/host_file.h>

#include <algorithm>
#include <string_view>

#include "frame/stop.h"
#include "platform/platform.h"

namespace vfile {
namespace {

using Text = std::u16string_view;
using platform::kSeparator;

// A path from the root that is walked name by name. It holds what any system takes, so that folding may pass
// through more units than the caller's buffer has.
class Walk {
public:
    bool StartAtRoot() {
        used = 0;
        return true;
    }
    bool StartAtCurrentDirectory() {
        TChar directory[kMaxUnits];
        return platform::CurrentDirectory(directory, kMaxUnits) && GoAlong(directory);
    }

    bool GoAlong(Text path) {
        while (!path.empty()) {
            std::size_t const end = std::min(path.find(kSeparator), path.size());
            if (!Go(path.substr(0, end))) return false;
            path.remove_prefix(std::min(end + 1, path.size()));
        }
        return true;
    }

    bool EndWithSeparator() { return used == 0 || Append({}); }

    Text Path() const { return used == 0 ? Text(&kSeparator, 1) : Text(units, used); }

private:
    static constexpr std::uint32_t kMaxUnits = 4096;

    bool Go(Text name) {
        if (name.empty() || name == u".") return true;
        if (name != u"..") return Append(name);
        while (used > 0 && units[--used] != kSeparator) {
        }
        return true;
    }
    bool Append(Text name) {
        if (name.size() >= kMaxUnits - used) return false;
        units[used++] = kSeparator;
        used += name.copy(units + used, name.size());
        return true;
    }

    TChar units[kMaxUnits];
    std::size_t used = 0;
};

}  // namespace

bool MakeFullName(TChar* dst, std::uint32_t size, TChar const* name) {
    Text const path = name;
    Walk walk;
    bool const absolute = path.starts_with(kSeparator);
    if (!(absolute ? walk.StartAtRoot() : walk.StartAtCurrentDirectory()) || !walk.GoAlong(path))
        return false;
    if (path.ends_with(kSeparator) && !walk.EndWithSeparator()) return false;
    Text const full = walk.Path();
    if (full.size() >= size) return false;
    dst[full.copy(dst, full.size())] = 0;
    return true;
}

void HFile::GetFullName(TChar* dst, std::uint32_t size, TChar const* name) {
    VFILE_REQUIRE(u"HFile", dst);
    VFILE_REQUIRE(u"HFile", size > 0);
    VFILE_REQUIRE(u"HFile", name);
    if (!dst || size == 0 || !name) return;
    if (!MakeFullName(dst, size, name)) AssignStr(dst, size, name);
}

}  // namespace vfile
