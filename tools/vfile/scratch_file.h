// A file for what is needed once more and can be had only once, or only by name.
#pragma once

#include <string>

namespace vfile::tool {

// New and empty, in the directory for temporary files. It has no name of its own, so that no end of the program leaves
// it behind.
class ScratchFile {
public:
    ScratchFile();
    ~ScratchFile();
    ScratchFile(ScratchFile const&) = delete;
    ScratchFile& operator=(ScratchFile const&) = delete;

    bool IsOpen() const { return descriptor_ >= 0; }
    int Descriptor() const { return descriptor_; }

    // By which this process opens it once more, from its start on.
    std::string Name() const;

private:
    int descriptor_;
};

}  // namespace vfile::tool
