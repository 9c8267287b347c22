// Memory and the swap file run out, hooks throw: a file is as it was or as it should be,
// and nothing is lost.
#include <fcntl.h>
#include <gtest/gtest.h>
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
#include "support/twin.h"

namespace vfile::test {
namespace {

constexpr std::int32_t kLength = 200'000;

class VFileFaults : public testing::Test {
protected:
    VFileFaults() {
        old_.ReplaceBuf(0, 0, Pattern(3000, 8).data(), 3000);
        large_.ReplaceBuf(0, 0, bytes_.data(), kLength);
    }

    struct LargeCache {  // no swap file unless a test wants one
        LargeCache() { VFile::SetMaxCacheSize(2000); }
        ~LargeCache() { VFile::SetMaxCacheSize(70); }
    } cache_;
    TempDir dir_;
    std::string const bytes_ = Pattern(kLength);
    HostSource source_{bytes_};
    VFile old_, large_;

    void TakeSource(VFile& f, std::int32_t count) {
        source_.At(0);
        count == kLength ? f.ReplaceFile(500, 700, source_.file, count)
                         : f.ReplaceFile(500, 700, source_.AsHandle(f), count);
    }
    void Look(VFile& f) {
        unsigned char there = 0, back = 0;
        f.SetPos(1500);
        f.ReadByte(there);
        f.ReadPrevByte(back);
        EXPECT_EQ(there << 8 | back, 0x101 * ((1500 + 8 * 37) % 251));
        HFile target(HandleOf(::open("/dev/null", O_WRONLY | O_CLOEXEC)));
        f.WriteToFile(target, MaxLen);
    }

