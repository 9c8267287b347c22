// The line model: nothing is stored, every answer is read from the bytes around the position.
#include <vfile/halt.h>
#include <vfile/result.h>
#include <vfile/virtual_file.h>

#include <algorithm>
#include <cstring>

#include "vfile/block.h"
#include "vfile/eol_scan.h"
#include "vfile/runs.h"

namespace vfile {

namespace {
constexpr unsigned char kCr = '\r';
constexpr unsigned char kLf = '\n';
}  // namespace

// The bytes of `run`, which begins at the cursor, before a line end. Lines are read one after the other, and most files
// hold no CR: each block is asked for one only once.
std::size_t VFile::BytesOfLine(std::span<unsigned char const> run) {
    if (crCheck.block != cur.ptr || crCheck.changes != changes) {
        void const* const cr = std::memchr(run.data() - cur.ix, kCr, static_cast<std::size_t>(cur.ptr->len));
        crCheck = {cur.ptr, changes, cr != nullptr};
    }
    return crCheck.found ? BytesBeforeEol(run) : BytesBefore(kLf, run);
}

// Reads on until a byte of a line end has been read, which is given in `end`. False: the end of the file came first.
bool VFile::PassToEol(unsigned char& end) {
    for (;;) {
        auto const run = RunAhead(kLoaded);
        if (run.empty()) {
            eof = true;
            return false;
        }
        std::size_t const n = BytesBeforeEol(run);
        if (n < run.size()) {
            end = run[n];
            MoveInBlock(static_cast<std::ptrdiff_t>(n + 1));
            return true;
        }
        MoveInBlock(static_cast<std::ptrdiff_t>(n));
    }
}

// Reads back until a byte of a line end has been read. False: the start of the file came first.
bool VFile::PassBackToEol() {
    for (;;) {
        auto const run = RunBehind(kLoaded);
        if (run.empty()) {
            eof = true;
            return false;
        }
        std::size_t const n = BytesBehindEol(run);
        if (n < run.size()) {
            MoveInBlock(-static_cast<std::ptrdiff_t>(n + 1));
            return true;
        }
        MoveInBlock(-static_cast<std::ptrdiff_t>(n));
    }
}

// Behind a CR: takes the LF that belongs to it, and nothing else.
void VFile::PassLf() {
    std::int32_t const behindCr = pos;
    unsigned char b;
    ReadByte(b);
    if (eof || b != kLf) SetPos(behindCr);
}

bool VFile::AfterCRLF(std::int32_t position) {
    unsigned char b;
    SetPos(position);
    ReadPrevByte(b);
    if (b != kLf) return false;
    ReadPrevByte(b);
    return b == kCr;
}

bool VFile::BetweenCRLF(std::int32_t position) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__), false;
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
    if (!OnOwnThread()) return HaltA(kModule, __LINE__), 0;
    if (position < 0) {
        res = ResCallError;
        return 0;
    }
    position = std::min(position, length);
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
    return PassBackToEol() ? pos + 1 : 0;
}

void VFile::LineSize(std::int32_t position, std::int32_t& start, std::int32_t& size, std::int32_t& eol) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__);
    if (position < 0) {
        res = ResCallError;
        return;
    }
    start = LineStart(position);
    SetPos(start);
    eol = 0;
    unsigned char b;
    bool const ended = PassToEol(b);
    size = pos - start;
    if (!ended) return;
    eol = 1;
    if (b != kCr) return;
    ReadByte(b);
    if (b != kLf) return;
    ++size;
    ++eol;
}

std::int32_t VFile::LineEnd(std::int32_t position, bool withEol) {
    if (!OnOwnThread()) return HaltA(kModule, __LINE__), 0;
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
    if (!OnOwnThread()) return HaltA(kModule, __LINE__), 0;
    if (position < 0) {
        res = ResCallError;
        return 0;
    }
    std::int32_t const start = LineStart(position);
    SetPos(start);
    for (;;) {
        auto const run = RunAhead(kLoaded);
        if (run.empty()) {
            eof = true;
            return pos - start;
        }
        auto const other = std::ranges::find_if(run, [](unsigned char b) { return b != ' '; });
        MoveInBlock(other - run.begin());
        if (other == run.end()) continue;
        MoveInBlock(1);  // the byte that ended the count has been read
        return pos - 1 - start;
    }
}

int VFile::ReadLine(char* dst, std::int32_t size) {
    if (!dst || size < 1) {
        res = ResCallError;
        return 0;
    }
    std::int32_t stored = 0;
    for (;;) {
        auto const run = RunAhead(kLoaded);
        if (run.empty()) {
            eof = true;
            break;
        }
        std::size_t const n = BytesOfLine(run);
        auto const kept = std::min(static_cast<std::int32_t>(n), size - 1 - stored);
        std::memcpy(dst + stored, run.data(), static_cast<std::size_t>(kept));
        stored += kept;
        bool const ended = n < run.size();
        bool const isCr = ended && run[n] == kCr;
        MoveInBlock(static_cast<std::ptrdiff_t>(ended ? n + 1 : n));
        if (isCr) PassLf();
        if (ended) break;
    }
    dst[stored] = 0;
    return stored;
}

int VFile::ReadMappingEol(unsigned char& b) {
    ReadByte(b);
    if (eof) return 0;
    if (b != kCr) return 1;
    b = kLf;
    std::int32_t const behindCr = pos;
    PassLf();
    return 1 + (pos - behindCr);
}

}  // namespace vfile
