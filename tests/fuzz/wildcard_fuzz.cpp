// The wildcard match against one that fills a table of all beginnings of pattern and name.
#include <vector>

#include "fuzz/fuzz.h"
#include "hostfile/wildcard.h"

namespace vfile::test {
namespace {

bool Matches(TString const& pattern, TString const& name) {
    if (pattern == u"*.*") return true;
    std::vector<bool> row(name.size() + 1);  // of the name's beginnings, which match the pattern's beginning
    row[0] = true;
    for (TChar const c : pattern) {
        std::vector<bool> next(name.size() + 1);
        next[0] = c == u'*' && row[0];
        for (std::size_t n = 1; n <= name.size(); ++n) {
            next[n] = c == u'*' ? row[n] || next[n - 1] : row[n - 1] && (c == u'?' || c == name[n - 1]);
        }
        row = next;
    }
    return row[name.size()];
}

}  // namespace
}  // namespace vfile::test

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace vfile::test;
    FuzzInput input(data, size);
    vfile::TString const pattern = input.Units(40);
    vfile::TString const name = input.Units(200);
    FUZZ_CHECK(vfile::MatchesWildcard(pattern, name) == Matches(pattern, name));
    return 0;
}
