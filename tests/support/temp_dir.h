// A fresh directory for one test, removed with all it holds.
#pragma once

#include <sys/stat.h>

#include "support/test.h"

namespace vfile::test {

class TempDir {
public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vfile-test-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory: " + pattern);
        path_ = pattern;
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;

    std::filesystem::path const& Path() const { return path_; }
    std::string Bytes(std::string const& file) const { return (path_ / file).string(); }
    TString Name(std::string const& file) const { return NameFromBytes(Bytes(file)); }

    // How many entries the directory holds now: nothing may be left behind.
    std::size_t Entries() const {
        auto const all = std::filesystem::directory_iterator(path_);
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }

private:
    std::filesystem::path path_;
};

inline void WriteWhole(std::string const& path, std::string const& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string ReadWhole(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Of a link itself; all zero when there is nothing.
inline struct stat Info(std::string const& path) {
    struct stat info {};
    lstat(path.c_str(), &info);
    return info;
}

}  // namespace vfile::test
