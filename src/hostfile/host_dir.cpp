#include <vfile/bounded_strings.h>
#include <vfile/host_dir.h>
#include <vfile/host_file.h>

#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "hostfile/wildcard.h"
#include "platform/platform.h"

namespace vfile {

// A search from Start on. An HFileDir without one is idle.
class internal::DirSearch {
public:
    explicit DirSearch(TChar const* wanted) {
        AssignStr(pattern, MaxNameUnits, wanted);
        TChar rest[MaxNameUnits];
        HFile::SplitName(dir, MaxNameUnits, rest, MaxNameUnits, pattern);
    }

    // Puts the next name that matches into `name`; the first call opens the directory.
    bool Next(TChar* name, std::uint32_t size);

    // How many it has put.
    std::int32_t Count() const { return count; }

private:
    bool FindEntry(TChar* entry);
    void ConstructName(TChar* name, std::uint32_t size, TChar const* entry) const;

    bool fresh = true;  // nothing given yet
    std::int32_t count = 0;
    TChar pattern[MaxNameUnits];
    TChar dir[MaxNameUnits];
    std::optional<platform::Directory> entries;  // while they last
};

bool internal::DirSearch::Next(TChar* name, std::uint32_t size) {
    TChar entry[MaxNameUnits];
    bool const found = FindEntry(entry);
    if (found) {
        ConstructName(name, size, entry);
        ++count;
    } else {
        entries.reset();
    }
    fresh = false;
    return found;
}

bool internal::DirSearch::FindEntry(TChar* entry) {
    if (fresh && !entries.emplace().Open(dir)) return false;
    TChar const* const wanted = pattern + std::char_traits<TChar>::length(dir);
    while (entries && entries->Next(entry, MaxNameUnits)) {
        if (MatchesWildcard(wanted, entry)) return true;
    }
    return false;
}

void internal::DirSearch::ConstructName(TChar* name, std::uint32_t size, TChar const* entry) const {
    TChar full[MaxNameUnits];
    HFile::BuildName(full, MaxNameUnits, dir, entry);
    HFile::GetFullName(name, size, full);
}

namespace {

// Units of the directory with its separator. One that is cut would be another directory.
std::size_t DirLength(std::u16string_view pattern) { return pattern.find_last_of(u"/\\") + 1; }

}  // namespace

HFileDir::HFileDir() = default;

HFileDir::HFileDir(TChar const* pattern) { Start(pattern); }

HFileDir::~HFileDir() = default;

void HFileDir::Start(TChar const* pattern) {
    Stop();
    if (!pattern || !*pattern || DirLength(pattern) >= MaxNameUnits) return;
    vfileState.reset(new (std::nothrow) internal::DirSearch(pattern));
}

void HFileDir::Stop() { vfileState.reset(); }

bool HFileDir::FindNext(TChar* name, std::uint32_t size) {
    if (!name) return false;
    if (vfileState && vfileState->Next(name, size)) return true;
    if (size > 0) *name = 0;
    return false;
}

bool HFileDir::FindFirst(TChar* name, std::uint32_t size, TChar const* pattern) {
    if (!name) {
        Stop();
        return false;
    }
    Start(pattern);
    return FindNext(name, size);
}

std::int32_t HFileDir::Count() const { return vfileState ? vfileState->Count() : 0; }

}  // namespace vfile
