// The line model: nothing is stored, every answer is read from the bytes around the position.
#include <vfile/halt.h>
#include <vfile/result.h>

#include <algorithm>
#include <cstring>

#include "vfile/eol_scan.h"
#include "vfile/runs.h"

namespace vfile {

namespace {

constexpr unsigned char kCr = '\r';
constexpr unsigned char kLf = '\n';

// The bytes of `run`, which begins at the cursor, before a line end. Lines are read one after the other, and most files
// hold no CR: each block is asked for one only once.
std::size_t BytesOfLine(Engine& e, std::span<unsigned char const> run) {
    if (e.crCheck.block != e.cur.ptr || e.crCheck.changes != e.changes) {
        unsigned char const* const block = run.data() - e.cur.ix;
        void const* const cr = std::memchr(block, kCr, static_cast<std::size_t>(e.cur.ptr->len));
        e.crCheck = {e.cur.ptr, e.changes, cr != nullptr};
    }
    return e.crCheck.found ? BytesBeforeEol(run) : BytesBefore(kLf, run);
}

// Reads on until a byte of a line end has been read, which is given in `end`. False: the end of the file came first.
bool PassToEol(VFile& file, unsigned char& end) {
    Engine& e = EngineOf(file);
    for (;;) {
        auto const run = e.RunAhead(Engine::kLoaded);
        if (run.empty()) {
            file.eof = true;
            return false;
        }
        std::size_t const n = BytesBeforeEol(run);
        if (n < run.size()) {
            end = run[n];
            e.MoveInBlock(static_cast<std::ptrdiff_t>(n + 1));
            return true;
        }
        e.MoveInBlock(static_cast<std::ptrdiff_t>(n));
    }
}

// Reads back until a byte of a line end has been read. False: the start of the file came first.
bool PassBackToEol(VFile& file) {
    Engine& e = EngineOf(file);
    for (;;) {
        auto const run = e.RunBehind(Engine::kLoaded);
        if (run.empty()) {
            file.eof = true;
            return false;
        }
        std::size_t const n = BytesBehindEol(run);
        if (n < run.size()) {
            e.MoveInBlock(-static_cast<std::ptrdiff_t>(n + 1));
            return true;
        }
        e.MoveInBlock(-static_cast<std::ptrdiff_t>(n));
    }
}

// Behind a CR: takes the LF that belongs to it, and nothing else.
void PassLf(VFile& file) {
    std::int32_t const behindCr = file.GetPos();
    unsigned char b;
    file.ReadByte(b);
    if (file.eof || b != kLf) file.SetPos(behindCr);
}

}  // namespace

bool VFile::AfterCRLF(std::int32_t position) {
    unsigned char b;
    SetPos(position);
    ReadPrevByte(b);
    if (b != kLf) return false;
    ReadPrevByte(b);
    return b == kCr;
}

bool VFile::BetweenCRLF(std::int32_t position) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__), false;
    return position >= 1 && BeforeCRLF(position - 1);
}

bool VFile::BeforeCRLF(std::int32_t position) {
    unsigned char b;
    SetPos(position);
    ReadByte(b);
    if (b != kCr) return false;
    ReadByte(b);
    return b == kLf;
}

std::int32_t VFile::LineStart(std::int32_t position) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__), 0;
    if (position < 0) {
        res = ResCallError;
        return 0;
    }
    position = std::min(position, Length());
    if (position == 0) return 0;
    unsigned char b;
    SetPos(position);
    ReadPrevByte(b);
    if (b == kCr) {  // the position may lie inside a pair
        SetPos(position);
        ReadByte(b);
        if (b != kLf) return position;
        --position;
    }
    SetPos(position);
    return PassBackToEol(*this) ? GetPos() + 1 : 0;
}

void VFile::LineSize(std::int32_t position, std::int32_t& start, std::int32_t& size, std::int32_t& eol) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__);
    if (position < 0) {
        res = ResCallError;
        return;
    }
    start = LineStart(position);
    SetPos(start);
    eol = 0;
    unsigned char b;
    bool const ended = PassToEol(*this, b);
    size = GetPos() - start;
    if (!ended) return;
    eol = 1;
    if (b != kCr) return;
    ReadByte(b);
    if (b != kLf) return;
    ++size;
    ++eol;
}

std::int32_t VFile::LineEnd(std::int32_t position, bool withEol) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__), 0;
    if (position < 0) {
        res = ResCallError;
        return 0;
    }
    std::int32_t start = 0;
    std::int32_t size = 0;
    std::int32_t eol = 0;
    LineSize(position, start, size, eol);
    return start + size - (withEol ? 0 : eol);
}

std::int32_t VFile::LineIndent(std::int32_t position) {
    if (!OwnEngine(*this)) return HaltA(kModule, __LINE__), 0;
    if (position < 0) {
        res = ResCallError;
        return 0;
    }
    std::int32_t const start = LineStart(position);
    SetPos(start);
    Engine& e = EngineOf(*this);
    for (;;) {
        auto const run = e.RunAhead(Engine::kLoaded);
        if (run.empty()) {
            eof = true;
            return GetPos() - start;
        }
        auto const other = std::ranges::find_if(run, [](unsigned char b) { return b != ' '; });
        e.MoveInBlock(other - run.begin());
        if (other == run.end()) continue;
        e.MoveInBlock(1);  // the byte that ended the count has been read
        return GetPos() - 1 - start;
    }
}

int VFile::ReadLine(char* dst, std::int32_t size) {
    if (!dst || size < 1) {
        res = ResCallError;
        return 0;
    }
    Engine& e = EngineOf(*this);
    std::int32_t stored = 0;
    for (;;) {
        auto const run = e.RunAhead(Engine::kLoaded);
        if (run.empty()) {
            eof = true;
            break;
        }
        std::size_t const n = BytesOfLine(e, run);
        auto const kept = std::min(static_cast<std::int32_t>(n), size - 1 - stored);
        std::memcpy(dst + stored, run.data(), static_cast<std::size_t>(kept));
        stored += kept;
        bool const ended = n < run.size();
        bool const isCr = ended && run[n] == kCr;
        e.MoveInBlock(static_cast<std::ptrdiff_t>(ended ? n + 1 : n));
        if (isCr) PassLf(*this);
        if (ended) break;
    }
    dst[stored] = 0;
    return stored;
}

int internal::ReadMappingEol(VFile& file, unsigned char& b) {
    file.ReadByte(b);
    if (file.eof) return 0;
    if (b != kCr) return 1;
    b = kLf;
    std::int32_t const behindCr = file.GetPos();
    PassLf(file);
    return 1 + (file.GetPos() - behindCr);
}

}  // namespace vfile
