// A long random run: several files of one thread, each beside its model, over a cache of one to four pages.
#include <gtest/gtest.h>
#include <vfile/virtual_file.h>

#include <cstdlib>
#include <memory>
#include <random>

#include "support/faults.h"
#include "support/host_source.h"
#include "support/model.h"
#include "support/temp_dir.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VFILE_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define VFILE_SANITIZED 1
#endif
#endif

namespace vfile::test {
namespace {

#ifdef VFILE_SANITIZED
constexpr std::uint32_t kOperations = 100'000;
#else
constexpr std::uint32_t kOperations = 1'200'000;
#endif
constexpr std::uint32_t kEpoch = 20'000;  // operations between two choices of cache and size
constexpr std::int32_t kSourceLen = 9000;

std::uint32_t FromEnvironment(char const* name, std::uint32_t otherwise) {
    char const* const text = std::getenv(name);
    return text ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)) : otherwise;
}

class RandomRun {
public:
    explicit RandomRun(std::uint32_t seed) : random_(seed), data_(64 * 1024, '\0') {
        for (char& c : data_) c = static_cast<char>(random_());
        WriteWhole(dir_.Bytes("source"), data_.substr(0, kSourceLen));
        source_ = std::make_unique<HostSource>(dir_.Bytes("source"));
        NewEpoch();
    }
    ~RandomRun() { VFile::SetMaxCacheSize(70); }

    void Step() {
        std::uint32_t const dice = Below(1000);
        twin_ = files_[Below(files_.size())].get();
        // Short blocks gather, since only few changes merge them: a file is begun again now and then.
        if (twin_->model.Length() > limit_ || dice > 996) return Shrink();
        if (dice < 5) return BearOrBury();
        if (dice < 9) return Exchange(*files_[Below(files_.size())]);
        if (dice < 22) return twin_->ExpectSameBytes();
        if (dice < 26) return dice < 24 ? VFile::ReleaseCache() : VFile::SetMaxCacheSize(CacheLimit());
        Relax();
        if (dice < 600) return Change(dice % 16);
        if (dice < 880) return Read(dice % 8);
        if (dice < 970) return Move();
        Flags();
    }

    void NewEpoch() {
        VFile::SetMaxCacheSize(CacheLimit());
        files_.clear();
        for (std::uint32_t n = 1 + Below(4); n > 0; --n) files_.push_back(std::make_unique<Twin>());
        limit_ = Below(8) == 0 ? 200'000 : 20'000;
    }

    std::uint32_t applied = 0, exchanged = 0;

private:
    std::mt19937 random_;
    std::string data_;
    TempDir dir_;
    std::unique_ptr<HostSource> source_;
    std::vector<std::unique_ptr<Twin>> files_;
    Twin* twin_ = nullptr;
    std::int32_t limit_ = 0;

    std::uint32_t Below(std::size_t bound) { return static_cast<std::uint32_t>(random_() % bound); }
    std::int16_t CacheLimit() { return static_cast<std::int16_t>(2 + Below(4)); }
    std::int32_t Some(std::int32_t bound) {
        return static_cast<std::int32_t>(Below(static_cast<std::size_t>(bound)));
    }

