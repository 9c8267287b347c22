#include "support/model.h"

#include <algorithm>
#include <cstring>
#include <ostream>

#include "vfile/invariants.h"

namespace vfile::test {

namespace {

constexpr std::int32_t kFlagMask = 0x1ff;

std::int32_t Saturated(std::int64_t sum) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(sum, SameLen, MaxLen));
}

}  // namespace

std::ostream& operator<<(std::ostream& out, HookCall const& call) {
    return out << call.kind << '(' << call.start << ", " << call.delLen << ", " << call.insLen << ") at "
               << call.pos << " of " << call.length << " [" << call.gone.substr(0, 20) << ']';
}

void Model::Begin(Script const& next) {
    script = next;
    calls.clear();
    before = after = 0;
}

void Model::SetPos(std::int32_t position) {
    if (position < 0) {
        res = ResCallError;
        return;
    }
    pos = std::min(position, Length());
    res = ResDone;
    eof = false;
}

void Model::SetPos(std::int32_t offset, std::int32_t whence) {
    if (whence < 0 || whence > 2) {
        res = ResCallError;
        return;
    }
    std::int64_t const base = whence == 0 ? 0 : whence == 1 ? pos : Length();
    SetPos(Saturated(base + offset));
}

void Model::ReadByte(unsigned char& b) {
    eof = Eof();
    b = eof ? std::uint8_t{0} : static_cast<unsigned char>(bytes[static_cast<std::size_t>(pos++)]);
}

void Model::ReadPrevByte(unsigned char& b) {
    eof = Bof();
    b = eof ? std::uint8_t{0} : static_cast<unsigned char>(bytes[static_cast<std::size_t>(--pos)]);
}

std::int32_t Model::ReadBytes(void* dst, std::int32_t count) {
    if (count < 0 || (!dst && count > 0)) {
        res = ResCallError;
        return 0;
    }
    std::int32_t const got = std::min(count, Length() - pos);
    if (got > 0)
        bytes.copy(static_cast<char*>(dst), static_cast<std::size_t>(got), static_cast<std::size_t>(pos));
    pos += got;
    eof = got < count;
    return got;
}

std::int32_t Model::ReadTxt(char* dst, std::int32_t size, std::int32_t start, std::int32_t count) {
    if (!dst || size <= 0 || start < 0 || count < 0) {
        res = ResCallError;
        return 0;
    }
    SetPos(start);
    std::int32_t const got = ReadBytes(dst, std::min({count, Length() - pos, size - 1}));
    dst[got] = 0;
    return got;
}

bool Model::Admits(bool argumentsGood) {
    if (res != ResDone) return false;
    if (!argumentsGood) {
        res = ResCallError;
    } else if (flags & VFile::Locked) {
        res = ResContextError;
    } else if (flags & VFile::ReadOnly) {
        res = ResReadOnly;
    }
    return res == ResDone;
}

void Model::Change(std::int32_t start, std::int32_t delLen, std::string_view in, bool watched) {
    auto const inLen = static_cast<std::int32_t>(in.size());
    start = std::min(start, Length());
    delLen = std::min(delLen, Length() - start);
    if (std::int64_t{Length()} - delLen + inLen > MaxLen) {
        res = ResTooLong;
        return;
    }
    if (delLen > 0 || inLen > 0) {
        pos = start;
        eof = false;
        bool const watching = (flags & (VFile::EolWatchOn | VFile::EolWatchOff)) == VFile::EolWatchOn;
        if (watched && type > 0 && watching && in.find_first_of("\r\n") != in.npos) Put(VFile::EolSeen, true);
        res = PreChange(start, delLen, inLen);
        if (res != ResDone) return;
        bytes.replace(static_cast<std::size_t>(start), static_cast<std::size_t>(delLen), in);
        PostChange(start, delLen, inLen);
    }
    SetPos(start + inLen);
}

void Model::ReplaceBuf(std::int32_t start, std::int32_t delLen, void const* data, std::int32_t dataLen) {
    if (delLen == SameLen) delLen = dataLen;
    if (!Admits(start >= 0 && delLen >= 0 && dataLen >= 0 && (data || dataLen == 0))) return;
    Change(start, delLen, {static_cast<char const*>(data), static_cast<std::size_t>(dataLen)}, true);
}

void Model::ReplaceCh(std::int32_t start, std::int32_t delLen, char ch, std::int32_t count) {
    if (count <= 1) return ReplaceBuf(start, delLen, &ch, count);
    if (delLen == SameLen) delLen = count;
    std::string const copies(static_cast<std::size_t>(std::min(count, BlkSize)), ch);
    while (count > 0) {
        std::int32_t const n = std::min(count, BlkSize);
        ReplaceBuf(start, delLen, copies.data(), n);
        if (res != ResDone) return;
        delLen = 0;
        start = Saturated(std::int64_t{start} + n);
        count -= n;
    }
}

void Model::ReplaceTxt(std::int32_t start, std::int32_t delLen, Model const& src, std::int32_t srcStart,
                       std::int32_t srcLen) {
    bool const same = delLen == SameLen;
    if (!Admits(start >= 0 && (same || delLen >= 0) && srcStart >= 0 && srcLen >= 0)) return;
    srcStart = std::min(srcStart, src.Length());
    std::string const in =
        src.bytes.substr(static_cast<std::size_t>(srcStart), static_cast<std::size_t>(srcLen));
    Change(start, same ? static_cast<std::int32_t>(in.size()) : delLen, in, false);
}

