// Search and global replace of bytes and of units, over blocks of odd lengths, against the plain search.
#include "fuzz/fuzz.h"
#include "support/plain_search.h"
#include "support/test.h"

namespace vfile::test {
namespace {

// Few characters, so that much is found and more nearly found. Those beside the letters and beyond ASCII must not fold,
// and bytes of units make others across the border of two.
constexpr std::string_view kBytes = "aAbBab09/:z[@`{\xC1";
constexpr std::u16string_view kUnits = u"aAbBab09/:z[@\u6161\u6100{";

// NOLINTNEXTLINE(google-readability-casting): the one cast that reaches a private base.
VFile& BytesOf(TCharVFile& file) { return (VFile&)file; }
VFile& BytesOf(VFile& file) { return file; }

bool Find(VFile& f, bool back, std::int32_t& at, Query<char> const& q) {
    auto const find = back ? &VFile::FindBack : &VFile::Find;
    return (f.*find)(at, q.pattern.c_str(), q.ignoreCase, q.wholeWord);
}
bool Find(TCharVFile& f, bool back, std::int32_t& at, Query<TChar> const& q) {
    return back ? f.FindBackTChars(at, q.pattern, q.ignoreCase, q.wholeWord)
                : f.FindTChars(at, q.pattern, q.ignoreCase, q.wholeWord);
}
int Replace(VFile& f, Query<char> const& q, std::string const& by) {
    return f.ReplaceGlobal(q.pattern.c_str(), by.c_str(), q.ignoreCase, q.wholeWord);
}
int Replace(TCharVFile& f, Query<TChar> const& q, TString const& by) {
    return f.ReplaceGlobalTChars(q.pattern.c_str(), by.c_str(), q.ignoreCase, q.wholeWord);
}

// In blocks of 1 to 1024 bytes: what is inserted before a block that has no room begins a new one.
void Fill(VFile& file, void const* bytes, std::size_t done, int cut) {
    while (done > 0) {
        std::size_t const n = std::min<std::size_t>(done, static_cast<std::size_t>(cut));
        done -= n;
        VFile piece;
        piece.ReplaceBuf(0, 0, static_cast<char const*>(bytes) + done, static_cast<std::int32_t>(n));
        file.ReplaceTxt(0, 0, piece, 0, MaxLen);
    }
}

template <class File, class Char>
void Check(FuzzInput& input, std::basic_string_view<Char> alphabet) {
    using String = std::basic_string<Char>;
    auto const text = [&](std::size_t most) {  // some bytes repeat what is there
        String units;
        while (input.HasMore() && units.size() < most) {
            std::uint8_t const b = input.Byte();
            if (b == 0) break;
            if (b < 0xB0)
                units += alphabet[b & 15];
            else if (b < 0xC0)
                units += units.substr(units.size() - std::min<std::size_t>(units.size(), 1 + (b & 15)));
            else
                units.append(1 + static_cast<std::size_t>(b & 0x30) * 6, alphabet[b & 15]);
        }
        return units.substr(0, most);
    };
    int const shape = input.Byte(), cut = 1 + input.Byte() * 4;
    std::int32_t const from = shape & 4 ? input.Byte() - 3 : shape & 8 ? MaxLen : input.Byte() << 4;
    Query<Char> const query{text(shape & 48 ? 4 : 2000), (shape & 1) != 0, (shape & 2) != 0};
    String const by = text(20), all = text(shape & 48 ? 300 : 5000);
    File file;
    std::string const behind(sizeof(Char) - 1, 'a');  // no whole unit
    Fill(BytesOf(file), behind.data(), behind.size(), 1);
    Fill(BytesOf(file), all.data(), all.size() * sizeof(Char), cut);
    SearchModel<Char> const model(all);
    for (bool const back : {false, true}) {
        std::int32_t at = from;
        file.SetPos(2);
        file.res = ResNotDone;
        bool const found = Find(file, back, at, query);
        if (from < 0 || query.pattern.empty()) {
            FUZZ_CHECK(found == (from >= 0) && at == from && file.GetPos() == std::min(2, file.Length()));
            FUZZ_CHECK(file.res == (from < 0 ? ResCallError : ResNotDone));
            continue;
        }
        Outcome const got{found, at, file.GetPos() / static_cast<int>(sizeof(Char)), file.eof};
        FUZZ_CHECK(got == (back ? model.FindBack(from, query) : model.Find(from, query)) &&
                   file.res == ResDone);
    }
    if (query.pattern.empty()) return;
    int count = 0;
    String const replaced = model.Replaced(query, by, count);
    FUZZ_CHECK(Replace(file, query, by) == count && file.res == ResDone && file.eof);
    std::string bytes(static_cast<std::size_t>(file.Length()), '\0');
    FUZZ_CHECK(file.GetPos() == file.Length());
    file.SetPos(0);
    file.ReadBytes(bytes.data(), file.Length());
    FUZZ_CHECK(bytes ==
               std::string(reinterpret_cast<char const*>(replaced.data()), replaced.size() * sizeof(Char)) +
                   behind);
}

}  // namespace
}  // namespace vfile::test

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace vfile::test;
    FuzzInput input(data, size);
    while (input.HasMore()) {
        Check<vfile::VFile>(input, kBytes);
        Check<vfile::TCharVFile>(input, kUnits);
    }
    return 0;
}
