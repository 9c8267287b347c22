// A file that can take back its changes, whatever operation made them: every edit asks PreChange before it
// touches a byte and tells PostChange afterwards, both with the range that goes and the length that comes.
#include <vfile.h>

#include <cstdint>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

class UndoFile : public vfile::VFile {
public:
    // Takes the last change back. False when there is none left.
    bool Undo() {
        if (changes.empty()) return false;
        Change const change = std::move(changes.back());
        changes.pop_back();
        undoing = true;
        ReplaceTxt(change.start, change.insLen, *change.old, 0, change.old->Length());
        undoing = false;
        return res == vfile::ResDone;
    }

protected:
    // The old bytes are still there: a copy of them is one more virtual file, in the same bounded memory. A
    // change may still fail behind this hook, so it is only remembered for PostChange.
    std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t) const override {
        if (!undoing) pending = std::make_unique<vfile::VFile>(*this, start, delLen);
        return undoing ? vfile::ResDone : pending->res;  // anything but ResDone vetoes the change
    }

    void PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) override {
        VFile::PostChange(start, delLen, insLen);
        if (!undoing) changes.push_back({start, insLen, std::move(pending)});
    }

private:
    struct Change {
        std::int32_t start;
        std::int32_t insLen;
        std::unique_ptr<vfile::VFile> old;
    };
    std::vector<Change> changes;
    mutable std::unique_ptr<vfile::VFile> pending;
    bool undoing = false;
};

std::string ContentOf(vfile::VFile& file) {
    std::string bytes(static_cast<std::size_t>(file.Length()), '\0');
    file.SetPos(0);
    file.ReadBytes(bytes.data(), file.Length());
    return bytes;
}

}  // namespace

int main() {
    char const* const verse = "The quick brown fox jumps over the lazy dog.";
    UndoFile file;
    file.ReplaceBuf(0, 0, verse, static_cast<std::int32_t>(std::strlen(verse)));
    file.ReplaceBuf(4, 5, "slow", 4);
    file.ReplaceTxt(file.Length(), 0, file, 0, 8);
    std::cout << ContentOf(file) << '\n';

    while (file.Undo()) std::cout << ContentOf(file) << '\n';
    return file.res == vfile::ResDone && file.Length() == 0 ? 0 : 1;
}
