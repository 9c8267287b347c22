// Every call into the system fails in turn, memory runs out, hooks throw: a file is as it was or as it should be,
// and nothing is lost.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vfile/host_file.h>
#include <vfile/result.h>
#include <vfile/thread.h>
#include <vfile/virtual_file.h>
#include <vfile/vmem.h>

#include <cerrno>
#include <functional>
#include <thread>

#include "support/faults.h"
#include "support/halts.h"
#include "support/host_source.h"
#include "support/model.h"
#include "support/temp_dir.h"
#include "vfile/invariants.h"

namespace vfile::test {
namespace {

constexpr std::int32_t kLength = 200'000;
constexpr std::int32_t kStep = 64 * 1024;
constexpr struct {
    int error;
    std::int32_t res;
} kErrors[] = {
    {EIO,    ResDiskParityError},
    {ENOSPC, ResDiskFull       },
    {EACCES, ResNoPermission   }
};

// What a failure of a call means for loading and saving.
enum Effect { kUnnoticed, kReported, kEither };
Effect EffectOf(Call call) {
    switch (call) {
        case Call::kOpen:
        case Call::kTruncate:
        case Call::kRead:
        case Call::kWrite:
            return kReported;
        case Call::kStat:
            return kEither;  // one of them asks whether it is a directory, others only for hints
        default:
            return kUnnoticed;
    }
}

class VFileFaults : public testing::Test {
protected:
    VFileFaults() { VFile::SetMaxCacheSize(2000); }  // no swap file unless a test wants one
    ~VFileFaults() override { VFile::SetMaxCacheSize(limit_); }

    std::int16_t const limit_ = VFile::GetMaxCacheSize();
    TempDir dir_;
    std::string const old_ = Pattern(3000, 8), bytes_ = Pattern(kLength);
    TString const name_ = dir_.Name("named");

