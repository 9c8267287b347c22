#include <vfile/bounded_strings.h>
#include <vfile/host_dir.h>
#include <vfile/host_file.h>

#include <new>
#include <string>
#include <string_view>

#include "hostfile/wildcard.h"
#include "platform/platform.h"

namespace vfile {
namespace {

// Units of the directory with its separator. One that is cut would be another directory.
std::size_t DirLength(std::u16string_view pattern) { return pattern.find_last_of(u"/\\") + 1; }

}  // namespace

HFileDir::HFileDir() { Stop(); }

HFileDir::HFileDir(TChar const* wanted) { Start(wanted); }

HFileDir::~HFileDir() = default;

void HFileDir::Stop() {
    state = State::kIdle;
    count = 0;
    pattern[0] = 0;
    dir[0] = 0;
    entries.reset();
}

void HFileDir::Start(TChar const* wanted) {
    Stop();
    if (!wanted || !*wanted || DirLength(wanted) >= MaxNameUnits) return;
    state = State::kStarted;
    AssignStr(pattern, MaxNameUnits, wanted);
    TChar rest[MaxNameUnits];
    HFile::SplitName(dir, MaxNameUnits, rest, MaxNameUnits, pattern);
}

bool HFileDir::FindNext(TChar* name, std::uint32_t size) {
    if (!name) return false;
    TChar entry[MaxNameUnits];
    bool const first = state == State::kStarted;
    if (FindEntry(entry)) {
        ConstructName(name, size, entry);
        state = State::kRunning;
        ++count;
        return true;
    }
    if (first) {
        Stop();
    } else if (state == State::kRunning) {
        entries.reset();
        state = State::kEnded;
    }
    if (size > 0) *name = 0;
    return false;
}

bool HFileDir::FindFirst(TChar* name, std::uint32_t size, TChar const* wanted) {
    if (!name) {
        Stop();
        return false;
    }
    Start(wanted);
    return FindNext(name, size);
}

// The next entry that matches; the first call opens the directory.
bool HFileDir::FindEntry(TChar* entry) {
    if (state == State::kStarted) {
        entries.reset(new (std::nothrow) platform::Directory);
        if (!entries || !entries->Open(dir)) return false;
    }
    TChar const* const wanted = pattern + std::char_traits<TChar>::length(dir);
    while (entries && entries->Next(entry, MaxNameUnits)) {
        if (MatchesWildcard(wanted, entry)) return true;
    }
    return false;
}

void HFileDir::ConstructName(TChar* name, std::uint32_t size, TChar const* entry) const {
    TChar full[MaxNameUnits];
    HFile::BuildName(full, MaxNameUnits, dir, entry);
    HFile::GetFullName(name, size, full);
}

}  // namespace vfile
