#include <vfile.h>

int main() {
    vfile::VFile file("virtual file");
    file.ReplaceBuf(7, 1, ", very long ", 12);
    char text[32];
    file.ReadTxt(text, sizeof text, 0, vfile::MaxLen);
    vfile::TString const name = vfile::NameFromBytes("virtual, very long file");
    bool same = static_cast<std::int32_t>(name.size()) == file.Length();
    for (std::size_t i = 0; same && i < name.size(); ++i)
        same = name[i] == static_cast<vfile::TChar>(text[i]);
    return same && file.res == vfile::ResDone ? 0 : 1;
}
