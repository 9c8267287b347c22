// Operations in any order against the model, with a cache of three pages and hooks that refuse.
#include <vfile/virtual_file.h>

#include <string>

#include "fuzz/fuzz.h"
#include "support/model.h"
#include "vfile/invariants.h"

namespace vfile::test {
namespace {

class Editor : public VFile, public Scripted {
public:
    using VFile::VFile;
    void Lock(bool on) { flags = on ? flags | Locked : flags & ~Locked; }
    void SetType(std::int32_t value) { type = value; }
    void Track() { VFile::PostChange(0, 0, 0); }
    std::string Part(std::int32_t start, std::int32_t len) const {
        std::string bytes(static_cast<std::size_t>(len), '\0');
        BlkRdr place;
        VFileInspector::SetPosC(*this, place, start);
        VFileInspector::ReadBytesC(*this, place, bytes.data(), len);
        return bytes;
    }

protected:
    std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) const override {
        return Before(*this, start, delLen, insLen);
    }
    void PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) override {
        After(*this, start, delLen, insLen);
    }
    void PostChangeFlag(std::int32_t flag, bool on) override { Note(*this, "flag ", flag, on, 0); }
};

constexpr std::int32_t kMost = 60'000;  // of the file

// A number as small as a byte, of the size of a block, or anywhere in the file.
std::int32_t Number(FuzzInput& input) {
    std::int32_t const b = input.Byte();
    if (b < 128) return b - 4;
    if (b < 192) return 1024 + (b - 160);
    return (b << 8 | input.Byte()) - (192 << 8);
}

// One operation on either side; what it leaves and tells, as text.
template <class Side>
std::string Do(Side& f, FuzzInput input, Script const& script) {
    f.Begin(script);
    int const kind = input.Byte() % 12;
    std::int32_t const start = Number(input), delLen = Number(input), len = Number(input);
    std::string bytes(static_cast<std::size_t>(std::max(len, 0)), '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(start * 31 + static_cast<int>(i) % 249);
    auto const half = static_cast<std::int32_t>(bytes.size());
    try {
        switch (kind) {
            case 0:
            case 1:
            case 2:
                f.ReplaceBuf(start, delLen, bytes.data(), len);
                break;
            case 3:
                f.ReplaceCh(start, delLen, 'c', len);
                break;
            case 4:
            case 5:
                f.ReplaceTxt(start, delLen, f, len, half);
                break;
            case 6:
                f.SetPos(start, delLen % 3);
                break;
            case 7:
                f.Saw(std::to_string(f.ReadBytes(bytes.data(), len)) + bytes);
                break;
            case 8: {
                unsigned char b = 0;
                start % 2 ? f.ReadByte(b) : f.ReadPrevByte(b);
                f.Saw(std::to_string(b));
                break;
            }
            case 9:
                f.ToggleFlag(
                    start & (VFile::ReadOnly | VFile::InsertMode | VFile::TrackModified | VFile::EolWatchOn));
                break;
            case 10:
                f.Flush();
                break;
            default:
                f.SetPos(start);
        }
    } catch (HookThrew const&) {
        f.Saw("threw");
    }
    for (std::int32_t const n : {f.Length(), f.GetPos(), f.GetFlags(), std::int32_t{f.res}})
        f.Saw(std::to_string(n));
    f.Saw(f.eof ? "eof" : "");
    return f.seen;
}

}  // namespace
}  // namespace vfile::test

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace vfile::test;
    using vfile::VFile;
    VFile::SetMaxCacheSize(3);
    Editor file;
    Model model;
    FuzzInput input(data, size);
    while (input.HasMore()) {
        Script script;
        std::uint8_t const hook = input.Byte();
        if (hook >= 200) script.act = static_cast<Script::Act>(hook % 4);
        FuzzInput const operation = input.Next(8);
        FUZZ_CHECK(Do(file, operation, script) == Do(model, operation, script));
        FUZZ_CHECK(vfile::BrokenRule(file) == nullptr);
        if (model.Length() > kMost) break;
    }
    FUZZ_CHECK(file.Part(0, file.Length()) == model.bytes);
    return 0;
}
