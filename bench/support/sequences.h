/// The editable sequences that are compared, under one set of names: ours, and those that hold everything in memory.
#pragma once

#include <ext/rope>
#include <fstream>
#include <string>

#include "support/library.h"

namespace bench {

class VirtualFile {
public:
    static constexpr char kName[] = "vfile";
    static constexpr bool kInserts = true;

    explicit VirtualFile(std::string const& path) {
        LoadOrFail(file, path);
        vfile::VFile::ReleaseCache();
    }
    void Insert(std::int64_t at, std::string const& bytes) {
        auto const len = static_cast<std::int32_t>(bytes.size());
        file.ReplaceBuf(static_cast<std::int32_t>(at), 0, bytes.data(), len);
    }
    unsigned char At(std::int64_t at) {
        file.SetPos(static_cast<std::int32_t>(at));
        unsigned char byte = 0;
        file.ReadByte(byte);
        return byte;
    }
    bool Has(char const* pattern) {
        std::int32_t position = 0;
        return file.Find(position, pattern, false, false);
    }
    std::int64_t Length() const { return file.Length(); }

private:
    vfile::VFile file;
};

class StdString {
public:
    static constexpr char kName[] = "std::string";
    static constexpr bool kInserts = true;

    explicit StdString(std::string const& path) {
        std::ifstream file(path, std::ios::binary | std::ios::ate);
        auto const size = static_cast<std::size_t>(file.tellg());
        bytes.reserve(size + kGrowth);
        bytes.resize(size);
        file.seekg(0).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        Require(file.good(), "the text could not be read");
    }
    void Insert(std::int64_t at, std::string const& more) {
        bytes.insert(static_cast<std::size_t>(at), more);
    }
    unsigned char At(std::int64_t at) const {
        return static_cast<unsigned char>(bytes[static_cast<std::size_t>(at)]);
    }
    bool Has(char const* pattern) const { return bytes.find(pattern) != std::string::npos; }
    std::int64_t Length() const { return static_cast<std::int64_t>(bytes.size()); }
    std::string const& Bytes() const { return bytes; }

private:
    static constexpr std::size_t kGrowth = 2 << 20;  // it would double its memory at the first insertion

    std::string bytes;
};

class Rope {
public:
    static constexpr char kName[] = "rope";
    static constexpr bool kInserts = true;

    explicit Rope(std::string const& path) {
        StdString const text(path);
        rope = __gnu_cxx::crope(text.Bytes().data(), text.Bytes().size());
    }
    void Insert(std::int64_t at, std::string const& bytes) {
        rope.insert(static_cast<std::size_t>(at), bytes.data(), bytes.size());
    }
    unsigned char At(std::int64_t at) const {
        return static_cast<unsigned char>(rope[static_cast<std::size_t>(at)]);
    }
    bool Has(char const* pattern) const { return rope.find(pattern) != __gnu_cxx::crope::npos; }
    std::int64_t Length() const { return static_cast<std::int64_t>(rope.size()); }

private:
    __gnu_cxx::crope rope;
};

}  // namespace bench
