// A virtual file and its model, given the same operations.
#pragma once

#include "support/model.h"
#include "support/test.h"
#include "vfile/block.h"
#include "vfile/invariants.h"

namespace vfile::test {

// The bytes of a range, which neither a cursor nor a page is needed for.
inline std::string PartOf(VFile const& file, std::int32_t start, std::int32_t len) {
    std::string bytes(static_cast<std::size_t>(len), '\0');
    BlkRdr place;
    VFileInspector::SetPosC(file, place, start);
    VFileInspector::ReadBytesC(file, place, bytes.data(), len);
    return bytes;
}
inline std::string AllBytes(VFile const& file) { return PartOf(file, 0, file.Length()); }

inline void ExpectSound(VFile const& file) {
    char const* const broken = BrokenRule(file);
    EXPECT_EQ(broken, nullptr) << broken;
}

// The address of the page that would be given next: it stays where it is while pages are reused.
inline std::int32_t NextPage(internal::PagedMemory& memory) {
    std::int32_t addr = 0;
    memory.AllocPage(addr);
    std::int32_t const next = addr;
    memory.DeallocPage(addr);
    return next;
}

// A virtual file whose hooks keep a record and follow a script.
class Probe : public VFile, public Scripted {
public:
    using VFile::VFile;

    void Lock(bool on) { flags = on ? flags | Locked : flags & ~Locked; }
    void SetType(std::int32_t value) { type = value; }
    void Track() { VFile::PostChange(0, 0, 0); }
    std::string Part(std::int32_t start, std::int32_t len) const { return PartOf(*this, start, len); }

protected:
    std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) const override {
        return Before(*this, start, delLen, insLen);
    }
    void PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) override {
        ExpectSound(*this);
        After(*this, start, delLen, insLen);
    }
    void PostChangeFlag(std::int32_t flag, bool on) override { Note(*this, "flag ", flag, on, 0); }
};

// A byte pattern of period 251 in which every block differs from its neighbours; `salt` shifts it.
inline std::string Pattern(std::int32_t length, std::size_t salt = 0) {
    std::string out(static_cast<std::size_t>(length), '\0');
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = static_cast<char>((i + salt * 37) % 251);
    return out;
}

class Twin {
public:
    Probe file;
    Model model;

    explicit Twin(std::string const& content = {}) {
        Do([&](auto& f) { f.ReplaceBuf(0, 0, content.data(), static_cast<std::int32_t>(content.size())); });
    }

    // Runs `op`, which takes a file or a model, on both, and compares all that can be seen but the bytes.
    template <class Op>
    void Do(Op op, Script const& script = {}) {
        EXPECT_EQ(Run(file, op, script), Run(model, op, script));
        ExpectSound(file);
    }

    void ExpectSameBytes() const { EXPECT_TRUE(AllBytes(file) == model.bytes); }

    // The side of `twin` that fits beside the first.
    static VFile const& Beside(VFile const&, Twin const& twin) { return twin.file; }
    static Model const& Beside(Model const&, Twin const& twin) { return twin.model; }

private:
    template <class Side, class Op>
    static std::string Run(Side& f, Op& op, Script const& script) {
        f.Begin(script);
        try {
            op(f);
        } catch (HookThrew const&) {
            f.Saw("threw");
        }
        for (std::int32_t const n : {f.Length(), f.GetPos(), f.GetFlags(), std::int32_t{f.res}})
            f.Saw(std::to_string(n));
        for (bool const is : {f.Eof(), f.Bof(), f.eof}) f.Saw(is ? "yes" : "no");
        return f.seen;
    }
};

}  // namespace vfile::test
