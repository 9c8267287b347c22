// Hooks that veto, throw, read, and edit or move what they should and what they should not, in every call that changes.
#include "support/faults.h"
#include "support/halts.h"
#include "support/host_source.h"
#include "support/test.h"
#include "support/twin.h"

namespace vfile::test {
namespace {

enum class Hook { kNone, kPre, kPost, kFlag };
enum class Act { kVeto, kThrow, kShorten, kOverwrite, kMove };
constexpr Act kActs[] = {Act::kVeto, Act::kThrow, Act::kShorten, Act::kOverwrite, Act::kMove};
constexpr std::int32_t kVetoCode = 77;

struct Plan {
    Hook hook = Hook::kNone;
    Act act = Act::kVeto;
    int at = 1;  // the call of that hook
};

constexpr std::int32_t DelLen(Act act) { return act == Act::kShorten ? 1500 : 6; }

// The content of a file behind its edit from inside.
std::string Edited(std::string const& bytes, Act act) {
    return "<edit>" + bytes.substr(std::min(static_cast<std::size_t>(DelLen(act)), bytes.size()));
}

// Both views of one file.
class Hooked : public TCharVFile {
public:
    std::vector<std::string> stages;  // the bytes from the start on and behind each change
    int flagCalls = 0;
    mutable std::int32_t asked = 0;  // the start of the change that PreChange was told of last

    vfile::VFile& bytes = (vfile::VFile&)*this;

    void Begin(std::string const& content, Plan const& plan) {
        plan_ = {};
        res = ResDone;
        SetFlags(TrackModified);
        bytes.ReplaceBuf(0, MaxLen, content.data(), static_cast<std::int32_t>(content.size()));
        ExclFlag(Modified);
        SetPos(700);
        plan_ = plan;
        stages = {AllBytes(bytes)};
        seen_ = flagCalls = 0;
    }

protected:
    std::int32_t PreChange(std::int32_t start, std::int32_t, std::int32_t) const override {
        asked = start;
        return const_cast<Hooked*>(this)->Meet(Hook::kPre) ? kVetoCode : ResDone;
    }
    void PostChange(std::int32_t start, std::int32_t delLen, std::int32_t insLen) override {
        ExpectSound(bytes);
        if (!inside_) stages.push_back(AllBytes(bytes));
        TCharVFile::PostChange(start, delLen, insLen);
        Meet(Hook::kPost);
    }
    void PostChangeFlag(std::int32_t, bool) override {
        ++flagCalls;
        Meet(Hook::kFlag);
    }

private:
    Plan plan_;
    int seen_ = 0;
    bool inside_ = false;

