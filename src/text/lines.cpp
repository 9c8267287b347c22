// Lines of a text, read by runs of the buffer.
#include <vfile/char_file.h>

#include <algorithm>
#include <cstring>

#include "text/eol_units.h"
#include "vfile/runs.h"

namespace vfile {

namespace {

// Reads on in one run, or one unit that lies across two, and keeps what there is room for. `end` is the last unit
// read. False: the text has ended.
bool ReadToEol(VFile& file, TChar* dst, std::int32_t room, std::int32_t& stored, TChar& end) {
    Engine& e = EngineOf(file);
    auto const run = e.RunAhead(Engine::kLoaded);
    if (run.size() < sizeof end) {
        file.ReadBytes(&end, sizeof end);
        if (file.eof) end = 0;
        if (!file.eof && !IsEolUnit(end) && room > 0) dst[0] = end, ++stored;
        return !file.eof;
    }
    std::size_t const units = run.size() / sizeof end;
    std::size_t const n = UnitsBeforeEol(run.data(), units);
    auto const kept = std::min(static_cast<std::int32_t>(n), room);
    for (std::int32_t i = 0; i < kept; ++i) dst[i] = UnitAt(run.data() + 2 * i);
    stored += kept;
    end = n < units ? UnitAt(run.data() + 2 * n) : TChar{0};
    e.MoveInBlock(static_cast<std::ptrdiff_t>(2 * (n < units ? n + 1 : n)));
    return true;
}

// Behind a CR: takes the LF that belongs to it, and nothing else.
void PassLfUnit(TCharVFile& text) {
    std::int32_t const behindCr = text.GetPos();
    TChar unit = 0;
    text.ReadTChar(unit);
    if (text.eof || unit != u'\n') text.SetPos(behindCr);
}

}  // namespace

std::int32_t TCharVFile::ReadLine(TChar* dst, std::int32_t size) {
    if (!dst || size < 1) {
        res = ResCallError;
        return 0;
    }
    std::int32_t stored = 0;
    TChar end = 0;
    while (!IsEolUnit(end) && ReadToEol(*this, dst + stored, size - 1 - stored, stored, end)) {
    }
    if (end == u'\r') PassLfUnit(*this);
    dst[stored] = 0;
    return stored;
}

}  // namespace vfile
