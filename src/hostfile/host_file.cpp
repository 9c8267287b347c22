// Open and close, bytes, position and size.
#include <vfile/host_file.h>
#include <vfile/numbers.h>

#include <algorithm>

#include "hostfile/open_file.h"

namespace vfile {
namespace {

using platform::Access;
using platform::Disposition;
using platform::Hint;

std::int32_t Saturated(std::int64_t value) {
    constexpr std::int64_t kLeast = std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(std::clamp(value, kLeast, std::int64_t{MaxLen}));
}

Disposition ToCreate(bool overwrite) {
    return overwrite ? Disposition::kCreateAlways : Disposition::kCreateNew;
}

platform::OpenMode HeldAlone(Access access, Disposition disposition, Hint hint) {
    return {access, platform::kShareNone, disposition, hint};
}

// For the operations that set `res` either way.
void Store(HFile& file, bool done) { file.res = done ? ResDone : GetFileRes(); }

}  // namespace

HFile::~HFile() {
    if (IsOpen()) Close();
}

void HFile::Close() {
    if (!IsOpen()) {
        res = ResCallError;
        return;
    }
    platform::CloseFile(HandleOf(*this));
    HandleOf(*this) = InvalidHandle();
    res = ResDone;
}

bool OpenAs(HFile& file, TChar const* name, platform::OpenMode const& mode) {
    if (file.IsOpen()) {
        file.res = ResCallError;
        return false;
    }
    HandleOf(file) = platform::OpenFile(name, mode);
    Store(file, file.IsOpen());
    return file.IsOpen();
}

bool HFile::OpenSeqRead(TChar const* name) {
    platform::OpenMode const mode = {Access::kRead, platform::kShareRead, Disposition::kOpenExisting,
                                     Hint::kSequential};
    return OpenAs(*this, name, mode);
}

bool HFile::CreateSeqWrite(TChar const* name, bool overwrite) {
    return OpenAs(*this, name, HeldAlone(Access::kWrite, ToCreate(overwrite), Hint::kSequential));
}

bool HFile::Open(TChar const* name) {
    return OpenAs(*this, name, HeldAlone(Access::kReadWrite, Disposition::kOpenExisting, Hint::kRandom));
}

bool HFile::Create(TChar const* name, bool overwrite) {
    return OpenAs(*this, name, HeldAlone(Access::kReadWrite, ToCreate(overwrite), Hint::kRandom));
}

bool HFile::Lookup(TChar const* name, bool create) {
    if (!create) return Open(name);
    return OpenAs(*this, name, HeldAlone(Access::kReadWrite, Disposition::kOpenAlways, Hint::kRandom));
}

std::int32_t HFile::ReadBytes(void* buf, std::int32_t count) {
    if (res != ResDone || count == 0) return 0;
    if (count < 0 || !buf) {
        res = ResCallError;
        return 0;
    }
    auto const len = static_cast<std::size_t>(count);
    std::size_t got = 0;
    bool const done = platform::Read(HandleOf(*this), buf, len, got);
    if (!done) res = GetFileRes();
    eof = done && got < len;
    return static_cast<std::int32_t>(got);
}

void HFile::WriteBytes(void const* buf, std::int32_t count) {
    if (res != ResDone || count == 0) return;
    if (count < 0 || !buf) {
        res = ResCallError;
        return;
    }
    std::size_t put = 0;
    bool const done = platform::Write(HandleOf(*this), buf, static_cast<std::size_t>(count), put);
    if (!done)
        res = GetFileRes();
    else if (put < static_cast<std::size_t>(count))
        res = ResDiskFull;
}

std::int32_t HFile::GetPos() const {
    std::int64_t pos = 0;
    return IsOpen() && platform::GetPosition(HandleOf(*this), pos) ? Saturated(pos) : 0;
}

std::int32_t HFile::Length() const {
    std::int64_t size = 0;
    return IsOpen() && platform::GetSize(HandleOf(*this), size) ? Saturated(size) : 0;
}

void HFile::SetPos(std::int32_t pos) {
    eof = false;
    if (!IsOpen() || pos < 0) {
        res = ResCallError;
        return;
    }
    GoTo(*this, MinL(pos, Length()));
}

void HFile::SetPos(std::int32_t offset, std::int32_t origin) {
    std::int64_t base = 0;
    if (origin == 1)
        base = GetPos();
    else if (origin == 2)
        base = Length();
    else if (origin != 0) {
        eof = false;
        res = ResCallError;
        return;
    }
    SetPos(Saturated(base + offset));
}

void GoTo(HFile& file, std::int64_t pos) { Store(file, platform::SetPosition(HandleOf(file), pos)); }

void HFile::Truncate() {
    if (IsOpen())
        Store(*this, platform::TruncateHere(HandleOf(*this)));
    else
        res = ResCallError;
}

void HFile::Flush() {
    if (IsOpen())
        Store(*this, platform::FlushFile(HandleOf(*this)));
    else
        res = ResCallError;
}

}  // namespace vfile