    // True: this is a veto.
    bool Meet(Hook hook) {
        if (inside_ || hook != plan_.hook || ++seen_ != plan_.at) return false;
        struct Inside {
            bool& flag;
            explicit Inside(bool& f) : flag(f) { flag = true; }
            ~Inside() { flag = false; }
        } const inside(inside_);
        std::int32_t const was = GetPos();
        if (plan_.act == Act::kVeto) return true;
        if (plan_.act == Act::kThrow) throw HookThrew{};
        if (plan_.act != Act::kMove) bytes.ReplaceBuf(0, DelLen(plan_.act), "<edit>", 6);
        SetPos(plan_.act != Act::kMove ? was : was == 0);
        return false;
    }
};

// What the calls take from: a host file, and a virtual one.
struct Sources {
    HostSource host{"\xEF\xBB\xBF" + std::string(3000, 'h')};
    VFile other{'o', 1800};
    std::int32_t replaced = 0;  // what a call that counts its changes gave
};

struct Call {
    char const* operation;  // the name in a stop at its last change
    void (*run)(VFile& f, TCharVFile& t, Sources& s);
};

// clang-format off
Call const kCalls[] = {
    {"ReplaceBuf", [](VFile& f, TCharVFile&, Sources&) { f.ReplaceBuf(1000, 3, "new", 3); }},
    {"ReplaceBuf", [](VFile& f, TCharVFile&, Sources&) { f.ReplaceBuf(1000, 700, std::string(5000, 'n').data(), 5000); }},
    {"ReplaceBuf", [](VFile& f, TCharVFile&, Sources&) { f.ReplaceBuf(0, MaxLen, nullptr, 0); }},
    {"ReplaceBuf", [](VFile& f, TCharVFile&, Sources&) { f.ReplaceCh(900, 10, 'c', 3000); }},
    {"ReplaceTxt", [](VFile& f, TCharVFile&, Sources& s) { f.ReplaceTxt(1024, 1024, s.other, 5, MaxLen); }},
    {"ReplaceTxt", [](VFile& f, TCharVFile&, Sources&) { f.ReplaceTxt(2000, 0, f, 500, 2500); }},
    {"ReplaceFile", [](VFile& f, TCharVFile&, Sources& s) { f.ReplaceFile(1024, 1, s.host.file, 2048); }},
    {"ReplaceFile", [](VFile& f, TCharVFile&, Sources& s) { f.ReplaceFile(10, 2000, s.host.AsHandle(f), MaxLen); }},
    {"ReplaceFile", [](VFile& f, TCharVFile&, Sources& s) { f.ReadFile(s.host.AsName(f), 1); }},
    {"ReplaceFile", [](VFile& f, TCharVFile&, Sources& s) { f.Load(s.host.AsName(f), 1); }},
    {"LoadText", [](VFile&, TCharVFile& t, Sources& s) { t.LoadText(s.host.AsName(s.other), 1); }},
    {"LoadText", [](VFile&, TCharVFile& t, Sources& s) { t.LoadTextAs(s.host.AsName(s.other), t.EncodingAnsi, 1); }},
    {"ReplaceBuf", [](VFile& f, TCharVFile&, Sources& s) { s.replaced = f.ReplaceGlobal("#@", "...", false, false); }},
    {"ReplaceBuf", [](VFile&, TCharVFile& t, Sources& s) { s.replaced = t.ReplaceGlobalTChars(u"\u4023", u"longer than it was", false, false); }},
    {"ReplaceTxt", [](VFile& f, TCharVFile&, Sources&) { VFile m('m', 1800); f = std::move(m); EXPECT_TRUE(m.Length() == 0 ? f.res == ResDone : m.Length() == 1800); }},
    {"ReplaceTxt", [](VFile&, TCharVFile& t, Sources&) { TCharVFile m; m.AppendTChar(u'm', 900); t = std::move(m); EXPECT_TRUE(m.Length() == 0 ? t.res == ResDone : m.Length() == 1800); }},
    {"ReplaceBuf", [](VFile&, TCharVFile& t, Sources&) { t.AppendTStr(u"appended"); }},
    {"ReplaceBuf", [](VFile&, TCharVFile& t, Sources&) { t.InsertTChar(u'u', 2000); }},
    {"", [](VFile& f, TCharVFile&, Sources&) { f.ToggleFlag(VFile::InsertMode | VFile::EolWatchOn); }},
    {"", [](VFile& f, TCharVFile&, Sources&) { f.SetFlag(VFile::EolWatchOff, true); }},
};
// clang-format on

std::string Content() {
    TCharVFile text;
    for (int i = 0; i < 4; ++i) {
        for (int n = 0; n < 40; ++n) text << u"line " << n << u"\r\n";
        text << u'\u4023';
    }
    return AllBytes((VFile&)text);
}

class HooksTest : public testing::Test {
protected:
    std::string const content_ = Content();
    Sources sources_;
    int runs_ = 0;

    void Run(Call const& call, Hooked& f) {
        sources_.host.At(0);
        sources_.replaced = -1;
        call.run(f.bytes, f, sources_);
    }

    struct Outcome {
        std::string halt;
        bool threw = false;  // from the hook
    };

    Outcome Provoke(Call const& call, Hooked& f, bool haltThrows) {
        Outcome outcome;
        try {
            if (haltThrows) {
                outcome.halt = HaltOf([&] { Run(call, f); });
            } else {
                NoteHalts noted;
                Run(call, f);
                for (TString const& text : noted.Take()) outcome.halt.append(text.begin(), text.end());
            }
        } catch (HookThrew const&) {
            outcome.threw = true;
        }
        return outcome;
    }

    // What the call does without a plan tells what it should do with this one.
    void Try(Call const& call, Hooked const& clean, Plan plan, bool haltThrows) {
        std::size_t const last = clean.stages.size() - 1, at = static_cast<std::size_t>(plan.at);
        bool const pre = plan.hook == Hook::kPre;
        std::size_t const reached = last == 0 ? 0 : pre ? at - 1 : at;  // the stage when the hook acts
        bool const inside = plan.act == Act::kShorten || plan.act == Act::kOverwrite;
        bool const elsewhere = inside && !pre && reached != last;  // what follows meets other bytes
        bool const moves = plan.act == Act::kMove && !clean.stages[reached].empty();
        bool const forbidden = pre && (inside || moves);
        bool const vetoed = plan.act == Act::kVeto;
        bool const ends = forbidden || vetoed || plan.act == Act::kThrow;

        Hooked f;
        f.Begin(content_, plan);
        std::size_t const descriptors = OpenDescriptors();
        Outcome const outcome = Provoke(call, f, haltThrows);
        ++runs_;

        EXPECT_EQ(outcome.threw, plan.act == Act::kThrow);
        std::string const operation = at == last ? call.operation : "ReplaceBuf";
        EXPECT_EQ(outcome.halt, forbidden ? "VFile, " + operation + "():\nfile changed in PreChange" : "");
        EXPECT_EQ(OpenDescriptors(), descriptors);
        std::string const& stage = clean.stages[ends ? reached : last];
        EXPECT_TRUE(elsewhere || AllBytes(f.bytes) == (inside ? Edited(stage, plan.act) : stage));
        ExpectSound(f.bytes);
        if (vetoed || (forbidden && !haltThrows)) {
            EXPECT_EQ(f.res, vetoed ? kVetoCode : ResContextError);
            EXPECT_TRUE(sources_.replaced == -1 || sources_.replaced == plan.at - 1);
        }
        if (pre && ends && !forbidden) {
            EXPECT_EQ(f.GetPos(), f.asked);
        }
        if (!ends && !elsewhere) {
            EXPECT_EQ(f.res, clean.res);
            EXPECT_TRUE(last == 0 || f.GetPos() == std::min(clean.GetPos(), f.Length()));
        }
        Again(call, clean, f);
    }

