/// What every benchmark of files asks of the library: settings, loading, and no failure.
#pragma once

#include <vfile.h>

#include <string>

#include "support/run.h"

namespace bench {

/// Kilobytes of cache that the benchmarks of files work with.
inline constexpr std::int16_t kCacheKB = 1024;

/// The calling thread's files work in `context`'s directory with a cache of `kilobytes`.
inline void UseSettings(Context const& context, std::int16_t kilobytes = kCacheKB) {
    vfile::VFile::SetTempDir(vfile::NameFromBytes(context.directory).c_str());
    vfile::VFile::SetMaxCacheSize(kilobytes);
}

/// Fails, naming `what`, when the file has met a failure.
inline void RequireDone(vfile::VFile const& file, char const* what) {
    if (file.res != vfile::ResDone) Fail(std::string(what) + ": result code " + std::to_string(file.res));
}

/// Loads the host file at `path`, which others may read.
inline void LoadOrFail(vfile::VFile& file, std::string const& path) {
    file.Load(vfile::NameFromBytes(path).c_str(), 1);
    RequireDone(file, "loading");
}

}  // namespace bench
