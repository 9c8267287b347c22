#include "support/host_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "support/run.h"

namespace bench {
namespace {

void WriteAll(Descriptor const& file, unsigned char const* data, std::size_t len) {
    while (len > 0) {
        ssize_t const got = write(file.Number(), data, len);
        if (got < 0) Fail(std::string("writing: ") + std::strerror(errno));
        data += got;
        len -= static_cast<std::size_t>(got);
    }
}

std::size_t ReadSome(Descriptor const& file, std::vector<unsigned char>& buf) {
    ssize_t const got = read(file.Number(), buf.data(), buf.size());
    if (got < 0) Fail(std::string("reading: ") + std::strerror(errno));
    return static_cast<std::size_t>(got);
}

}  // namespace

Descriptor::Descriptor(std::string const& path, int flags)
    : number(open(path.c_str(), flags | O_CLOEXEC, 0600)) {
    if (number < 0) Fail(path + ": " + std::strerror(errno));
}

Descriptor::~Descriptor() { close(number); }

void MakeFile(std::string const& path, std::int64_t bytes) {
    Descriptor const file(path, O_WRONLY | O_CREAT | O_TRUNC);
    std::vector<unsigned char> step(kStep);
    std::uint64_t state = 0x9E3779B97F4A7C15u;
    for (std::int64_t left = bytes; left > 0;) {
        for (std::size_t i = 0; i < step.size(); i += sizeof state) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            std::memcpy(step.data() + i, &state, sizeof state);
        }
        std::size_t const len = static_cast<std::size_t>(std::min<std::int64_t>(left, kStep));
        WriteAll(file, step.data(), len);
        left -= static_cast<std::int64_t>(len);
    }
}

void CopyFile(std::string const& from, std::string const& to) {
    Descriptor const source(from, O_RDONLY);
    Descriptor const target(to, O_WRONLY | O_CREAT | O_TRUNC);
    std::vector<unsigned char> step(kStep);
    while (std::size_t const got = ReadSome(source, step)) WriteAll(target, step.data(), got);
}

bool SameBytes(std::string const& one, std::string const& other) {
    Descriptor const a(one, O_RDONLY), b(other, O_RDONLY);
    std::vector<unsigned char> fromA(kStep), fromB(kStep);
    for (;;) {
        std::size_t const got = ReadSome(a, fromA);
        if (ReadSome(b, fromB) != got || std::memcmp(fromA.data(), fromB.data(), got) != 0) return false;
        if (got == 0) return true;
    }
}

void ReadAt(Descriptor const& file, std::int64_t at, void* dst, std::size_t len) {
    if (pread(file.Number(), dst, len, at) != static_cast<ssize_t>(len))
        Fail("the file is shorter than it was made");
}

void Remove(std::string const& path) { unlink(path.c_str()); }

void SyncDisk(std::string const& directory) {
    Descriptor const place(directory, O_RDONLY | O_DIRECTORY);
    if (syncfs(place.Number()) != 0) Fail(std::string("syncing: ") + std::strerror(errno));
}

}  // namespace bench