    // The same object does the job when nothing disturbs it.
    void Again(Call const& call, Hooked const& clean, Hooked& f) {
        f.Begin(content_, {});
        Run(call, f);
        EXPECT_TRUE(AllBytes(f.bytes) == clean.stages.back());
        EXPECT_EQ(f.GetPos(), clean.GetPos());
        EXPECT_EQ(f.res, clean.res);
    }

    void TryAll(Call const& call) {
        Hooked clean;
        clean.Begin(content_, {});
        Run(call, clean);
        int const changes = static_cast<int>(clean.stages.size()) - 1;
        for (Hook const hook : {Hook::kPre, Hook::kPost, Hook::kFlag}) {
            int const times = hook == Hook::kFlag ? clean.flagCalls : changes;
            for (int const at : std::set{1, 2, times}) {
                for (Act const act : kActs) {
                    if (at == 0 || at > times || (act == Act::kVeto && hook != Hook::kPre)) continue;
                    for (bool const haltThrows : {true, false}) {
                        SCOPED_TRACE(testing::Message() << "call " << &call - kCalls << ", hook " << int(hook)
                                                        << ", its call " << at << ", act " << int(act));
                        Try(call, clean, {hook, act, at}, haltThrows);
                    }
                }
            }
        }
    }
};

TEST_F(HooksTest, NoCallWorksOnAnotherThread) {
    for (Call const& call : kCalls) {
        SCOPED_TRACE(&call - kCalls);
        Hooked f, clean;
        f.Begin(content_, {});
        clean.Begin(content_, {});
        Run(call, clean);
        std::size_t const descriptors = OpenDescriptors();
        std::thread([&] {
            EXPECT_ASSERTION_STOP("VFile", Run(call, f));
            NoteHalts goingOn;
            Run(call, f);
            f.res = ResDone;
            f.SaveText(u"", true, f.EncodingUtf8, false);
            f.LoadText(u"", 1);
            EXPECT_EQ(f.res, ResDone) << "the name was looked at";
        }).join();
        EXPECT_EQ(OpenDescriptors(), descriptors);
        EXPECT_TRUE(AllBytes(f.bytes) == content_);
        Again(call, clean, f);
    }
}

TEST_F(HooksTest, MayDoWhatTheyMayInEveryCall) {
    internal::PagedMemory& memory = VFileInspector::Memory(sources_.other);
    std::int32_t settled = 0;
    for (int round = 0; round < 2; ++round) {
        for (Call const& call : kCalls) TryAll(call);
        if (round == 0) settled = NextPage(memory);
    }
    EXPECT_EQ(NextPage(memory), settled) << "a block was lost";
    EXPECT_GT(runs_, 400);
}

// What would take the file away from under a change stops where it is tried.
TEST(Hooks, NoFileIsMovedThatIsAsked) {
    struct Leaving : VFile {
        bool swaps = false;
        mutable std::string halt;
        std::int32_t PreChange(std::int32_t, std::int32_t, std::int32_t) const override {
            auto& self = const_cast<Leaving&>(*this);
            if (swaps) halt = HaltOf([&] { VFile().Swap(self); });
            VFile elsewhere;
            elsewhere = std::move(static_cast<VFile&>(self));
            EXPECT_EQ(AllBytes(elsewhere), AllBytes(*this));
            return ResDone;
        }
    } file;
    file.Append("0123");
    file.swaps = true;
    file.Insert("abc");
    EXPECT_EQ(AllBytes(file), "0123abc");
    EXPECT_EQ(file.halt, "VFile, Swap():\nfile changed in PreChange");
    file.swaps = false;
    struct Emptying : VFile {
        VFile* source = nullptr;
        std::int32_t PreChange(std::int32_t, std::int32_t, std::int32_t) const override {
            return source->Delete(0, 1), ResDone;
        }
    } target;
    target.source = &file;
    EXPECT_EQ(HaltOf([&] { static_cast<VFile&>(target) = std::move(static_cast<VFile&>(file)); }),
              "VFile, ReplaceTxt():\nsource changed in PreChange");
    EXPECT_EQ(AllBytes(target) + AllBytes(file), "123abc");
}

}  // namespace
}  // namespace vfile::test