void Model::ReplaceFile(std::int32_t start, std::int32_t delLen, Source const& src, std::int32_t count) {
    bool const same = delLen == SameLen;
    if (!Admits(start >= 0 && (same || delLen >= 0) && !src.closed && count >= 0)) return;
    std::string const in = src.bytes.substr(0, static_cast<std::size_t>(count));
    auto const got = static_cast<std::int32_t>(in.size());
    src.taken = got;
    if (count > 0) src.eof = got < count && src.failure == ResDone;
    if (got < count && src.failure != ResDone) {
        res = src.failure;
    } else if (got < count && count != MaxLen) {
        res = ResNotDone;
    } else {
        Change(start, same ? got : delLen, in, false);
    }
}

void Model::ReadFromFile(Source const& src, std::int32_t count) {
    ReplaceFile(pos, flags & VFile::InsertMode ? 0 : SameLen, src, count);
}

void Model::ReadFile(Source const& file) {
    if (!Admits(true)) return;
    if (file.closed) {
        res = file.failure;
        return;
    }
    ReadFromFile(file, MaxLen);
}

void Model::Load(Source const& file) {
    SetPos(0);
    ReplaceBuf(0, MaxLen, nullptr, 0);
    ReadFile(file);
    if (res == ResDone) SetPos(0);
}

void Model::ToggleFlag(std::int32_t mask) {
    if (res != ResDone) return;
    if (flags & VFile::Locked) {
        res = ResContextError;
        return;
    }
    for (std::int32_t bit = 1; bit <= kFlagMask; bit <<= 1) {
        if (!(mask & kFlagMask & bit)) continue;
        flags ^= bit;
        calls.push_back({'f', bit, (flags & bit) != 0, 0, pos, Length(), {}});
    }
}

std::int32_t Model::PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) {
    std::string gone = script.keepGone
                           ? bytes.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(delLen))
                           : "";
    calls.push_back({'<', start, delLen, insLen, pos, Length(), std::move(gone)});
    if (++before != script.at) return ResDone;
    if (script.act == Script::kThrowBefore) throw HookThrew{};
    return script.act == Script::kVeto ? script.veto : ResDone;
}

void Model::PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) {
    calls.push_back({'>', start, delLen, insLen, pos, Length(), {}});
    bool const acts = ++after == script.at;
    if (acts && script.act == Script::kThrowAfter) throw HookThrew{};
    if (flags & VFile::TrackModified) InclFlag(VFile::Modified);
    if (acts && script.act == Script::kChangeAfter) {
        ReplaceBuf(script.start, script.delLen, script.data.data(),
                   static_cast<std::int32_t>(script.data.size()));
    }
}

void Probe::Begin(Script const& next) {
    script = next;
    calls.clear();
    before = after = 0;
}

void Probe::Record(char kind, std::int32_t start, std::int32_t delLen, std::int32_t insLen) const {
    std::string gone;
    if (kind == '<' && script.keepGone) {
        VFile old(*this, start, delLen);
        gone = AllBytes(old);
    }
    calls.push_back({kind, start, delLen, insLen, GetPos(), Length(), std::move(gone)});
}

std::int32_t Probe::PreChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) const {
    Record('<', start, delLen, insLen);
    if (++before != script.at) return VFile::PreChange(start, delLen, insLen);
    if (script.act == Script::kThrowBefore) throw HookThrew{};
    return script.act == Script::kVeto ? script.veto : ResDone;
}

void Probe::PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) {
    Record('>', start, delLen, insLen);
    char const* const broken = BrokenRule(*this);
    EXPECT_EQ(broken, nullptr) << broken;
    bool const acts = ++after == script.at;
    if (acts && script.act == Script::kThrowAfter) throw HookThrew{};
    VFile::PostChange(start, delLen, insLen);
    if (acts && script.act == Script::kChangeAfter) {
        ReplaceBuf(script.start, script.delLen, script.data.data(),
                   static_cast<std::int32_t>(script.data.size()));
    }
}

void Probe::PostChangeFlag(std::int32_t flag, bool on) { Record('f', flag, on, 0); }

std::string AllBytes(VFile const& file) {
    VFile copy(file);
    copy.SetPos(0);
    std::string all(static_cast<std::size_t>(copy.Length()), '\0');
    EXPECT_EQ(copy.ReadBytes(all.data(), copy.Length()), file.Length());
    return all;
}

std::string Pattern(std::int32_t length, int salt) {
    std::string out(static_cast<std::size_t>(length), '\0');
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<char>((i + static_cast<std::size_t>(salt) * 37) % 251);
    return out;
}

Twin::Twin(std::string_view content) {
    Do([&](auto& f) { f.ReplaceBuf(0, 0, content.data(), static_cast<std::int32_t>(content.size())); });
}

void Twin::ExpectSameBytes() const {
    std::string const is = AllBytes(file);
    if (is == model.bytes) return;
    auto const at = std::mismatch(is.begin(), is.end(), model.bytes.begin(), model.bytes.end()).first;
    ADD_FAILURE() << "bytes differ at " << at - is.begin() << ", " << is.size() << " bytes instead of "
                  << model.bytes.size();
}

void Twin::Agree(std::string const& saw, std::string const& should) const {
    EXPECT_EQ(saw, should);
    EXPECT_EQ(file.Length(), model.Length());
    EXPECT_EQ(file.GetPos(), model.GetPos());
    EXPECT_EQ(file.Eof(), model.Eof());
    EXPECT_EQ(file.Bof(), model.Bof());
    EXPECT_EQ(file.eof, model.eof);
    EXPECT_EQ(file.res, model.res);
    EXPECT_EQ(file.GetFlags(), model.GetFlags());
    EXPECT_EQ(file.calls, model.calls);
    char const* const broken = BrokenRule(file);
    EXPECT_EQ(broken, nullptr) << broken;
}

}  // namespace vfile::test
