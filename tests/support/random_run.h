// Random operations on several files of one thread, each beside its model, over a cache of one to four pages.
#pragma once

#include "support/cut_file.h"
#include "support/faults.h"
#include "support/host_source.h"
#include "support/test.h"
#include "support/twin.h"
#include "vfile/block.h"

namespace vfile::test {

constexpr std::int32_t kSourceLen = 9000;

// Reads through either side and notes what was read, the count and the untouched rest.
template <class Side>
void ReadSome(Side& f, std::int32_t count) {
    std::string out(count < 0 ? 0 : static_cast<std::size_t>(count), '_');
    std::int32_t const got = f.ReadBytes(out.data(), count);
    f.Saw(out + std::to_string(got));
}

template <class Side>
void ReadText(Side& f, std::int32_t size, std::int32_t start, std::int32_t count) {
    std::string out(3000, '_');
    std::int32_t const got = f.ReadTxt(out.data(), size, start, count);
    f.Saw(out + std::to_string(got));
}

template <class Side>
void ReadOneByOne(Side& f, bool back, std::int32_t steps) {
    std::string out;
    for (unsigned char b; steps > 0; --steps) {
        back ? f.ReadPrevByte(b) : f.ReadByte(b);
        out += static_cast<char>(b);
    }
    f.Saw(out);
}

template <class Side>
void ReadNumber(Side& f) {
    std::uint32_t x = 0xAABBCCDD;
    f.ReadDWord(x);
    f.Saw(std::to_string(x));
}

class RandomRun {
public:
    std::uint32_t applied = 0;
    std::uint32_t exchanged = 0;

    // Every choice is made by a number that `random` gives. Alone in the process it has reads that fall short, too.
    explicit RandomRun(std::function<std::uint32_t()> random, bool alone = true)
        : random_(std::move(random)), alone_(alone), data_(Pattern(64 * 1024)) {
        source_ = std::make_unique<HostSource>(data_.substr(0, kSourceLen));
        NewEpoch();
    }
    ~RandomRun() { VFile::SetMaxCacheSize(70); }

    void NewEpoch() {
        VFile::SetMaxCacheSize(CacheLimit());
        files_.clear();
        for (std::int32_t n = 1 + Some(4); n > 0; --n) files_.push_back(std::make_unique<Twin>());
        limit_ = Some(8) == 0 ? 200'000 : 20'000;
        if (Some(4) == 0) Shatter(*files_[0]);
    }

    void Step() {
        std::int32_t const dice = Some(1000);
        twin_ = Any();
        // Short blocks gather, since only few changes merge them: a file is begun again now and then.
        if (twin_->model.Length() > limit_ || dice > 996) return Shrink();
        if (dice < 5) return BearOrBury();
        if (dice < 9) return Exchange(*Any());
        if (dice < 15) return twin_->ExpectSameBytes();
        if (dice < 20) return Compare(*Any());
        if (dice < 22) return VFile::ReleaseCache();
        if (dice < 24) return VFile::SetMaxCacheSize(CacheLimit());
        Relax();
        if (dice < 600) return Change(dice % 20);
        if (dice < 880) return Read(dice % 8);
        if (dice < 970) return Move(dice % 8);
        Flags(dice % 8);
    }

private:
    std::function<std::uint32_t()> random_;
    bool alone_;
    std::string data_;
    std::unique_ptr<HostSource> source_;
    std::vector<std::unique_ptr<Twin>> files_;
    Twin* twin_ = nullptr;
    std::int32_t limit_ = 0;

