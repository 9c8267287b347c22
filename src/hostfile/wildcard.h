// Wildcards in file names: "*" stands for any run of units, "?" for any one, "*.*" for every name. All else is
// exact, case included.
#pragma once

#include <string_view>

namespace vfile {

// Takes at most as many steps as the product of the two lengths, whatever the pattern.
bool MatchesWildcard(std::u16string_view pattern, std::u16string_view name);

}  // namespace vfile
