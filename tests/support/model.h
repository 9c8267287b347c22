// What a virtual file should do, told with a plain string, and a twin that gives one operation to both.
#pragma once

#include <gtest/gtest.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vfile::test {

// A call of a hook: what it was given, and what it could see of the file.
struct HookCall {
    char kind;  // '<' before a change, '>' after it, 'f' a flag: its bit in start, its state in delLen
    std::int32_t start, delLen, insLen;
    std::int32_t pos, length;
    std::string gone;  // the bytes that are to go, where the script asks for them

    bool operator==(HookCall const&) const = default;
};
std::ostream& operator<<(std::ostream& out, HookCall const& call);

struct HookThrew {};

// What the hooks do during one operation, told alike to the file and to its model.
struct Script {
    enum Act { kNothing, kVeto, kThrowBefore, kThrowAfter, kChangeAfter };
    Act act = kNothing;
    int at = 1;                          // the change that it befalls, counted from 1
    std::int32_t veto = ResReadOnly;     // kVeto
    std::int32_t start = 0, delLen = 0;  // kChangeAfter: a further change of the same file
    std::string data{};
    bool keepGone = false;
};

// How a host file looks to a transfer: what it still has, and what comes behind that.
struct Source {
    std::string bytes{};
    bool closed = false;
    std::int32_t failure = ResDone;
    mutable std::int32_t taken = 0;  // bytes that the transfer moved it on
    mutable bool eof = false;
};

// Names and meanings of the operations are those of VFile, so that a generic lambda runs on either.
class Model {
public:
    std::string bytes;
    std::int32_t res = ResDone;
    bool eof = false;
    Script script;
    std::vector<HookCall> calls;

    void Begin(Script const& next);
    void Lock(bool on) { Put(VFile::Locked, on); }
    void SetType(std::int32_t value) { type = value; }

    std::int32_t Length() const { return static_cast<std::int32_t>(bytes.size()); }
    std::int32_t GetPos() const { return pos; }
    bool Eof() const { return pos >= Length(); }
    bool Bof() const { return pos <= 0; }
    std::int32_t GetFlags() const { return flags; }
    bool FlagOn(std::int32_t mask) const { return (flags & mask) != 0; }

    void Reset() { SetPos(0); }
    void SetPos(std::int32_t position);
    void SetPos(std::int32_t offset, std::int32_t whence);
    void Flush() {}
    void ReadByte(unsigned char& b);
    void ReadPrevByte(unsigned char& b);
    std::int32_t ReadBytes(void* dst, std::int32_t count);
    std::int32_t ReadTxt(char* dst, std::int32_t size, std::int32_t start, std::int32_t count);

    void ReplaceBuf(std::int32_t start, std::int32_t delLen, void const* data, std::int32_t dataLen);
    void ReplaceCh(std::int32_t start, std::int32_t delLen, char ch, std::int32_t count);
    void ReplaceTxt(std::int32_t start, std::int32_t delLen, Model const& src, std::int32_t srcStart,
                    std::int32_t srcLen);
    void ReplaceFile(std::int32_t start, std::int32_t delLen, Source const& src, std::int32_t count);
    void ReadFromFile(Source const& src, std::int32_t count);
    void ReadFile(Source const& file);  // a named file; closed stands for one that cannot be opened
    void Load(Source const& file);

    void ToggleFlag(std::int32_t mask);
    void SetFlags(std::int32_t value) { ToggleFlag(value ^ flags); }
    void InclFlag(std::int32_t mask) { ToggleFlag(mask & ~flags); }
    void ExclFlag(std::int32_t mask) { ToggleFlag(mask & flags); }
    void SetFlag(std::int32_t mask, bool on) { on ? InclFlag(mask) : ExclFlag(mask); }

private:
    std::int32_t pos = 0, flags = 0, type = 0;
    int before = 0, after = 0;

    void Put(std::int32_t bits, bool on) { flags = on ? flags | bits : flags & ~bits; }
    bool Admits(bool argumentsGood);
    void Change(std::int32_t start, std::int32_t delLen, std::string_view in, bool watched);
    std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen);
    void PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen);
};

// A virtual file whose hooks keep a record and follow a script.
class Probe : public VFile {
public:
    using VFile::VFile;
    Script script;
    mutable std::vector<HookCall> calls;

    void Begin(Script const& next);
    void Lock(bool on) { flags = on ? flags | Locked : flags & ~Locked; }
    void SetType(std::int32_t value) { type = value; }

protected:
    std::int32_t PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) const override;
    void PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) override;
    void PostChangeFlag(std::int32_t flag, bool on) override;

private:
    mutable int before = 0;
    int after = 0;

    void Record(char kind, std::int32_t start, std::int32_t delLen, std::int32_t insLen) const;
};

// All bytes of a file, without a move of its cursor or a look into its buffer from outside.
std::string AllBytes(VFile const& file);

// A byte pattern of period 251 in which every block differs from its neighbours; `salt` shifts it.
std::string Pattern(std::int32_t length, int salt = 0);

class Twin {
public:
    Probe file;
    Model model;

    Twin() = default;
    explicit Twin(std::string_view content);

    // Runs `op` on both and compares all that can be seen. `op` takes a file or a model and may give a string
    // of what it saw.
    template <class Op>
    void Do(Op op, Script const& script = {}) {
        Agree(Run(file, op, script), Run(model, op, script));
    }

    void ExpectSameBytes() const;

    // The side of `twin` that fits beside `side`.
    static VFile const& Beside(VFile const&, Twin const& twin) { return twin.file; }
    static Model const& Beside(Model const&, Twin const& twin) { return twin.model; }

private:
    template <class Side, class Op>
    static std::string Run(Side& side, Op& op, Script const& script) {
        side.Begin(script);
        try {
            if constexpr (std::is_void_v<decltype(op(side))>) {
                op(side);
                return {};
            } else {
                return op(side);
            }
        } catch (HookThrew const&) {
            return "threw";
        }
    }

    void Agree(std::string const& saw, std::string const& should) const;
};

// Reads through either side; what was read, the count and the untouched rest as one string.
template <class Side>
std::string ReadSome(Side& side, std::int32_t count) {
    std::string out(static_cast<std::size_t>(count), '_');
    std::int32_t const got = side.ReadBytes(out.data(), count);
    return out + "|" + std::to_string(got);
}

}  // namespace vfile::test
