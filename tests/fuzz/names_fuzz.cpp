// Names in buffers of every size. Each buffer is of its own and just as large as it says, so that a sanitizer sees
// every unit beside it.
#include "fuzz/fuzz.h"
#include "hostfile/wildcard.h"
#include "support/test.h"

namespace vfile::test {
namespace {

class Buffer {
public:
    Buffer(std::uint32_t size, TString const& content = {}) : size_(size), units_(new TChar[size]) {
        std::copy_n(content.c_str(), std::min<std::size_t>(content.size() + 1, size), units_.get());
        units_[size - 1] = 0;
    }
    TChar* At() { return units_.get(); }
    std::uint32_t Size() const { return size_; }
    TString Text() const {
        auto const end = std::find(units_.get(), units_.get() + size_, TChar{0});
        FUZZ_CHECK(end != units_.get() + size_);
        return {units_.get(), end};
    }

private:
    std::uint32_t size_;
    std::unique_ptr<TChar[]> units_;
};

std::array<TString, 4> Split(TString const& path, std::array<std::uint32_t, 4> const& sizes) {
    Buffer drive(sizes[0]), dir(sizes[1]), name(sizes[2]), ext(sizes[3]);
    HFile::SplitName(drive.At(), sizes[0], dir.At(), sizes[1], name.At(), sizes[2], ext.At(), sizes[3],
                     path.c_str());
    return {drive.Text(), dir.Text(), name.Text(), ext.Text()};
}

void CheckSplitting(TString const& path, std::array<std::uint32_t, 4> const& sizes) {
    auto const whole = Split(path, {400, 400, 400, 400});
    FUZZ_CHECK(whole[0] + whole[1] + whole[2] + whole[3] == path);
    FUZZ_CHECK(whole[2].find_first_of(u"/\\") == TString::npos &&
               whole[3].find_first_of(u"/\\") == TString::npos);
    auto const cut = Split(path, sizes);
    bool fits = true;
    for (std::size_t i = 0; i < 4; ++i) fits = fits && whole[i].size() < sizes[i];
    FUZZ_CHECK(cut == (fits ? whole : std::array<TString, 4>{}));
    Buffer built(sizes[0]);
    HFile::BuildName(built.At(), built.Size(), whole[0].c_str(), whole[1].c_str(), whole[2].c_str(),
                     whole[3].c_str());
    FUZZ_CHECK(built.Text() == path.substr(0, sizes[0] - 1));
    Buffer dir(sizes[1]), name(sizes[2]);
    HFile::SplitName(dir.At(), dir.Size(), name.At(), name.Size(), path.c_str());
    bool const shortParts =
        std::all_of(whole.begin(), whole.end(), [](TString const& part) { return part.size() < 261; });
    FUZZ_CHECK(dir.Text() == (shortParts ? (whole[0] + whole[1]).substr(0, sizes[1] - 1) : TString()));
    FUZZ_CHECK(name.Text() == (shortParts ? (whole[2] + whole[3]).substr(0, sizes[2] - 1) : TString()));
}

// By the text alone: nothing is looked up.
TString Folded(TString const& name) {
    static TString const here = NameFromBytes(std::filesystem::current_path().string());
    TString const path = name.starts_with(u'/') ? name : here + u'/' + name;
    TString full;
    for (std::size_t at = 0, end; at < path.size(); at = end + 1) {
        end = std::min(path.find(u'/', at), path.size());
        TString const part = path.substr(at, end - at);
        if (part == u"..") full.erase(std::min(full.rfind(u'/'), full.size()));
        if (!part.empty() && part != u"." && part != u"..") full += u'/' + part;
    }
    return full.empty() ? u"/" : name.ends_with(u'/') ? full + u'/' : full;
}

void CheckFullName(TString const& path, std::uint32_t size) {
    Buffer full(size);
    HFile::GetFullName(full.At(), size, path.c_str());
    TString const want = Folded(path);
    FUZZ_CHECK(full.Text() == (want.size() < size ? want : path.substr(0, size - 1)));
}

void CheckSeparator(TString const& path, std::uint32_t size) {
    Buffer buffer(size, path);
    TString const before = buffer.Text();
    HFile::CondAppendDirSep(buffer.At(), size);
    bool const adds = !before.empty() && !HFile::IsDirSep(before.back()) && before.size() + 1 < size;
    FUZZ_CHECK(buffer.Text() == (adds ? before + u'/' : before));
    HFile::BuildName(buffer.At(), size, path.c_str(), before.c_str());
    FUZZ_CHECK(buffer.Text() == (path + before).substr(0, size - 1));
}

// The wildcard match against one that fills a table of all beginnings of pattern and name.
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
    std::array<std::uint32_t, 4> sizes;
    for (auto& one : sizes) one = input.Byte() + 1U;
    vfile::TString const path = input.Units(350);
    CheckSplitting(path, sizes);
    CheckFullName(path, sizes[0] * 4);
    CheckSeparator(path, sizes[2]);
    // The path holds a pattern and a name, too.
    std::size_t const cut = std::min<std::size_t>(sizes[3], path.size());
    auto const pattern = path.substr(0, cut), name = path.substr(cut);
    FUZZ_CHECK(vfile::MatchesWildcard(pattern, name) == Matches(pattern, name));
    return 0;
}
