// A host's plugin that uses the library; the library comes and goes with it.
#include <vfile/virtual_file.h>

#include <cstdint>

extern "C" __attribute__((visibility("default"))) int EditSomeFiles() {
    vfile::VFile::SetMaxCacheSize(8);
    vfile::VFile file;
    file.ReplaceCh(0, 0, 'a', 100'000);  // far past the cache: a swap file is open by now
    vfile::VFile copy(file);
    copy.ReplaceBuf(50'000, 0, "b", 1);
    copy.SetPos(50'000);
    unsigned char byte = 0;
    copy.ReadByte(byte);
    return file.res == 0 && copy.res == 0 && copy.Length() == 100'001 && byte == 'b' ? 0 : 1;
}
