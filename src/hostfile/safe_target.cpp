#include "hostfile/safe_target.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace vfile {

namespace {

using namespace platform;

constexpr int kMostNames = 10000;       // leftovers of kills that are passed over
constexpr std::size_t kSureUnits = 80;  // of a name: hardly any file system finds it and a number too long
constexpr std::u16string_view kSuffix = u".~safe~";

OpenMode HeldAlone(Access access, Disposition disposition, bool ownerOnly = false) {
    return {access, kShareNone, disposition, Hint::kSequential, ownerOnly};
}

// NAME.~safe~N in `dst`, the name cut to `most` units. False: no room.
bool PutNameBeside(TChar* dst, std::uint32_t size, std::u16string_view path, std::size_t most, int number) {
    std::size_t const slash = path.find_last_of(kSeparator);
    std::size_t const begin = slash == path.npos ? 0 : slash + 1;
    std::size_t end = std::min(path.size(), begin + most);
    bool const inPair = end < path.size() && end > begin && (path[end - 1] & 0xFC00) == 0xD800;
    if (inPair) --end;
    char digits[12];
    char const* const last = std::to_chars(digits, std::end(digits), number).ptr;
    auto const count = static_cast<std::size_t>(last - digits);
    if (end + kSuffix.size() + count >= size) return false;
    dst = std::copy_n(path.data(), end, dst);
    dst = std::copy_n(kSuffix.data(), kSuffix.size(), dst);
    *std::copy_n(digits, count, dst) = 0;
    return true;
}

}  // namespace

SafeTarget::SafeTarget(TChar const* name) {
    if (!Open(name)) code = GetFileRes();
}

SafeTarget::~SafeTarget() {
    if (!committed) TakeBack();
}

bool SafeTarget::Open(TChar const* given) {
    Attributes attributes{};
    bool const exists = GetAttributes(given, attributes);
    if (!exists && LastError() != kFileNotFound) return false;
    if (exists && !attributes.regular) {
        handle = OpenFile(given, HeldAlone(Access::kWrite, Disposition::kOpenExisting));
        if (handle == InvalidHandle()) return false;
        file.emplace(handle);
        return true;
    }
    if (!FollowLinks(given, target, kPathUnits)) return false;
    return exists ? OpenOld(given) : OpenFresh(false);
}

// One that may be written but not read can still be replaced.
bool SafeTarget::OpenOld(TChar const* given) {
    bool const readable =
        old.Take(OpenFile(target, HeldAlone(Access::kReadWrite, Disposition::kOpenExisting)));
    if (!readable && (LastError() != kAccessDenied ||
                      !old.Take(OpenFile(target, HeldAlone(Access::kWrite, Disposition::kOpenExisting))))) {
        return false;
    }
    if (!IsNameOf(given, old.Get())) return false;  // a link of the system's own, or somebody was faster
    if (CountNames(old.Get()) != 1) return OpenInPlace();
    if (!OpenFresh(true)) return false;
    if (CopyAttributes(old.Get(), handle)) return true;
    if (beside[0] != 0) RemoveNamed(beside);
    file.reset();
    handle = InvalidHandle();
    return OpenInPlace();
}

// Takes the first name beside the target that is free, by `tryName`.
template <class TryName>
bool SafeTarget::TakeNameBeside(TryName tryName) {
    std::size_t most = kPathUnits;
    for (int number = 1; number <= kMostNames; ++number) {
        bool const fits = PutNameBeside(beside, kPathUnits, target, most, number);
        if (fits && tryName(beside)) return true;
        std::uint32_t const reason = fits ? LastError() : std::uint32_t{kInvalidName};
        if (reason == kInvalidName && most > 0) {
            most = most > kSureUnits ? kSureUnits : 0;
            number = 0;
        } else if (reason != kFileExists) {
            SetLastError(reason);
            break;
        }
    }
    beside[0] = 0;
    return false;
}

bool SafeTarget::MakeNamed(OpenHandle& made, bool ownerOnly) {
    return TakeNameBeside([&](TChar const* name) {
        return made.Take(OpenFile(name, HeldAlone(Access::kReadWrite, Disposition::kCreateNew, ownerOnly)));
    });
}

bool SafeTarget::OpenFresh(bool ownerOnly) {
    way = Way::kFresh;
    OpenHandle fresh;
    bool const unnamed = fresh.Take(CreateUnnamed(target, ownerOnly));
    if (!unnamed && (LastError() != kNotSupported || !MakeNamed(fresh, ownerOnly))) return false;
    handle = fresh.Release();
    file.emplace(handle);
    return true;
}

bool SafeTarget::OpenInPlace() {
    way = Way::kInPlace;
    if (!MakeNamed(copy, true)) return false;
    if (!CopyRest(old.Get(), copy.Get()) || !FlushFile(copy.Get()) || !FlushDirectoryOf(beside) ||
        !SetPosition(old.Get(), 0)) {
        std::uint32_t const reason = LastError();
        RemoveNamed(beside);
        beside[0] = 0;
        SetLastError(reason);
        return false;
    }
    handle = old.Release();
    file.emplace(handle);
    return true;
}

FileRes SafeTarget::Commit() {
    if (code == ResDone) code = file->res;
    if (code != ResDone) return code;
    if (!Finish()) code = GetFileRes();
    return code;
}

bool SafeTarget::Finish() {
    switch (way) {
        case Way::kFresh:
            return FinishFresh();
        case Way::kInPlace:
            return FinishInPlace();
        case Way::kPlain:
            break;
    }
    committed = true;
    return FlushFile(handle);
}

// Named before it is flushed: of a file without a name some file systems flush nothing that lasts.
bool SafeTarget::FinishFresh() {
    auto const giveName = [this](TChar const* name) { return GiveName(handle, name); };
    if (beside[0] == 0 && !TakeNameBeside(giveName)) return false;
    if (old.IsOpen() && !CopyAttributes(old.Get(), handle)) return false;  // writing takes set-id bits away
    if (!FlushFile(handle) || !TakePlace()) return false;
    committed = true;
    return FlushDirectoryOf(target);
}

// Only a file that is still the one that was opened is replaced, and one that came about meanwhile is not.
bool SafeTarget::TakePlace() {
    if (!old.IsOpen()) return RenameNamed(beside, target);
    return IsNameOf(target, old.Get()) && ReplaceNamed(beside, target);
}

// Behind the flush nothing is tried again: if it fails, the copy is what there is.
bool SafeTarget::FinishInPlace() {
    if (!TruncateHere(handle)) return false;
    committed = true;
    return FlushFile(handle) && RemoveNamed(beside);
}

// A fresh file goes. One written in place gets its old bytes again, and the copy goes when they are on the device.
void SafeTarget::TakeBack() {
    bool const restored = way != Way::kInPlace || PutBack();
    if (restored && beside[0] != 0) RemoveNamed(beside);
}

bool SafeTarget::PutBack() {
    return copy.IsOpen() && SetPosition(copy.Get(), 0) && SetPosition(handle, 0) &&
           CopyRest(copy.Get(), handle) && TruncateHere(handle) && FlushFile(handle);
}

}  // namespace vfile
