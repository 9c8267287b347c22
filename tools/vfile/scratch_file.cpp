#include "scratch_file.h"

#include <fcntl.h>
#include <unistd.h>
#include <vfile.h>

#include <cstdlib>
#include <iterator>

namespace vfile::tool {
namespace {

std::string Directory() {
    if (TChar const* const wanted = VFile::GetTempDir()) return BytesFromName(wanted) + "/";
    TChar usual[4096];
    HFile::GetTempDir(usual, std::size(usual));
    return BytesFromName(usual);
}

}  // namespace

ScratchFile::ScratchFile() {
    std::string name = Directory() + "vfileXXXXXX";
    descriptor_ = mkostemp(name.data(), O_CLOEXEC);
    if (IsOpen()) unlink(name.c_str());
}

ScratchFile::~ScratchFile() {
    if (IsOpen()) close(descriptor_);
}

// Where opening it gives this very descriptor once more, the two share a position.
std::string ScratchFile::Name() const {
    lseek(descriptor_, 0, SEEK_SET);
    return "/dev/fd/" + std::to_string(descriptor_);
}

}  // namespace vfile::tool
