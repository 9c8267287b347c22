// What a virtual file should do, told with a plain string.
#pragma once

#include "support/test.h"

namespace vfile::test {

struct HookThrew {};

// What the hooks do during one operation, told alike to the file and to its model.
struct Script {
    enum Act { kNothing, kVeto, kThrowBefore, kThrowAfter, kChangeAfter, kMoveAfter };
    Act act = kNothing;
    int at = 1;                       // the change that it befalls, counted from 1
    std::int32_t veto = ResReadOnly;  // kVeto
    std::int32_t start = 0,
                 delLen = 0;  // kChangeAfter: a further change of the same file; kMoveAfter: to `start`
    std::string data{};
    bool keepGone = false;  // note the bytes that are to go
};

// Follows a script and keeps a record: what a hook was given, and what it could see of the file.
class Scripted {
public:
    mutable std::string seen;

    void Begin(Script const& next) {
        script = next;
        seen.clear();
        before = after = 0;
    }
    void Saw(std::string const& what) const { seen += what + "; "; }

protected:
    template <class Side>
    void Note(Side const& f, char const* hook, std::int32_t start, std::int32_t delLen,
              std::int32_t insLen) const {
        seen += hook;
        for (std::int32_t const n : {start, delLen, insLen, f.GetPos(), f.Length()})
            seen += std::to_string(n) + ' ';
    }

    template <class Side>
    std::int32_t Before(Side const& f, std::int32_t start, std::int32_t delLen, std::int32_t insLen) const {
        Note(f, "before ", start, delLen, insLen);
        if (script.keepGone) Saw(f.Part(start, delLen));
        if (++before != script.at) return ResDone;
        if (script.act == Script::kThrowBefore) throw HookThrew{};
        return script.act == Script::kVeto ? script.veto : ResDone;
    }

    template <class Side>
    void After(Side& f, std::int32_t start, std::int32_t delLen, std::int32_t insLen) {
        Note(f, "after ", start, delLen, insLen);
        bool const acts = ++after == script.at;
        if (acts && script.act == Script::kThrowAfter) throw HookThrew{};
        f.Track();
        if (acts && script.act == Script::kMoveAfter) f.SetPos(script.start);
        if (!acts || script.act != Script::kChangeAfter) return;
        f.ReplaceBuf(script.start, script.delLen, script.data.data(),
                     static_cast<std::int32_t>(script.data.size()));
    }

private:
    Script script;
    mutable int before = 0;
    int after = 0;
};

// How a host file looks to a transfer: what it still has.
struct Source {
    std::string bytes{};
    mutable std::int32_t taken = 0;  // bytes that the transfer moved it on
};

// Names and meanings of the operations are those of VFile, so that a generic lambda runs on either.
class Model : public Scripted {
public:
    std::string bytes;
    std::int32_t res = ResDone;
    bool eof = false;

    void Lock(bool on) { flags = on ? flags | VFile::Locked : flags & ~VFile::Locked; }
    void SetType(std::int32_t value) { type = value; }
    void Track() {
        if (FlagOn(VFile::TrackModified)) InclFlag(VFile::Modified);
    }
    std::string Part(std::int32_t start, std::int32_t len) const {
        return bytes.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(len));
    }

    std::int32_t Length() const { return static_cast<std::int32_t>(bytes.size()); }
    std::int32_t GetPos() const { return pos; }
    bool Eof() const { return pos >= Length(); }
    bool Bof() const { return pos <= 0; }
    std::int32_t GetFlags() const { return flags; }
    bool FlagOn(std::int32_t mask) const { return (flags & mask) != 0; }
    void Flush() {}

    void SetPos(std::int32_t position) {
        if (position < 0) return Refuse(ResCallError);
        pos = std::min(position, Length());
        res = ResDone;
        eof = false;
    }
    void SetPos(std::int32_t offset, std::int32_t whence) {
        if (whence < 0 || whence > 2) return Refuse(ResCallError);
        std::int64_t const base = whence == 0 ? 0 : whence == 1 ? pos : Length();
        SetPos(Saturated(base + offset));
    }

    void ReadByte(unsigned char& b) {
        eof = Eof();
        b = static_cast<unsigned char>(eof ? 0 : bytes[static_cast<std::size_t>(pos++)]);
    }
    void ReadPrevByte(unsigned char& b) {
        eof = Bof();
        b = static_cast<unsigned char>(eof ? 0 : bytes[static_cast<std::size_t>(--pos)]);
    }
    void ReadDWord(std::uint32_t& x) { ReadBytes(&x, 4); }
    std::int32_t ReadBytes(void* dst, std::int32_t count) {
        if (count < 0 || (!dst && count > 0)) return Refuse(ResCallError), 0;
        std::string const got = Part(pos, count);
        got.copy(static_cast<char*>(dst), got.size());
        pos += static_cast<std::int32_t>(got.size());
        eof = got.size() < static_cast<std::size_t>(count);
        return static_cast<std::int32_t>(got.size());
    }
    std::int32_t ReadTxt(char* dst, std::int32_t size, std::int32_t start, std::int32_t count) {
        if (!dst || size <= 0 || start < 0 || count < 0) return Refuse(ResCallError), 0;
        SetPos(start);
        std::int32_t const got = ReadBytes(dst, std::min({count, Length() - pos, size - 1}));
        dst[got] = 0;
        return got;
    }

