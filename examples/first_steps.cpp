#include <vfile.h>

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    vfile::VFile file;                                           // its bytes: a bounded cache and a swap file
    file.Load(vfile::NameFromBytes(argv[1]).c_str(), 1);         // 1: others may read the file meanwhile
    file.ReplaceBuf(file.Length() / 2, 0, "in the middle", 13);  // 13 bytes go in, nothing behind them moves
    file.ReplaceBuf(0, 100, nullptr, 0);                         // the first 100 bytes go
    if (file.res == vfile::ResDone) file.Save(vfile::NameFromBytes(argv[2]).c_str(), true);
    return file.res == vfile::ResDone ? 0 : 1;  // the first failure is still there
}
