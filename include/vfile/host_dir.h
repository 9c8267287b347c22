/// Walks the names in a directory that match a pattern, one call at a time.
///
///   Pattern   a directory, which may be missing for the current one, and behind its last separator a name in which
///             "*" stands for any run of units and "?" for any one; "*.*" is every name. All else is exact, case
///             included. Of a longer pattern only the first 260 units count; a directory that is longer than that
///             has nothing to find.
///   Names     come as full names (HFile::GetFullName of the directory and the entry), in the directory's own order.
///             Hidden ones are among them, directories, "." and "..". Nothing is sorted, nothing descends.
///   Bounds    a full name is cut to the capacity given, and to 260 units at most.
///   Failures  are not told apart from the end: a directory that is missing or may not be read has no names.
///   Memory    constant, whatever the size of the directory. Start takes it; where there is none, there is nothing to
///             find. An open search holds one handle of the system's.
///   Threads   any, one at a time.
#pragma once

#include <vfile/export.h>
#include <vfile/internal.h>
#include <vfile/types.h>

#include <cstdint>
#include <memory>

namespace vfile {

class VFILE_EXPORT HFileDir {
public:
    /// Nothing to find.
    HFileDir();

    /// Start(pattern).
    explicit HFileDir(TChar const* pattern);

    HFileDir(HFileDir const&) = delete;
    HFileDir& operator=(HFileDir const&) = delete;

    /// Stop().
    virtual ~HFileDir();

    /// Ends what runs and sets up a new search, which the next FindNext begins. Null or empty: nothing to find.
    void Start(TChar const* pattern);

    /// Ends what runs; Count() is 0.
    void Stop();

    /// Puts the next name into `name` of `size` units. False, and `name` empty: there is none, nor will there be. Of a
    /// search that found nothing at all Count() stays 0. False, and nothing changed: `name` null.
    /// Stops: `size` 0 with a name to give, as GetFullName.
    bool FindNext(TChar* name, std::uint32_t size);

    /// Start(pattern) and FindNext(name, size). `name` null: Stop() and false.
    bool FindFirst(TChar* name, std::uint32_t size, TChar const* pattern);

    /// How many names this search has given, also when it has ended.
    std::int32_t Count() const;

private:
    friend struct internal::Access;
    std::unique_ptr<internal::DirSearch> vfileState;  // null: nothing to find
};

}  // namespace vfile
