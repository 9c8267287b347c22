// Search of units, and global replace. The scan is that of the bytes.
#include <vfile/char_file.h>
#include <vfile/result.h>

#include <cwctype>
#include <string>

#include "text/units.h"
#include "vfile/scan.h"

namespace vfile {

namespace {

std::span<TChar const> UnitsOfString(TChar const* text) {
    return {text, std::min<std::size_t>(std::char_traits<TChar>::length(text), MaxLen)};
}

// By the host's locale.
bool IsWordUnit(TChar unit) { return std::iswalnum(std::wint_t{unit}) != 0; }

}  // namespace

bool TCharVFile::FindTChars(std::int32_t& position, TChar const* pattern, bool ignoreCase, bool wholeWord) {
    return Search<Upward>(*this, position, UnitsOfString(pattern), ignoreCase, wholeWord, IsWordUnit);
}

bool TCharVFile::FindBackTChars(std::int32_t& position, TChar const* pattern, bool ignoreCase,
                                bool wholeWord) {
    return Search<Downward>(*this, position, UnitsOfString(pattern), ignoreCase, wholeWord, IsWordUnit);
}

// Goes on where ReplaceBuf has left the cursor, which a hook may have moved.
std::int32_t TCharVFile::ReplaceGlobalTChars(TChar const* pattern, TChar const* replacement, bool ignoreCase,
                                             bool wholeWord) {
    auto const text = UnitsOfString(pattern);
    auto const len = static_cast<std::int32_t>(text.size());
    auto const newLen = static_cast<std::int32_t>(UnitsOfString(replacement).size());
    if (len == 0) {
        res = ResCallError;
        return 0;
    }
    std::int32_t count = 0;
    for (std::int32_t position = 0; FindTChars(position, pattern, ignoreCase, wholeWord);
         position = GetTCharPos()) {
        VFile::ReplaceBuf(TCharsToBytes(position - len), TCharsToBytes(len), replacement,
                          TCharsToBytes(newLen));
        if (res != ResDone) break;
        ++count;
    }
    return count;
}

}  // namespace vfile
