// A host file open for reading: a transfer takes it as HFile or handle, and the model as what is left of it.
#pragma once

#include <fcntl.h>
#include <unistd.h>
#include <vfile/host_file.h>

#include <string>

#include "support/model.h"
#include "support/temp_dir.h"

namespace vfile::test {

class HostSource {
public:
    HFile file;
    Source left;

    explicit HostSource(std::string const& path) : HostSource(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        whole_ = ReadWhole(path);
        At(0);
    }
    // Adopts a descriptor that has no position, a pipe's for instance, and says what it will give.
    explicit HostSource(int descriptor, Source gives = {})
        : file(HandleOf(descriptor)), left(std::move(gives)), handle_(HandleOf(descriptor)) {}

    void At(std::int32_t position) {
        file.SetPos(position);
        left = {whole_.substr(static_cast<std::size_t>(position))};
        from_ = position;
    }

    HFile& AsFile(VFile const&) { return file; }
    Source& AsFile(Model const&) { return left; }
    void* AsHandle(VFile const&) { return handle_; }
    Source& AsHandle(Model const&) { return left; }

    // Where the transfer left the host file, and whether it says that its end was met.
    std::string Position(VFile const&) const { return std::to_string(file.GetPos()); }
    std::string Position(Model const&) const { return std::to_string(from_ + left.taken); }
    std::string Ended(VFile const&) const { return file.eof ? " eof" : ""; }
    std::string Ended(Model const&) const { return left.eof ? " eof" : ""; }

private:
    std::string whole_;
    void* handle_;
    std::int32_t from_ = 0;
};

}  // namespace vfile::test
