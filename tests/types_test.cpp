// What the parameters of the three kinds of file take and refuse, at compile time: each form is a bit.
#include <vfile.h>
#include <vfile/char_file.h>

namespace vfile {
namespace {

// clang-format off
template <class F, class T>
constexpr unsigned kForms =
    (requires(F& f, T x) { f << x; } ? 1 : 0) | (requires(F& f, T x) { f = x; } ? 2 : 0) | (requires(F& f, T x) { f.Append(x, 3); } ? 4 : 0) |
    (requires(F& f, T x) { f.InsertWord(x); } ? 8 : 0) | (requires(F& f, T x) { f.InsertDWord(x); } ? 16 : 0) | (requires(F& f, T x) { f.InsertQWord(x); } ? 32 : 0) |
    (requires(F& f, T& x) { f.ReadWord(x); } ? 8 : 0) | (requires(F& f, T& x) { f.ReadDWord(x); } ? 16 : 0) | (requires(F& f, T& x) { f.ReadQWord(x); } ? 32 : 0) |
    (requires(F& f, T x) { f.InsertTChar(x); } ? 64 : 0) | (requires(F& f, T x) { f.ReplaceTChar(0, x); } ? 64 : 0);
template <class T>
constexpr int kEnds = requires(VFile& f, T x) { f.InsertFromFile(x, 1); } + requires(VFile& f, T x) { f.WriteToFile(x, 1); } +
    requires(VFile& f, T x) { f.ReplaceFile(0, 0, x, 1); } + requires(T x) { VFile(x, 1); } + requires(T x) { HFile(x); };
template <class... T>
constexpr int kAllEnds = (kEnds<T> + ...);
template <class F, class... T>
constexpr unsigned kAny = (kForms<F, T> | ...);
template <class F, class... T>
constexpr unsigned kEach = (kForms<F, T> & ...);
// clang-format on

enum Plain { kPlain };
enum class Scoped : std::uint16_t {};
static_assert(kForms<VFile, short> == 9 && kForms<VFile, unsigned> == 17 && kForms<VFile, long long> == 33);
static_assert(kEach<VFile, char, signed char, unsigned char, char8_t> == 7 && kEach<VFile, char const*> == 3);
static_assert(kAny<VFile, bool, wchar_t, char16_t, char32_t, Plain, Scoped, std::nullptr_t, void*> == 0);
static_assert((kEach<HFile, short, unsigned, long long, char, char8_t, char const*> & 1) == 1);
static_assert(kAny<HFile, bool, wchar_t, char16_t, char32_t, Plain, Scoped, double, void*, std::nullptr_t> ==
              0);
static_assert(kForms<TCharVFile, TChar> == 67 && (kEach<TCharVFile, short, long long, TString> & 1) == 1);
static_assert(kAny<TCharVFile, bool, char, char8_t, wchar_t, char32_t, Plain, std::nullptr_t, double> == 0);
static_assert(kEnds<void*> == 5 && kEnds<void* const> == 5 && kEnds<HFile&> == 3);
static_assert(kAllEnds<void const*, char*, HFile*, VFile*, void**, std::nullptr_t, int, bool, TChar, Plain> ==
              0);
static_assert(!std::is_convertible_v<char const*, VFile> && !std::is_convertible_v<TCharVFile*, VFile*>);

}  // namespace
}  // namespace vfile
