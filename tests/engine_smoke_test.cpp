// What the face of a virtual file takes and refuses at compile time, and its first steps.
#include <gtest/gtest.h>
#include <vfile.h>

#include <concepts>
#include <cstddef>
#include <filesystem>

#include "support/halts.h"
#include "support/temp_dir.h"
#include "vfile/block.h"
#include "vfile/invariants.h"

namespace vfile {
namespace {

template <class H>
concept LoadsFrom = requires(H&& source) {
    VFile(source, 3);
};
template <class H>
concept ReplacesFrom = requires(VFile& file, H&& source) {
    file.ReplaceFile(0, 0, source, 3);
};
template <class H>
concept ReadsFrom = requires(VFile& file, H&& source) {
    file.ReadFromFile(source, 3);
};
template <class H>
concept WritesFrom = requires(VFile& file, H&& source) {
    file.WriteFromFile(source, 3);
};
template <class H>
concept WritesTo = requires(VFile& file, H&& source) {
    file.WriteToFile(source, 3);
};
template <class H>
concept TransfersAll = ReplacesFrom<H> && ReadsFrom<H> && WritesTo<H>;
template <class H>
concept TransfersAny = ReplacesFrom<H> || ReadsFrom<H> || WritesFrom<H> || WritesTo<H>;

struct DerivedHostFile : HFile {};
enum Colour { kRed };

static_assert(TransfersAll<void*> && TransfersAll<void*&> && TransfersAll<void* const&>);
static_assert(TransfersAll<HFile&> && TransfersAll<DerivedHostFile&>);
static_assert(WritesFrom<void*> && !WritesFrom<HFile&>);
static_assert(LoadsFrom<void*> && LoadsFrom<HFile&> && LoadsFrom<VFile&> && LoadsFrom<VFile const&>);
static_assert(LoadsFrom<char> && LoadsFrom<signed char> && LoadsFrom<unsigned char> && LoadsFrom<char8_t>);

template <class T>
constexpr bool kNowhere = !TransfersAny<T> && !LoadsFrom<T>;
static_assert(kNowhere<std::nullptr_t> && kNowhere<HFile*> && kNowhere<HFile const&>);
static_assert(kNowhere<char const (&)[5]> && kNowhere<char*> && kNowhere<unsigned char*> &&
              kNowhere<void const*>);
static_assert(kNowhere<int> && kNowhere<bool> && kNowhere<TChar> && kNowhere<wchar_t> && kNowhere<Colour>);
static_assert(!TransfersAny<VFile&> && !TransfersAny<char>);
static_assert(!std::constructible_from<VFile, std::nullptr_t>);
static_assert(!std::convertible_to<char const*, VFile>);

template <class T>
concept ReadsAsWord = requires(VFile& file, T& x) {
    file.ReadWord(x);
};
template <class T>
concept ReadsAsDWord = requires(VFile& file, T& x) {
    file.ReadDWord(x);
};
template <class T>
concept ReadsAsQWord = requires(VFile& file, T& x) {
    file.ReadQWord(x);
};
static_assert(ReadsAsWord<short> && ReadsAsWord<unsigned short> && !ReadsAsWord<TChar> && !ReadsAsWord<int>);
static_assert(ReadsAsDWord<int> && ReadsAsDWord<unsigned> && !ReadsAsDWord<float> && !ReadsAsDWord<char32_t>);
static_assert(ReadsAsQWord<long long> && ReadsAsQWord<std::uint64_t> && !ReadsAsQWord<void*>);

TEST(VFileFace, LoadsEditsAndCopies) {
    VFile file("hello");
    file.ReplaceBuf(5, 0, ", world", 7);
    file.ReplaceCh(0, 1, 'J', 1);
    VFile const copy(file, 0, 5);
    VFile whole('x', 3000);
    whole = file;
    EXPECT_EQ(whole.GetPos(), 12);
    char text[20];
    EXPECT_EQ(whole.ReadTxt(text, 20, 0, MaxLen), 12);
    EXPECT_STREQ(text, "Jello, world");
    EXPECT_EQ(copy.Length(), 5);
    VFile const* const all[] = {&file, &copy, &whole};
    for (VFile const* const one : all) {
        EXPECT_EQ(one->res, ResDone);
        EXPECT_EQ(BrokenRule(*one), nullptr);
    }
}

TEST(VFileFace, EmptiedFileGivesItsPageBack) {
    for (std::int32_t const len : {1, BlkSize, 5 * BlkSize}) {
        VFile file('x', len);
        file.ReplaceBuf(0, MaxLen, nullptr, 0);
        EXPECT_EQ(VFileInspector::First(file)->addr, kNoAddr) << len;
        EXPECT_EQ(BrokenRule(file), nullptr);
    }
}

struct FlushingHook : VFile {
    std::int32_t PreChange(std::int32_t, std::int32_t, std::int32_t) const override {
        const_cast<FlushingHook*>(this)->Flush();
        return ResDone;
    }
};

TEST(VFileFace, HookThatTakesTheBufferAwayStops) {
    FlushingHook file;
    EXPECT_EQ(test::HaltOf([&] { file.ReplaceBuf(0, 0, "x", 1); }),
              "VFile, ReplaceBuf():\nfile changed in PreChange");
    EXPECT_EQ(file.Length(), 0);
    EXPECT_EQ(BrokenRule(file), nullptr);
}

// A source with a stored failure is not read, so that its size does not matter.
TEST(VFileFace, StoredFailureOfTheSourceComesBeforeItsSize) {
    test::TempDir dir;
    test::WriteWhole(dir.Bytes("large"), "");
    std::filesystem::resize_file(dir.Bytes("large"), std::uintmax_t{MaxLen} + 1);
    HFile source;
    ASSERT_TRUE(source.OpenSeqRead(dir.Name("large").c_str()));
    VFile file;
    for (FileRes const stored : {ResDone, ResDiskFull}) {
        source.res = stored;
        file.SetPos(0);
        file.ReplaceFile(0, 0, source, MaxLen);
        EXPECT_EQ(file.res, stored == ResDone ? ResTooLong : stored);
    }
}

}  // namespace
}  // namespace vfile
