// What the parameters of a virtual file take and refuse, at compile time.
#include <vfile.h>

#include <concepts>
#include <cstddef>

namespace vfile {
namespace {

template <class H>
concept LoadsFrom = requires(H&& source) {
    VFile(source, 3);
};
template <class H>
concept TransfersAll = requires(VFile& file, H&& end) {
    file.ReplaceFile(0, 0, end, 3);
    file.ReadFromFile(end, 3);
    file.WriteToFile(end, 3);
};
template <class H>
concept TransfersAny = requires(VFile& file, H&& end) {
    file.ReplaceFile(0, 0, end, 3);
}
|| requires(VFile& file, H&& end) { file.ReadFromFile(end, 3); }
|| requires(VFile& file, H&& end) { file.WriteFromFile(end, 3); }
|| requires(VFile& file, H&& end) { file.WriteToFile(end, 3); };

struct DerivedHostFile : HFile {};
enum Colour { kRed };

static_assert(TransfersAll<void*> && TransfersAll<void*&> && TransfersAll<void* const&>);
static_assert(TransfersAll<HFile&> && TransfersAll<DerivedHostFile&>);
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

}  // namespace
}  // namespace vfile
