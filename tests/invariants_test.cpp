// The checkers name what is damaged: one field at a time, put right again at once.
#include "vmem/invariants.h"

#include "support/test.h"
#include "support/twin.h"
#include "vfile/blk_index.h"

namespace vfile::test {
namespace {

template <class T>
class Damage {
public:
    Damage(T& at, T to) : at_(at), was_(at) { at_ = to; }
    ~Damage() { at_ = was_; }
    Damage(Damage const&) = delete;
    Damage& operator=(Damage const&) = delete;

private:
    T& at_;
    T was_;
};

template <class Damaged>
struct Row {
    char const* rule;
    std::string (*damage)(Damaged& damaged);
};

std::string Text(char const* rule) { return rule ? rule : "sound"; }

// A file of ten blocks, its cursor in the middle of the fourth, which stands in the buffer as its page has it.
struct File {
    using See = VFileInspector;
    VFile file;
    BlkDesc *first, *here, *last;

    File() {
        file.ReplaceBuf(0, 0, Pattern(10 * BlkSize).data(), 10 * BlkSize);
        Settle();
        first = See::First(file);
        here = See::Cursor(file).ptr;
        last = See::Last(file);
    }

    void Settle() {
        unsigned char byte;
        file.Flush();
        file.SetPos(3 * BlkSize + 500);
        file.ReadByte(byte);
    }

    template <class T>
    std::string With(T& at, std::type_identity_t<T> to) {
        Damage<T> const damage(at, to);
        std::string const rule = Text(BrokenRule(file));
        // A short chain is walked by the quick check as well; pages and buffer are not its business.
        std::string const quick = Text(BrokenRuleAtCursor(file));
        EXPECT_TRUE(quick == rule || rule.find("page") != rule.npos) << quick;
        return rule;
    }
    // The cursor in the first block, and nothing but the start of that block wrong.
    std::string Shifted() {
        file.SetPos(500);
        BlkRdr& cur = See::Cursor(file);
        Damage const start(cur.start, cur.start + 1);
        Damage const ix(cur.ix, static_cast<std::int16_t>(cur.ix - 1));
        return Text(BrokenRule(file));
    }
};

// clang-format off
Row<File> const kFileRows[] = {
    {"1: links disagree", [](File& f) { return f.With(f.here->next->prev, nullptr); }},
    {"2: block length out of range", [](File& f) { return f.With(f.here->next->len, BlkSize + 1); }},
    {"2: empty block", [](File& f) { return f.With(f.here->next->len, 0); }},
    {"5: no page", [](File& f) { return f.With(f.here->addr, kNoAddr); }},
    {"4: cursor without a block", [](File& f) { return f.With(File::See::Cursor(f.file).ptr, nullptr); }},
    {"4: cursor outside its block", [](File& f) { return f.With(File::See::Cursor(f.file).ix, -1); }},
    {"4: position disagrees", [](File& f) { return f.With(File::See::Cursor(f.file).start, 1); }},
    {"4: start of the first block", [](File& f) { return f.Shifted(); }},
    {"6: dirty buffer is not valid", [](File& f) { Damage const dirty(File::See::BufDirty(f.file), true); return f.With(File::See::BufValid(f.file), false); }},
    {"6: valid buffer does not exist", [](File& f) { return f.With(File::See::Buffer(f.file), nullptr); }},
    {"6: buffer and page disagree", [](File& f) { return f.With(File::See::Buffer(f.file)[9], 'y'); }},
};
// clang-format on

TEST(Invariants, NameWhatIsWrongWithAFile) {
    File f;
    ASSERT_TRUE(VFileInspector::BufValid(f.file) && !VFileInspector::BufDirty(f.file));
    for (auto const& row : kFileRows) {
        EXPECT_EQ(row.damage(f), row.rule) << "row " << &row - kFileRows;
        f.Settle();
        EXPECT_EQ(Text(BrokenRule(f.file)), "sound");
        EXPECT_EQ(Text(BrokenRuleAtCursor(f.file)), "sound");
    }
}

}  // namespace
}  // namespace vfile::test
