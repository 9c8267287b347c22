#include "hostfile/wildcard.h"

#include <cstddef>

namespace vfile {

// A failed match needs to go back to the last "*" alone, and let it take one unit more: what an earlier one could
// take, the last one can as well.
bool MatchesWildcard(std::u16string_view pattern, std::u16string_view name) {
    if (pattern == u"*.*") return true;
    constexpr std::size_t kNone = std::u16string_view::npos;
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t behindStar = kNone;
    std::size_t starEnd = 0;  // of the units that the last star takes
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            behindStar = ++p;
            starEnd = n;
        } else if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (behindStar != kNone) {
            p = behindStar;
            n = ++starEnd;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(u'*', p) == kNone;
}

}  // namespace vfile
