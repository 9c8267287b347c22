// The extensions of backups: a tilde in the first place, and a number of one or two digits behind it.
#include <vfile/host_file.h>

#include <algorithm>
#include <string>

#include "frame/stop.h"

namespace vfile {
namespace {

bool IsDigit(TChar c) { return c >= u'0' && c <= u'9'; }

// The first backup has no number: a digit of the old extension must not be taken for one.
void BecomeFirst(TChar* p) {
    p[0] = u'~';
    if (IsDigit(p[1]) || (p[1] != 0 && IsDigit(p[2]))) p[1] = 0;
}

bool Lengthen(TChar* p, TChar const* longer, bool room) {
    if (room) std::copy_n(longer, std::char_traits<TChar>::length(longer) + 1, p);
    return room;
}

// Steps the number behind the tilde of `p`; false behind 99, or without the room for one unit more.
bool StepNumber(TChar* p, bool room) {
    TChar& tens = p[1];
    if (tens == 0) return Lengthen(p, u"~1", room);
    TChar& ones = p[2];
    if (!IsDigit(tens)) {
        tens = u'1';
        if (IsDigit(ones)) ones = 0;
        return true;
    }
    if (ones == 0 && tens == u'9') return Lengthen(p, u"~10", room);
    if (!IsDigit(ones)) {  // a single digit, whatever stands behind it
        bool const carry = tens == u'9';
        if (carry) ones = u'0';
        tens = static_cast<TChar>(carry ? u'1' : tens + 1);
        return true;
    }
    if (ones == u'9' && tens == u'9') return false;
    bool const carry = ones == u'9';
    tens = static_cast<TChar>(tens + (carry ? 1 : 0));
    ones = static_cast<TChar>(carry ? u'0' : ones + 1);
    return true;
}

}  // namespace

bool HFile::GetNextBackupExt(TChar* ext, std::uint32_t size) {
    VFILE_REQUIRE(u"HFile", ext);
    VFILE_REQUIRE(u"HFile", size > 0);
    if (!ext || size == 0) return false;
    TChar* const end = std::find(ext, ext + size, TChar{0});
    if (end == ext + size) return false;
    TChar* const p = ext + (*ext == u'.' ? 1 : 0);
    if (p == end) return Lengthen(ext, u".~", size > 2);
    if (*p == u'~') return StepNumber(p, end + 1 < ext + size);
    BecomeFirst(p);
    return true;
}

}  // namespace vfile