    // Saves or loads with the fault in force; judges, tries again without it, and gives the call that was hit.
    Call Transfer(bool saving, Fault const& fault, std::int32_t res) {
        WriteWhole(dir_.Bytes("named"), saving ? old_ : bytes_);
        VFile file("old");
        if (saving) file.ReplaceBuf(0, MaxLen, bytes_.data(), kLength);
        auto const transfer = [&] { saving ? file.Save(name_.c_str(), true) : file.Load(name_.c_str(), 0); };
        std::size_t const before = OpenDescriptors();
        Call hit;
        {
            Faults faults(fault);
            transfer();
            hit = faults.Hit();
        }
        SCOPED_TRACE(testing::Message() << (saving ? "save, " : "load, ") << NameOf(hit) << " " << fault.nth);
        bool const failed = res != ResDone &&
                            (EffectOf(hit) == kReported || (EffectOf(hit) == kEither && file.res != ResDone));
        EXPECT_EQ(file.res, failed ? res : ResDone);
        EXPECT_EQ(OpenDescriptors(), before);
        char const* const broken = BrokenRule(file);
        EXPECT_EQ(broken, nullptr) << broken;
        std::string const onDisk = ReadWhole(dir_.Bytes("named"));
        EXPECT_TRUE(AllBytes(file) == (saving || !failed ? bytes_ : ""));
        if (!saving || (failed && hit != Call::kWrite)) {
            EXPECT_EQ(file.GetPos(), 0);
            EXPECT_TRUE(onDisk == (saving ? old_ : bytes_)) << "cut before it was held";
        } else {
            EXPECT_EQ(onDisk.size() % kStep, failed ? 0u : kLength % kStep);
            EXPECT_EQ(file.GetPos(), static_cast<std::int32_t>(onDisk.size()) + (failed ? BlkSize : 0));
            EXPECT_TRUE(bytes_.starts_with(onDisk));
        }
        transfer();
        EXPECT_TRUE(AllBytes(file) == bytes_ && ReadWhole(dir_.Bytes("named")) == bytes_)
            << "not usable again";
        return hit;
    }
};

TEST_F(VFileFaults, EveryCallOfSaveAndLoadFails) {
    for (auto const& [error, res] : kErrors) {
        SCOPED_TRACE(error);
        for (bool const saving : {true, false}) {
            int n = 1;
            while (Transfer(saving, {.nth = n, .error = error}, res) != Call::kNone) ++n;
            EXPECT_GT(n, 6) << "hardly a call was met";
        }
    }
}

TEST_F(VFileFaults, InterruptedAndShortCallsGoUnnoticed) {
    for (Call const call : {Call::kOpen, Call::kLock, Call::kTruncate, Call::kRead, Call::kWrite}) {
        for (Fault fault : {
                 Fault{.error = EINTR     },
                 Fault{.kind = Fault::kCut, .cut = 1},
                 Fault{.kind = Fault::kCut                  }
        }) {
            for (bool const saving : {true, false}) {
                for (fault.nth = 1, fault.only = call; Transfer(saving, fault, ResDone) == call;
                     ++fault.nth) {
                }
            }
        }
    }
}

// However large the real step, a full disk leaves the cursor where steps of one block would.
TEST_F(VFileFaults, FullDiskInTheMiddleOfATransfer) {
    for (std::size_t const room : {1u, 1023u, 1024u, 5000u, 5120u, 65535u, 65536u}) {
        for (bool const asFile : {false, true}) {
            SCOPED_TRACE(room);
            WriteWhole(dir_.Bytes("named"), "");
            void* const handle = HandleOf(::open(dir_.Bytes("named").c_str(), O_WRONLY | O_CLOEXEC));
            HFile target(handle);
            VFile file;
            file.ReplaceBuf(0, 0, bytes_.data(), kLength);
            file.SetPos(10);
            {
                Faults faults(
                    {.kind = Fault::kCutThenFail, .error = ENOSPC, .cut = room, .only = Call::kWrite});
                asFile ? file.WriteToFile(target, MaxLen) : file.WriteToFile(handle, MaxLen);
            }
            EXPECT_EQ(file.res, ResDiskFull);
            EXPECT_EQ(file.GetPos(), 10 + static_cast<std::int32_t>((room / 1024 + 1) * 1024));
            EXPECT_TRUE(ReadWhole(dir_.Bytes("named")) == bytes_.substr(10, room));
        }
    }
}

// The address of the page that would be given next: it stays where it is while pages are reused.
std::int32_t NextPage(VFile const& file) {
    VMem& memory = VFileInspector::Memory(file);
    std::int32_t addr = 0;
    memory.AllocPage(addr);
    std::int32_t const next = addr;
    memory.DeallocPage(addr);
    return next;
}

TEST_F(VFileFaults, NoBlockIsLost) {
    WriteWhole(dir_.Bytes("named"), bytes_);
    HostSource source(dir_.Bytes("named"));
    Twin other(bytes_), twin(Pattern(5000, 4));
    std::int32_t settled = 0;
    for (int round = 0; round < 3; ++round) {
        for (Script::Act const act :
             {Script::kVeto, Script::kThrowBefore, Script::kThrowAfter, Script::kNothing}) {
            for (int kind = 0; kind < 5; ++kind) {
                source.At(0);
                auto const change = [&](auto& f) {
                    kind == 0   ? f.ReplaceBuf(1500, 700, bytes_.data(), kLength)
                    : kind == 1 ? f.ReplaceTxt(1500, 700, Twin::Beside(f, other), 0, kLength)
                    : kind == 2 ? f.ReplaceFile(1500, 700, source.AsFile(f), kLength)
                                : f.ReplaceFile(1500, 700, source.AsHandle(f), kLength + kind - 3);
                };
                twin.Do(change, {.act = act});
                twin.Do([&](auto& f) {
                    f.SetPos(0), f.ReplaceBuf(0, 1024, bytes_.data(), 0);
                });  // one whole block
                twin.Do([&](auto& f) { f.ReplaceBuf(0, 0, bytes_.data(), 1024); });
                twin.Do([](auto& f) { f.SetPos(0), f.ReplaceBuf(1500, kLength, nullptr, 0); });
                twin.Do([](auto& f) { f.ReplaceBuf(1500, 0, std::string(700, 'x').data(), 700); });
            }
        }
        twin.ExpectSameBytes();
        if (round == 0) settled = NextPage(twin.file);
    }
    EXPECT_EQ(NextPage(twin.file), settled);
}

// A file that cannot come into being leaves the thread as if it had never been asked for.
TEST_F(VFileFaults, NoMemoryForTheFirstFileOfAThread) {
    std::thread([] {
        CatchHalts catching;
        int stops = 0;
        for (int n = 1, fired = 1; fired; ++n) {
            SCOPED_TRACE(n);
            VFile::SetMaxCacheSize(33);
            try {
                Faults faults({.nth = n, .only = Call::kAllocate});
                fired = 0;
                VFile file;
            } catch (HaltCaught const&) {
                fired = 1;
                ++stops;
            }
            EXPECT_EQ(VFile::GetCacheSize(), 0);
            EXPECT_EQ(VFile::GetMaxCacheSize(), 33);
            EXPECT_EQ(VFile("again").res, ResDone);
        }
        EXPECT_GT(stops, 1);
        EXPECT_TRUE(VFile_UninitializeThread());  // stops when a file is still counted
    }).join();
}

TEST_F(VFileFaults, MemoryRunsOut) {
    WriteWhole(dir_.Bytes("named"), bytes_);
    HostSource source(dir_.Bytes("named"));
    VFile::SetMaxCacheSize(5);  // soon full, so that no page asks for memory
    int refused = 0;
    for (int kind = 0; kind < 6; ++kind) {
        for (Fault::Kind const how : {Fault::kFail, Fault::kFailOnward}) {
            for (int n = 1, fired = 1; fired; ++n) {
                SCOPED_TRACE(testing::Message() << "kind " << kind << ", allocation " << n);
                VFile file, large;
                file.ReplaceBuf(0, 0, old_.data(), 3000);
                large.ReplaceBuf(0, 0, bytes_.data(), kLength);
                file.Flush();
                source.At(0);
                std::string expected = old_;
                std::int32_t seen = 0;
                {
                    Faults faults({.kind = how, .nth = n, .only = Call::kAllocate});
                    unsigned char b = 0;
                    switch (kind) {
                        case 0:
                            file.ReplaceBuf(1500, 7, "small", 5);
                            break;
                        case 1:
                            file.ReplaceBuf(1500, 7, bytes_.data(), kLength);
                            break;
                        case 2:
                            file.ReplaceTxt(1500, 7, large, 0, kLength);
                            break;
                        case 3:
                            file.ReplaceFile(1500, 7, source.AsHandle(file), MaxLen);
                            break;
                        case 4:
                            file.ReplaceFile(1500, 7, source.file, kLength);
                            break;
                        default:
                            file.SetPos(1500);
                            for (int i = 0; i < 5; ++i)
                                file.ReadByte(b), seen += b, file.ReadPrevByte(b), seen -= b;
                            file.WriteToFile(HandleOf(::open("/dev/null", O_WRONLY | O_CLOEXEC)), MaxLen);
                    }
                    fired = faults.Hit() != Call::kNone;
                }
                if (file.res == ResDone && kind < 5) expected.replace(1500, 7, kind ? bytes_ : "small");
                refused += file.res != ResDone;
                EXPECT_TRUE(file.res == ResDone || (fired && kind < 5 && file.res == ResHeapOverflow))
                    << file.res;
                EXPECT_EQ(seen, 0);
                EXPECT_TRUE(AllBytes(file) == expected);
                char const* const broken = BrokenRule(file);
                EXPECT_EQ(broken, nullptr) << broken;
            }
        }
    }
    EXPECT_GE(refused, 6) << "hardly an allocation was refused";
}

TEST_F(VFileFaults, AddressRangeIsFull) {
    VFile file, empty;
    file.ReplaceBuf(0, 0, bytes_.data(), 9000);
    VMem& memory = VFileInspector::Memory(file);
    std::int32_t addr = 0;
    for (std::int32_t top = NextPage(file); MaxLen - top > 40'000; top = addr + 32'767)
        memory.Alloc(addr, 32'767);
    while (memory.CanAllocPage()) memory.AllocPage(addr);
    auto const check = [](VFile& f, std::string const& bytes, std::int32_t res) {
        EXPECT_EQ(f.res, res);
        std::string all(bytes.size() + 1, '\0');
        f.SetPos(0);
        EXPECT_EQ(f.ReadBytes(all.data(), static_cast<std::int32_t>(all.size())),
                  static_cast<std::int32_t>(bytes.size()));
        EXPECT_TRUE(all.substr(0, bytes.size()) == bytes);
        char const* const broken = BrokenRule(f);
        EXPECT_EQ(broken, nullptr) << broken;
    };
    std::string want = bytes_.substr(0, 9000);
    file.ReplaceBuf(3000, 0, bytes_.data(), 5000);
    check(file, want, ResHeapOverflow);
    file.ReplaceTxt(3000, 5, file, 0, MaxLen);
    check(file, want, ResHeapOverflow);
    empty.ReplaceBuf(0, 0, "x", 1);
    check(empty, "", ResHeapOverflow);
    file.ReplaceBuf(3000, SameLen, "in place", 8);
    check(file, want.replace(3000, 8, "in place"), ResDone);
    file.ReplaceBuf(2000, 5000, nullptr, 0);
    check(file, want.erase(2000, 5000), ResDone);
    file.ReplaceBuf(0, 0, bytes_.data(), 2500);
    check(file, want.insert(0, bytes_, 0, 2500), ResDone);
    empty.ReplaceBuf(0, 0, "x", 1);
    check(empty, "x", ResDone);
}

// A failing swap file stops the operation, once, and takes no bytes with it; all goes on when the disk does.
TEST_F(VFileFaults, SwapFails) {
    VFile::SetMaxCacheSize(3);
    VFile::SetTempDir(dir_.Name("").c_str());
    std::size_t const before = OpenDescriptors();
    constexpr struct {
        Call call;
        char const* message;
    } kCases[] = {
        {Call::kOpen,    "swap file creation failed"               },
        {Call::kWriteAt, "writing on swap file failed (disk full?)"},
        {Call::kReadAt,  "reading from swap file failed"           },
    };
    for (auto const& c : kCases) {
        for (int n = 1; n <= (c.call == Call::kOpen ? 1 : 40); ++n) {
            SCOPED_TRACE(testing::Message() << NameOf(c.call) << " " << n);
            VFile file, steady;
            steady.ReplaceBuf(0, 0, bytes_.data(), c.call == Call::kOpen ? 700 : kLength);
            steady.Flush();
            std::string const was = c.call == Call::kOpen ? bytes_.substr(0, 700) : bytes_;
            {
                Faults faults({.kind = Fault::kFailOnward, .nth = n, .error = EIO, .only = c.call});
                std::string const halt = HaltOf([&] {
                    for (int i = 0; i < 40; ++i) file.ReplaceTxt(i * 1500, 500, steady, i * 3000, 2200);
                    AllBytes(file);
                    VFile::ReleaseCache();
                });
                EXPECT_TRUE(halt.starts_with("VMem, ") && halt.ends_with(c.message)) << halt;
            }
            EXPECT_TRUE(AllBytes(steady) == was);
            EXPECT_EQ(dir_.Entries(), 0u);
        }
    }
    EXPECT_EQ(OpenDescriptors(), before);
    VFile::SetTempDir(nullptr);
}

}  // namespace
}  // namespace vfile::test
