// A host file open for reading: a transfer takes it as HFile or handle, and the model as what is left of it.
#pragma once

#include <fcntl.h>

#include "support/temp_dir.h"
#include "support/test.h"
#include "support/twin.h"

namespace vfile::test {

class HostSource {
    TempDir dir_;
    TString name_ = dir_.Name("source");
    std::string whole_;
    void* handle_;
    Source left_;
    std::int32_t from_ = 0;

public:
    HFile file;

    explicit HostSource(std::string const& bytes) : whole_(bytes), handle_(Open()), file(handle_) { At(0); }

    void At(std::int32_t position) {
        file.SetPos(position);
        left_ = {whole_.substr(static_cast<std::size_t>(position))};
        from_ = position;
    }

    HFile& AsFile(VFile const&) { return file; }
    Source& AsFile(Model const&) { return left_; }
    void* AsHandle(VFile const&) { return handle_; }
    Source& AsHandle(Model const&) { return left_; }

    TChar const* AsName(VFile const&) const { return name_.c_str(); }
    Source AsName(Model const&) const { return {whole_}; }

    // Where the transfer left the host file.
    std::string Position(VFile const&) const { return std::to_string(file.GetPos()); }
    std::string Position(Model const&) const { return std::to_string(from_ + left_.taken); }

private:
    void* Open() const {
        WriteWhole(dir_.Bytes("source"), whole_);
        return HandleOf(::open(dir_.Bytes("source").c_str(), O_RDONLY | O_CLOEXEC));
    }
};

}  // namespace vfile::test
