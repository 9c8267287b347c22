#include <vfile.h>

#include <vector>

// The files of a vector that grows are moved: with their flags, cursor and `res`, and without a copy.
static bool GrowingMovesFiles() {
    std::vector<vfile::VFile> files(1);
    files[0].Append("0123456789");
    files[0].SetPos(4);
    files[0].InclFlag(vfile::VFile::ReadOnly);
    files[0].WriteByte('x');
    for (int i = 0; i < 100; ++i) files.emplace_back();
    return files[0].GetPos() == 4 && files[0].res == vfile::ResReadOnly &&
           files[0].FlagOn(vfile::VFile::ReadOnly) && files[0] == "0123456789";
}

int main() {
    vfile::VFile file("virtual file");
    file.ReplaceBuf(7, 1, ", very long ", 12);
    char text[32];
    file.ReadTxt(text, sizeof text, 0, vfile::MaxLen);
    vfile::TString const name = vfile::NameFromBytes("virtual, very long file");
    bool same = static_cast<std::int32_t>(name.size()) == file.Length();
    for (std::size_t i = 0; same && i < name.size(); ++i)
        same = name[i] == static_cast<vfile::TChar>(text[i]);
    return same && file.res == vfile::ResDone && GrowingMovesFiles() ? 0 : 1;
}
