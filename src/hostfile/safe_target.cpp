#include "hostfile/safe_target.h"

namespace vfile {

namespace {

using namespace platform;

OpenMode HeldAlone(Access access, Disposition disposition, bool ownerOnly = false) {
    return {access, kShareNone, disposition, Hint::kSequential, ownerOnly};
}

// Of a file that is there: opened as one that might have to be made, so that the system's guards against what others
// have planted in a directory for all can act.
OpenMode Guarded(Access access) { return HeldAlone(access, Disposition::kOpenAlways); }

// Removes what an open call made where something was to be there.
bool RefuseMade(Handle made, TChar const* name) {
    RemoveNameOf(name, made);
    SetLastError(kSharingViolation);
    return false;
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
    if (exists && !attributes.regular) return OpenPlain(given);
    if (!FollowLinks(given, exists, target, NamesBeside::kUnits)) return false;
    bool const namesCanGo = NamesCanGo(target);
    if (exists) return namesCanGo && OpenOld(given);
    return namesCanGo ? OpenNew() : OpenAdded();
}

bool SafeTarget::OpenPlain(TChar const* given) {
    OpenHandle plain;
    bool made = false;
    std::int64_t size = 0;
    if (!plain.Take(OpenFile(given, Guarded(Access::kWrite), &made))) return false;
    if (made) return RefuseMade(plain.Get(), given);
    if (GetSize(plain.Get(), size)) {  // a file by now, whose bytes are to be kept
        SetLastError(kSharingViolation);
        return false;
    }
    Adopt(plain);
    return true;
}

bool SafeTarget::OpenNew() {
    OpenHandle fresh;
    if (!MakeFresh(fresh)) return false;
    if (Prepare(fresh.Get())) {
        Adopt(fresh);
        return true;
    }
    Discard(fresh.Get());
    return false;
}

bool SafeTarget::OpenAdded() {
    OpenHandle fresh;
    way = Way::kAdded;
    if (!fresh.Take(CreateUnnamed(target, false))) return false;
    Adopt(fresh);
    return true;
}

bool SafeTarget::OpenOld(TChar const* given) {
    if (!HoldOld()) return false;
    if (!IsNameOf(given, old.Get())) return false;  // a link of the system's own, or somebody was faster
    if (CountNames(old.Get()) != 1) return OpenInPlace();
    OpenHandle fresh;
    if (!MakeFresh(fresh)) return false;
    if (Prepare(fresh.Get())) {
        Adopt(fresh);
        return true;
    }
    Discard(fresh.Get());
    return OpenInPlace();
}

// One that may be written but not read can still be replaced.
bool SafeTarget::HoldOld() {
    bool made = false;
    bool const readable = old.Take(OpenFile(target, Guarded(Access::kReadWrite), &made));
    if (!readable &&
        (LastError() != kAccessDenied || !old.Take(OpenFile(target, Guarded(Access::kWrite), &made)))) {
        return false;
    }
    return !made || RefuseMade(old.Get(), target);
}

bool SafeTarget::MakeNamed(OpenHandle& made, bool ownerOnly) {
    return names.Take([&](TChar const* name) {
        return made.Take(OpenFile(name, HeldAlone(Access::kReadWrite, Disposition::kCreateNew, ownerOnly)));
    });
}

bool SafeTarget::MakeFresh(OpenHandle& made) {
    way = Way::kFresh;
    bool const ownerOnly = old.IsOpen();
    return made.Take(CreateUnnamed(target, ownerOnly)) ||
           (LastError() == kNotSupported && MakeNamed(made, ownerOnly));
}

bool SafeTarget::Prepare(Handle fresh) { return PrepareReplacement(fresh, old.Get(), rights); }

void SafeTarget::Adopt(OpenHandle& opened) {
    handle = opened.Release();
    file.emplace(handle);
}

// Takes away what the fresh file, or the copy, is called, unless somebody else has that name by now. Keeps the reason.
void SafeTarget::Discard(Handle beside) {
    using enum NamesBeside::Meaning;
    std::uint32_t const reason = LastError();
    if (names.AreTaken()) {
        for (auto const meaning : {kPart, kNew, kOld}) RemoveNameOf(names.Get(meaning), beside);
    }
    names.Forget();
    SetLastError(reason);
}

bool SafeTarget::OpenInPlace() {
    way = Way::kInPlace;
    if (!MakeNamed(copy, true)) return false;
    if (!KeepCopy() || !SetPosition(old.Get(), 0)) {
        Discard(copy.Get());
        return false;
    }
    Adopt(old);
    return true;
}

// Only when the copy is whole and flushed it gets the name that says so.
bool SafeTarget::KeepCopy() {
    TChar whole[NamesBeside::kUnits];
    if (!CopyRest(old.Get(), copy.Get()) || !FlushFile(copy.Get())) return false;
    return names.Put(NamesBeside::kOld, whole) && IsNameOf(names.Get(NamesBeside::kPart), copy.Get()) &&
           RenameNamed(names.Get(NamesBeside::kPart), whole) && FlushDirectoryOf(whole);
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
        case Way::kAdded:
            return FinishAdded();
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
    if (!names.AreTaken() && !names.Take(giveName) && (LastError() != kNotSupported || !MoveToNamed())) {
        return false;
    }
    TChar part[NamesBeside::kUnits], whole[NamesBeside::kUnits], aside[NamesBeside::kUnits];
    names.Put(NamesBeside::kPart, part);  // a number that was taken has room for all
    names.Put(NamesBeside::kNew, whole);
    names.Put(NamesBeside::kOld, aside);
    Standing standing = Standing::kAsBefore;
    bool const done = EndReplacement({handle, old.Get(), rights}, {target, part, whole, aside}, standing);
    committed = standing != Standing::kAsBefore;
    return done;
}

// What was made without a name, and cannot have one after all, goes to a file made with one.
bool SafeTarget::MoveToNamed() {
    OpenHandle named;
    if (!MakeNamed(named, old.IsOpen())) return false;
    if (!Prepare(named.Get()) || !SetPosition(handle, 0) || !CopyRest(handle, named.Get())) {
        Discard(named.Get());
        return false;
    }
    Adopt(named);
    return true;
}

// Flushed before, so that the name never means less, and once more for file systems that flush only what has a name.
bool SafeTarget::FinishAdded() {
    if (!FlushFile(handle) || !GiveName(handle, target)) return false;
    committed = true;
    return FlushFile(handle) && FlushDirectoryOf(target);
}

// Behind the flush nothing is tried again: if it fails, the copy is what there is.
bool SafeTarget::FinishInPlace() {
    if (!TruncateHere(handle)) return false;
    committed = true;
    return FlushFile(handle) && RemoveNameOf(names.Get(NamesBeside::kOld), copy.Get());
}

// A fresh file goes. One written in place gets its old bytes again, and the copy goes when they are on the device.
void SafeTarget::TakeBack() {
    if (!names.AreTaken()) return;
    if (way == Way::kFresh) return Discard(handle);
    if (PutBack()) Discard(copy.Get());
}

bool SafeTarget::PutBack() {
    return SetPosition(copy.Get(), 0) && SetPosition(handle, 0) && CopyRest(copy.Get(), handle) &&
           TruncateHere(handle) && FlushFile(handle);
}

}  // namespace vfile