    std::int32_t Some(std::int32_t bound) {
        return static_cast<std::int32_t>(random_() % static_cast<std::uint32_t>(bound));
    }
    std::int16_t CacheLimit() { return static_cast<std::int16_t>(2 + Some(4)); }
    Twin* Any() { return files_[random_() % files_.size()].get(); }
    char const* Data() { return Some(30) ? data_.data() + Some(50'000) : nullptr; }

    // A number of bytes: mostly few, often what just fits or just does not, sometimes absurd.
    std::int32_t Count() {
        std::int32_t const dice = Some(40);
        if (dice == 0) return Some(4) ? MaxLen : -1 - Some(3);
        if (dice == 1) return MaxLen - Some(3);
        if (dice < 6) return BlkSize * Some(4) - 2 + Some(5);
        if (dice < 9) return BlkSize - VFileInspector::Cursor(twin_->file).ptr->len - 1 + Some(3);
        return Some(dice < 11 ? 5000 : dice < 15 ? 700 : 12);
    }
    std::int32_t DelCount() { return Some(6) == 0 ? SameLen : Some(3) == 0 ? 0 : Count(); }
    // A number of bytes that are really there, in data_.
    std::int32_t DataCount() {
        std::int32_t const n = Count();
        return n > 6000 ? Some(6000) : n;
    }
    // Mostly near the cursor or a border of two blocks.
    std::int32_t Position() {
        std::int32_t const length = twin_->model.Length(), pos = twin_->model.GetPos(), dice = Some(12);
        BlkRdr const& cursor = VFileInspector::Cursor(twin_->file);
        if (dice < 4) return pos + Some(3) - (Some(8) == 0);
        if (dice == 4) return std::max(0, pos - Some(1200));
        if (dice < 7) return cursor.start + (Some(2) ? cursor.ptr->len : 0) - 2 + Some(4);
        if (dice == 7) return length - Some(3);
        if (dice == 8) return Some(4) ? length + Some(2000) : MaxLen - Some(2000);
        return Some(length + 1);
    }

    Script RandomScript() {
        Script script;
        script.keepGone = Some(24) == 0;
        if (Some(12)) return script;
        script.act = static_cast<Script::Act>(1 + Some(5));
        script.at = 1 + (Some(4) == 0);
        script.veto = 1 + Some(24);
        script.start = Some(3) ? twin_->model.GetPos() + Some(40) : Some(twin_->model.Length() + 1);
        script.delLen = Count();
        script.data = Pattern(Some(4) ? Some(20) : Some(3000));
        return script;
    }

    void Shrink() {
        std::int32_t const start = Some(3000), count = Some(4) ? MaxLen : Some(15'000);
        twin_->Do([&](auto& f) {
            f.Lock(false);
            f.SetPos(0);
            f.ExclFlag(VFile::ReadOnly);
            f.ReplaceBuf(start, count, nullptr, 0);
        });
    }

    // Old files go in any order and new ones take over their records and pages.
    void BearOrBury() {
        if (Some(2) && files_.size() < 5) {
            files_.push_back(std::make_unique<Twin>(data_.substr(7, random_() % 9000)));
        } else if (files_.size() > 1 || Some(4) == 0) {
            files_.erase(files_.begin() + Some(static_cast<std::int32_t>(files_.size())));
            if (files_.empty()) NewEpoch();
        }
    }

    // What one file is becomes another's, in the middle of whatever it was doing.
    void Exchange(Twin& other) {
        std::int32_t const kind = Some(3);
        if (kind == 0) {
            twin_->file.Swap(other.file);
            std::swap(twin_->model, other.model);
        } else if (kind == 1 || &other == twin_) {
            Probe taken(std::move(twin_->file));
            Model const was = twin_->model;
            twin_->model.Leave();
            twin_->Do([](auto&) {});
            if (Some(2)) Meet(*twin_);
            other.file.Swap(taken);
            other.model = was;
        } else {
            ExchangeBytes(other);
        }
        ++exchanged;
        for (Twin* twin : {twin_, &other}) {
            twin->Do([](auto&) {});
            twin->ExpectSameBytes();
        }
    }

    // Each file keeps its flags, and is changed whatever they say; nothing is lost.
    void ExchangeBytes(Twin& other) {
        VFile &a = twin_->file, &b = other.file;
        for (Twin* twin : {twin_, &other}) twin->Do([](auto& f) { f.Begin({}); });
        std::swap(a, b);
        std::string const mine = twin_->model.bytes, others = other.model.bytes;
        twin_->model.Leave();
        twin_->model.TakeAll(others);
        other.model.Leave();
        other.model.TakeAll(mine);
        EXPECT_EQ(twin_->file.seen, twin_->model.seen);
        EXPECT_EQ(other.file.seen, other.model.seen);
    }

    // An unborn file does all that an empty one does.
    void Meet(Twin& unborn) {
        twin_ = &unborn;
        Some(2) ? Read(Some(8)) : Some(2) ? Change(Some(20)) : Some(2) ? Move(Some(8)) : Flags(Some(8));
    }

    // Thousands of tiny blocks, so that seeks go by marks.
    void Shatter(Twin& twin) {
        VFile tiny;
        std::mt19937 random(random_());
        BlockCutter().Fill(tiny, data_.substr(0, 9000), 3, random);
        twin.file.Swap(tiny);
        twin.model = Model{};
        twin.model.bytes = data_.substr(0, 9000);
        twin.Do([](auto& f) { f.SetPos(0); });
    }

    // All operators, against the order of the strings, which is that of unsigned bytes.
    void Compare(Twin& other) {
        VFile copy(twin_->file, 0, MaxLen);
        std::string bytes = twin_->model.bytes;
        std::int32_t const at = Some(copy.Length() + 1), kept = Some(2);
        auto const ordered = [](auto const& a, auto const& b, int order) {
            return (a == b) == (order == 0) && (a != b) == (order != 0) && (a < b) == (order < 0) &&
                   (a <= b) == (order <= 0) && (a > b) == (order > 0) && (a >= b) == (order >= 0);
        };
        copy.ReplaceBuf(at, kept, "\x80", 1);  // stands in the buffer alone
        bytes.replace(static_cast<std::size_t>(at), static_cast<std::size_t>(kept), "\x80");
        int const order = bytes.compare(twin_->model.bytes);
        EXPECT_TRUE(ordered(copy, twin_->file, order) && ordered(VFile("ab"), "ab", 0));
        EXPECT_TRUE(ordered(twin_->file, bytes.c_str(), twin_->model.bytes.compare(bytes.c_str())));
        EXPECT_TRUE(ordered(twin_->file, other.file, twin_->model.bytes.compare(other.model.bytes)));
        twin_->Do([](auto&) {});
    }

    // Most operations should meet a file that lets them through.
    void Relax() {
        bool const unlock = Some(2), reset = twin_->model.res != ResDone && Some(4), allow = Some(4);
        twin_->Do([&](auto& f) {
            if (unlock) f.Lock(false);
            if (reset) f.SetPos(0, 1);
            if (allow) f.ExclFlag(VFile::ReadOnly);
        });
    }

    void Change(std::int32_t kind) {
        HostSource& source = *source_;
        Twin const& other = *Any();
        std::int32_t const start = Position(), delLen = DelCount(), n = DataCount(), count = Count();
        std::int32_t const from = Some(other.model.Length() + 3) - (Some(30) == 0);
        char const* const data = n < 0 ? data_.data() : Data();
        bool const whole = Some(2),
                   few = Some(3) &&
                         kind < 19;  // read byte by byte, a long source would be a block for each byte
        source.At(kSourceLen - Some(few ? 40 : kSourceLen));
        constexpr std::size_t kCuts[] = {1, 7, 300, 1023, 1500, 0};
        std::size_t const cut = kCuts[few ? Some(6) : 2 + Some(4)];
        std::optional<Faults> cuts;
        if (alone_) cuts.emplace(Fault{.kind = Fault::kCutAll, .cut = cut, .only = Call::kRead});
        auto const change = [&](auto& f) {
            kind < 8     ? f.ReplaceBuf(start, delLen, data, n)
            : kind == 8  ? f.ReplaceCh(start, delLen, 'x', n)
            : kind < 13  ? f.ReplaceTxt(start, delLen, Twin::Beside(f, other), from, count)
            : kind == 13 ? f.ReplaceFile(start, delLen, source.AsFile(f), count)
            : kind == 14 ? f.ReplaceFile(start, delLen, source.AsHandle(f), count)
            : kind == 15 ? f.ReadFromFile(source.AsFile(f), count)
            : kind == 16 ? f.ReadFromFile(source.AsHandle(f), count)
            : kind == 17 ? f.WriteFromFile(source.AsHandle(f), count)
            : kind == 18 ? f.Write(source.AsFile(f), count)
            : whole      ? f.Load(source.AsName(f), 1)
                         : f.ReadFile(source.AsName(f), 1);
            f.Saw(source.Position(f));
        };
        twin_->Do(change, RandomScript());
        applied += twin_->model.seen.starts_with("before");
    }

    void Read(std::int32_t kind) {
        std::int32_t const start = Position(), n = DataCount(), size = Some(3000) - (Some(10) == 0);
        std::int32_t const steps = Some(60) ? 1 + Some(6) : 1 + Some(2500);
        bool const real = Some(30), number = Some(4) == 0;
        twin_->Do([&](auto& f) {
            if (kind < 4) return ReadOneByOne(f, kind < 2, steps);
            if (kind == 7) return ReadText(f, size, start, n);
            if (number) return ReadNumber(f);
            real ? ReadSome(f, n) : f.Saw(std::to_string(f.ReadBytes(nullptr, n)));
        });
    }

    void Move(std::int32_t kind) {
        std::int32_t const position = Position(), whence = Some(4) - (Some(20) == 0);
        std::int32_t const offset = Some(2) ? Some(3000) - 1500 : Count();
        twin_->Do([&](auto& f) {
            kind == 0 ? f.Flush() : kind < 3 ? f.SetPos(offset, whence) : f.SetPos(position);
        });
    }

    void Flags(std::int32_t kind) {
        std::int32_t const bits = Some(0x800);
        twin_->Do([&](auto& f) {
            kind == 0   ? f.ToggleFlag(bits)
            : kind == 1 ? f.SetFlags(bits)
            : kind == 2 ? f.InclFlag(bits)
            : kind == 3 ? f.ExclFlag(bits)
            : kind == 4 ? f.SetFlag(bits, bits % 2)
            : kind == 5 ? f.Lock(true)
                        : f.SetType(bits % 3);
        });
    }
};

}  // namespace vfile::test