    std::vector<std::function<void(VFile&)>> const kActs{
        [this](VFile& f) { Look(f); },
        [](VFile& f) { f.ReplaceBuf(1500, 7, "small", 5); },
        [](VFile& f) { f.ReplaceBuf(0, 1024, nullptr, 0); },
        [](VFile& f) { f.ReplaceBuf(0, MaxLen, nullptr, 0); },
        [this](VFile& f) { f.ReplaceBuf(1500, 700, bytes_.data(), kLength); },
        [this](VFile& f) { f.ReplaceTxt(1500, 700, large_, 0, MaxLen); },
        [this](VFile& f) { TakeSource(f, kLength); },
        [this](VFile& f) { TakeSource(f, kLength + 1); },
        [this](VFile& f) { TakeSource(f, MaxLen); },
    };
};

TEST_F(VFileFaults, MemoryRunsOut) {
    VFile::SetMaxCacheSize(5);  // soon full, so that no page asks for memory
    int refused = 0;
    for (auto const& act : kActs) {
        for (Fault::Kind const kind : {Fault::kFail, Fault::kFailOnward}) {
            Fault fault{.kind = kind, .only = Call::kAllocate};
            for (Call hit = Call::kOpen; hit != Call::kNone; ++fault.nth) {
                SCOPED_TRACE(testing::Message()
                             << "act " << &act - kActs.data() << ", allocation " << fault.nth);
                VFile file(old_), want(old_);
                file.Flush();
                {
                    Faults faults(fault);
                    act(file);
                    hit = faults.Hit();
                }
                act(want);
                bool const lacked = hit != Call::kNone && file.res == ResHeapOverflow;
                EXPECT_TRUE(lacked || file.res == want.res);
                EXPECT_TRUE(AllBytes(file) == AllBytes(lacked ? old_ : want));
                ExpectSound(file);
                refused += lacked;
            }
        }
    }
    EXPECT_GE(refused, 6) << "hardly an allocation was refused";
}

// A file that cannot come into being leaves the thread as if it had never been asked for.
TEST_F(VFileFaults, NoMemoryForTheFirstFileOfAThread) {
    std::thread([] {
        int stops = 0;
        for (int n = 1, last = -1; last < stops; ++n) {
            last = stops;
            VFile::SetMaxCacheSize(33);
            std::string const halt = HaltOf([&] {
                Faults const faults({.nth = n, .only = Call::kAllocate});
                VFile file;
            });
            stops += !halt.empty();
            EXPECT_EQ(VFile::GetCacheSize(), 0);
            EXPECT_EQ(VFile::GetMaxCacheSize(), 33);
            EXPECT_EQ(VFile("again").res, ResDone);
        }
        EXPECT_GT(stops, 1);
        EXPECT_TRUE(VFile_UninitializeThread());  // stops when a file is still counted
    }).join();
}

// A change needs pages, or those of waiting records; one within a block needs none.
TEST_F(VFileFaults, AddressRangeIsFull) {
    internal::PagedMemory& memory = VFileInspector::Memory(old_);
    std::int32_t addr = 0;
    for (std::int32_t top = NextPage(memory); MaxLen - top > 40'000; top = addr + 32'767)
        memory.Alloc(addr, 32'767);
    while (memory.CanAllocPage()) memory.AllocPage(addr);
    VFile empty;
    std::string bytes = AllBytes(old_);
    auto const check = [](VFile& f, std::string const& should, FileRes res) {
        EXPECT_EQ(f.res, res);
        EXPECT_TRUE(AllBytes(f) == should);
        ExpectSound(f);
        f.SetPos(0);
    };
    for (std::size_t const act : {4u, 5u, 6u, 8u}) {
        kActs[act](old_);
        check(old_, bytes, ResHeapOverflow);
        kActs[act](empty);
        check(empty, "", ResHeapOverflow);
    }
    kActs[1](empty);
    check(empty, "", ResHeapOverflow);
    kActs[1](old_);
    check(old_, bytes.replace(1500, 7, "small"), ResDone);
    large_.ReplaceBuf(0, 2048, nullptr, 0);
    old_.ReplaceBuf(500, 0, bytes_.data(), 600);
    check(old_, bytes.insert(500, bytes_, 0, 600), ResDone);
    empty.ReplaceBuf(0, 0, "x", 1);
    check(empty, "x", ResDone);
    empty.Flush();  // from here on only the page tells
    for (; old_.res == ResDone; bytes.insert(0, bytes_, 0, 1000)) old_.ReplaceBuf(0, 0, bytes_.data(), 1000);
    check(old_, bytes.substr(1000), ResHeapOverflow);
    check(empty, "x", ResDone);
    Faults const taken({.kind = Fault::kFailOnward, .only = Call::kAllocate});
    for (int n = 0; n < 200; ++n) {
        old_.SetPos(0);
        old_.ReplaceBuf(0, 0, bytes_.data(), 1000);
    }
    EXPECT_EQ(taken.Hit(), Call::kNone) << "a record of a change that failed was not given back";
}

// A failing swap file stops the operation, and takes no bytes with it; all goes on when the disk does.
TEST_F(VFileFaults, SwapFails) {
    std::string const old = AllBytes(old_);
    VFile::SetTempDir(dir_.Name("").c_str());
    VFile::SetMaxCacheSize(3);
    VFile emptied("abc"), other;
    other.ReplaceBuf(0, 0, bytes_.data(), kLength);
    unsigned char b;
    other.SetPos(10);
    other.ReadByte(b);      // its block stands in the buffer
    VFile::ReleaseCache();  // so that pages are read when they are given back or go out
    {
        Faults const faults({.kind = Fault::kFailOnward, .error = EIO, .only = Call::kReadAt});
        HFile target(HandleOf(::open("/dev/null", O_WRONLY | O_CLOEXEC)));
        EXPECT_NE(HaltOf([&] { other.WriteToFile(target, MaxLen); }), "");
        EXPECT_NE(HaltOf([&] { emptied.ReplaceBuf(0, MaxLen, nullptr, 0); }), "");
    }
    EXPECT_EQ(other.GetPos(), 11) << "moved over bytes that did not go out";
    EXPECT_EQ(AllBytes(emptied), "abc") << "changed, and PostChange not told";
    for (bool const reads : {true, false}) {
        char const* const message =
            reads ? "reading from swap file failed" : "writing on swap file failed (disk full?)";
        for (int n = 1; n <= 25; ++n) {
            SCOPED_TRACE(testing::Message() << message << ' ' << n);
            VFile file(old_);
            {
                Faults const faults({.kind = Fault::kFailOnward,
                                     .nth = n,
                                     .error = EIO,
                                     .only = reads ? Call::kReadAt : Call::kWriteAt});
                std::string const halt = HaltOf([&] {
                    for (int i = 0; i < 40; ++i) file.ReplaceTxt(i * 1500, 500, large_, i * 3000, 2200);
                    AllBytes(file);
                });
                EXPECT_TRUE(halt.starts_with("VMem, ") && halt.ends_with(message)) << halt;
            }
            EXPECT_TRUE(AllBytes(large_) == bytes_ && AllBytes(old_) == old);
            ExpectSound(file);
        }
    }
    VFile::SetTempDir(nullptr);
}

}  // namespace
}  // namespace vfile::test