    void ReplaceBuf(std::int32_t start, std::int32_t delLen, void const* data, std::int32_t dataLen) {
        if (delLen == SameLen) delLen = dataLen;
        if (!Admits(start >= 0 && delLen >= 0 && dataLen >= 0 && (data || dataLen == 0))) return;
        Change(start, delLen, {static_cast<char const*>(data), static_cast<std::size_t>(dataLen)}, type > 0);
    }
    void ReplaceCh(std::int32_t start, std::int32_t delLen, char ch, std::int32_t count) {
        if (count <= 1) return ReplaceBuf(start, delLen, &ch, count);
        if (delLen == SameLen) delLen = count;
        for (std::int32_t n; count > 0 && (n = std::min(count, BlkSize)) > 0; count -= n) {
            ReplaceBuf(start, delLen, std::string(static_cast<std::size_t>(n), ch).data(), n);
            if (res != ResDone) return;
            delLen = 0;
            start = Saturated(std::int64_t{start} + n);
        }
    }
    void ReplaceTxt(std::int32_t start, std::int32_t delLen, Model const& src, std::int32_t srcStart,
                    std::int32_t srcLen) {
        if (!Admits(start >= 0 && (delLen == SameLen || delLen >= 0) && srcStart >= 0 && srcLen >= 0)) return;
        Change(start, delLen, src.Part(std::min(srcStart, src.Length()), srcLen), false);
    }
    void ReplaceFile(std::int32_t start, std::int32_t delLen, Source const& src, std::int32_t count) {
        if (!Admits(start >= 0 && (delLen == SameLen || delLen >= 0) && count >= 0)) return;
        std::string const in = src.bytes.substr(0, static_cast<std::size_t>(count));
        src.taken = static_cast<std::int32_t>(in.size());
        if (src.taken < count && count != MaxLen) return Refuse(ResNotDone);
        Change(start, delLen, in, false);
    }
    void ReadFromFile(Source const& src, std::int32_t count) {
        ReplaceFile(pos, FlagOn(VFile::InsertMode) ? 0 : SameLen, src, count);
    }
    void WriteFromFile(Source const& src, std::int32_t count) { ReadFromFile(src, count); }
    void Write(Source const& src, std::int32_t count) { ReadFromFile(src, count); }
    void ReadFile(Source const& named, std::uint32_t) {
        if (Admits(true)) ReadFromFile(named, MaxLen);
    }
    void Load(Source const& named, std::uint32_t share) {
        SetPos(0);
        ReplaceBuf(0, MaxLen, nullptr, 0);
        ReadFile(named, share);
        if (res == ResDone) SetPos(0);
    }

    // What is left of a moved file, and one that was moved and takes all of another.
    void Leave() {
        bytes.clear();
        pos = 0;
        res = ResDone;
        eof = false;
    }
    void TakeAll(std::string const& in) { Change(0, 0, in, false); }

    void ToggleFlag(std::int32_t mask) {
        if (res != ResDone) return;
        if (FlagOn(VFile::Locked)) return Refuse(ResContextError);
        for (std::int32_t bit = 1; bit <= VFile::EolWatchOn; bit <<= 1) {
            if (!(mask & bit)) continue;
            flags ^= bit;
            Note(*this, "flag ", bit, FlagOn(bit), 0);
        }
    }
    void SetFlags(std::int32_t value) { ToggleFlag(value ^ flags); }
    void InclFlag(std::int32_t mask) { ToggleFlag(mask & ~flags); }
    void ExclFlag(std::int32_t mask) { ToggleFlag(mask & flags); }
    void SetFlag(std::int32_t mask, bool on) { on ? InclFlag(mask) : ExclFlag(mask); }

private:
    std::int32_t pos = 0, flags = 0, type = 0;

    static std::int32_t Saturated(std::int64_t sum) {
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(sum, SameLen, MaxLen));
    }
    void Refuse(std::int32_t code) { res = code; }
    bool Admits(bool argumentsGood) {
        if (res != ResDone) return false;
        res = !argumentsGood            ? ResCallError
              : FlagOn(VFile::Locked)   ? ResContextError
              : FlagOn(VFile::ReadOnly) ? ResReadOnly
                                        : ResDone;
        return res == ResDone;
    }
    void Change(std::int32_t start, std::int32_t delLen, std::string_view in, bool watched) {
        auto const inLen = static_cast<std::int32_t>(in.size());
        start = std::min(start, Length());
        delLen = std::min(delLen == SameLen ? inLen : delLen, Length() - start);
        if (delLen > 0 || inLen > 0) {
            pos = start;
            eof = false;
            bool const watching = watched && FlagOn(VFile::EolWatchOn) && !FlagOn(VFile::EolWatchOff);
            if (watching && in.find_first_of("\r\n") != in.npos) flags |= VFile::EolSeen;
            res = Before(*this, start, delLen, inLen);
            if (res != ResDone) return;
            bytes.replace(static_cast<std::size_t>(start), static_cast<std::size_t>(delLen), in);
            After(*this, start, delLen, inLen);
        }
        SetPos(start + inLen);
    }
};

}  // namespace vfile::test
