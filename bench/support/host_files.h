/// The host's side of the benchmarks: files made, copied and read without the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace bench {

/// Bytes that the peers move with one call.
inline constexpr std::size_t kStep = 65536;

/// An open descriptor, closed at the end of its scope. Failing to open ends the program.
class Descriptor {
public:
    Descriptor(std::string const& path, int flags);
    ~Descriptor();
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    int Number() const { return number; }

private:
    int number;
};

/// A new file of `bytes` bytes, no two of its kilobytes the same.
void MakeFile(std::string const& path, std::int64_t bytes);

/// A plain copy loop, 64 KiB at a time: what a program that changes nothing would do.
void CopyFile(std::string const& from, std::string const& to);

bool SameBytes(std::string const& one, std::string const& other);

/// Fills `dst` from byte `at` of the file; falling short ends the program.
void ReadAt(Descriptor const& file, std::int64_t at, void* dst, std::size_t len);

void Remove(std::string const& path);

/// Waits until nothing that was written is still on its way to the disk under `directory`, so that no step
/// pays for the one before it.
void SyncDisk(std::string const& directory);

}  // namespace bench