    // A number of bytes: mostly few, often about whole blocks, sometimes absurd.
    std::int32_t Count() {
        std::uint32_t const dice = Below(40);
        if (dice < 2) return dice ? MaxLen - Some(3) : Below(4) ? MaxLen : -1 - Some(3);
        if (dice < 6) return BlkSize * Some(4) - 2 + Some(5);
        return Some(dice < 8 ? 5000 : dice < 12 ? 700 : 12);
    }
    std::int32_t DelCount() { return Below(6) == 0 ? SameLen : Below(3) == 0 ? 0 : Count(); }
    // A number of bytes that are really there, in data_.
    std::int32_t DataCount() {
        std::int32_t const n = Count();
        return n < 0 && Below(2) ? n : n < 0 || n > 6000 ? Some(6000) : n;
    }
    std::int32_t Position() {
        std::int32_t const length = twin_->model.Length(), pos = twin_->model.GetPos();
        std::uint32_t const dice = Below(12);
        if (dice < 4) return pos + Some(3) - (Below(8) == 0);
        if (dice == 4) return std::max(0, pos - Some(1200));
        if (dice < 7) return BlkSize * Some(length / BlkSize + 1) + Some(5) - (Below(6) == 0 ? 2 : 0);
        if (dice == 7) return length - (Below(2) ? 0 : Some(3));
        if (dice == 8) return Below(4) ? length + Some(2000) : MaxLen - Some(2000);
        return Some(length + 1);
    }
    char const* Data() { return data_.data() + Below(50'000); }

    Script RandomScript() {
        Script script;
        script.keepGone = Below(24) == 0;
        if (Below(12)) return script;
        script.act = static_cast<Script::Act>(1 + Below(4));
        script.at = 1 + (Below(4) == 0);
        script.veto = 1 + Some(24);
        script.start = Some(3) ? twin_->model.GetPos() + Some(40) : Some(twin_->model.Length() + 1);
        script.delLen = Count();
        script.data = data_.substr(Below(1000), Below(4) ? Below(20) : Below(3000));
        return script;
    }

    void Shrink() {
        std::int32_t const start = Some(3000), count = Below(4) ? MaxLen : Some(15'000);
        twin_->Do([&](auto& f) {
            f.Lock(false);
            f.SetPos(0);
            f.ExclFlag(VFile::ReadOnly);
            f.ReplaceBuf(start, count, nullptr, 0);
        });
    }

    // Old files go in any order and new ones take over their records and pages.
    void BearOrBury() {
        if (Below(2) && files_.size() < 5) {
            files_.push_back(std::make_unique<Twin>(std::string_view(Data(), Below(9000))));
        } else if (files_.size() > 1 || Below(4) == 0) {
            files_.erase(files_.begin() + Below(files_.size()));
            if (files_.empty()) NewEpoch();
        }
    }

    // What one file is becomes another's, in the middle of whatever it was doing. A moved one is new and empty.
    void Exchange(Twin& other) {
        if (Below(2)) {
            twin_->file.Swap(other.file);
            std::swap(twin_->model, other.model);
        } else {
            Probe taken(std::move(twin_->file));
            Model const was = std::exchange(twin_->model, Model{});
            twin_->Do([](auto&) {});
            other.file.Swap(taken);
            other.model = was;
        }
        ++exchanged;
        for (Twin* twin : {twin_, &other}) {
            twin->Do([](auto&) {});
            twin->ExpectSameBytes();
        }
    }

    // Most operations should meet a file that lets them through.
    void Relax() {
        if (twin_->model.FlagOn(VFile::Locked) && Below(2)) twin_->Do([](auto& f) { f.Lock(false); });
        if (twin_->model.res != ResDone && Below(4)) twin_->Do([](auto& f) { f.SetPos(0, 1); });
        if (twin_->model.FlagOn(VFile::ReadOnly) && Below(4))
            twin_->Do([](auto& f) { f.ExclFlag(VFile::ReadOnly); });
    }

    void Change(std::uint32_t kind) {
        std::int32_t const start = Position(), delLen = DelCount(), n = DataCount();
        Script const script = RandomScript();
        Twin const& other = *files_[Below(files_.size())];
        char const* const data = Below(30) ? Data() : nullptr;
        if (kind < 8) {
            twin_->Do([&](auto& f) { f.ReplaceBuf(start, delLen, data, n); }, script);
        } else if (kind == 8) {
            twin_->Do([&](auto& f) { f.ReplaceCh(start, delLen, 'x', n); }, script);
        } else if (kind < 13) {
            std::int32_t const from = Some(other.model.Length() + 3) - (Below(30) == 0), count = Count();
            twin_->Do([&](auto& f) { f.ReplaceTxt(start, delLen, Twin::Beside(f, other), from, count); },
                      script);
        } else {
            ChangeFromFile(kind, start, delLen, script);
        }
        applied += !twin_->model.calls.empty();
    }

    void ChangeFromFile(std::uint32_t kind, std::int32_t start, std::int32_t delLen, Script const& script) {
        HostSource& source = *source_;
        bool const few = Below(3) != 0;  // read byte by byte, a long source would be a block for each byte
        source.At(kSourceLen - Some(few ? 40 : kSourceLen));
        source.left.eof = source.file.eof;
        std::int32_t const count = Count();
        constexpr std::size_t kCuts[] = {1, 7, 0, 300, 1023, 1500};
        Faults cuts({.kind = Fault::kCutAll,
                     .cut = kCuts[Below(few ? 5 : 4) + (few ? Below(8) != 0 : 2)],
                     .only = Call::kRead});
        if (kind == 13) {
            twin_->Do(
                [&](auto& f) {
                    f.ReplaceFile(start, delLen, source.AsFile(f), count);
                    return source.Position(f) + source.Ended(f);
                },
                script);
        } else if (kind == 14) {
            twin_->Do(
                [&](auto& f) {
                    f.ReplaceFile(start, delLen, source.AsHandle(f), count);
                    return source.Position(f);
                },
                script);
        } else {
            twin_->Do([&](auto& f) { f.ReadFromFile(source.AsHandle(f), count); }, script);
        }
    }

    void Read(std::uint32_t kind) {
        std::int32_t const start = Position(), n = Count();
        if (kind < 4) {
            bool const back = kind < 2;
            std::int32_t const steps = Below(60) ? 1 + Some(6) : 1 + Some(2500);
            twin_->Do([&](auto& f) {
                std::string seen(static_cast<std::size_t>(steps), '?');
                for (char& c : seen) {
                    unsigned char b;
                    back ? f.ReadPrevByte(b) : f.ReadByte(b);
                    c = static_cast<char>(b);
                }
                return seen;
            });
        } else if (kind < 7) {
            std::int32_t const count = n > 6000 ? Some(6000) : n;
            bool const real = count >= 0 && Below(30);
            twin_->Do([&](auto& f) {
                return real ? ReadSome(f, count) : std::to_string(f.ReadBytes(nullptr, count));
            });
        } else {
            std::int32_t const size = Some(3000) - (Below(10) == 0);
            twin_->Do([&](auto& f) {
                std::string seen(3000, '?');
                return std::to_string(f.ReadTxt(seen.data(), size, start, n)) + seen;
            });
        }
    }

    void Move() {
        std::int32_t const position = Position(), whence = Some(4) - (Below(20) == 0), kind = Some(8);
        std::int32_t const offset = Below(2) ? Some(3000) - 1500 : Count();
        twin_->Do([&](auto& f) {
            kind == 0 ? f.Flush() : kind < 3 ? f.SetPos(offset, whence) : f.SetPos(position);
        });
    }

    void Flags() {
        std::int32_t const bits = Some(0x800), kind = Some(8);
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

TEST(VFileRandom, BehavesLikeItsModel) {
    std::uint32_t const seed = FromEnvironment("VFILE_TEST_SEED", std::random_device{}());
    std::uint32_t const operations = FromEnvironment("VFILE_TEST_OPERATIONS", kOperations);
    std::printf("VFILE_TEST_SEED=%u, %u operations\n", seed, operations);
    RandomRun run(seed);
    for (std::uint32_t n = 1; n <= operations; ++n) {
        run.Step();
        if (HasFailure()) FAIL() << "at operation " << n << " of seed " << seed;
        if (n % kEpoch == 0) run.NewEpoch();
    }
    EXPECT_GT(run.applied, operations / 4) << "too many operations were refused";
    EXPECT_GT(run.exchanged, operations / 500);
}

}  // namespace
}  // namespace vfile::test
