// Whatever a scenario asks of the system fails in turn, once and for good, with every error there is, or falls short.
// After each fault: what was to be changed is as before or as it should be, the code tells the reason, nothing is lost or
// left over, and the same objects go on when the system does.
#include "platform/posix/errors.h"
#include "support/access_list.h"
#include "support/faults.h"
#include "support/halts.h"
#include "support/temp_dir.h"
#include "support/test.h"
#include "support/twin.h"

namespace vfile::test {
namespace {

using Encoding = TCharVFile::Encoding;

constexpr std::int32_t kLarge = 150'000;  // more than two steps, and than the cache

std::string const& Bytes() {
    static std::string const bytes = [] {
        std::string all = Pattern(kLarge);
        std::ranges::replace(all, '\0', 'z');  // which would end a text
        return all;
    }();
    return bytes;
}

using Listing = std::map<std::string, std::string>;

// What a scenario works on. The names are made before the faults begin.
struct World {
    TempDir dir;
    TString const source = dir.Name("source"), target = dir.Name("target"), folder = dir.Name("");
    TString const pattern = dir.Name("*");
    std::string const otherDisk = "/dev/shm/" + dir.Path().filename().string() + "-moved";
    TString const elsewhere = NameFromBytes(otherDisk);
    VFile file;
    TCharVFile text;
    HFile host;
    TChar name[MaxNameUnits] = {};
    std::string seen;

    ~World() { std::remove(otherDisk.c_str()); }

    // What the objects hold; asked for when the faults are over.
    std::string Held() {
        std::string units(static_cast<std::size_t>(text.Length()), '\0');
        text.SetPos(0);
        text.ReadBytes(units.data(), text.Length());
        return AllBytes(file) + '|' + units + '|' + seen;
    }
    // What is on the disk, names and bytes.
    Listing OnDisk() const {
        Listing all;
        for (auto const& entry : std::filesystem::directory_iterator(dir.Path()))
            all[entry.path().filename().string()] = ReadWhole(entry.path().string());
        if (std::filesystem::exists(otherDisk)) all["elsewhere"] = ReadWhole(otherDisk);
        return all;
    }
};

// What is there before: each letter brings something.
void Prepare(World& w, std::string_view world) {
    std::string const target = w.dir.Bytes("target"), source = w.dir.Bytes("source");
    std::error_code existsAlready;
    for (char const letter : world) {
        if (letter == 't') WriteWhole(target, "old");
        if (letter == '2') std::filesystem::create_hard_link(target, w.dir.Bytes("second"), existsAlready);
        if (letter == 'f') w.file.ReplaceBuf(0, 0, Bytes().data(), 70'000);
        if (letter == 'l') w.file.ReplaceBuf(0, 0, Bytes().data(), kLarge);
        for (int i = 0; letter == 'x' && i < 1500; ++i) w.text.AppendTStr(u"Text \u00E9 \u8A9E line.\r\n");
        if (letter == 'L') w.text.AppendTStr(TString(45'000, u'\u8A9E'));
        if (letter == 'n') WriteWhole(source, "first line\r\nsecond\nthird");
        if (letter == '-') std::filesystem::remove(source);
        if (letter == 'a') chmod(source.c_str(), 0600), GiveList(source, 6);
    }
}

FileRes SaveSafe(World& w) {
    w.file.SaveSafe(w.target.c_str());
    return w.file.res;
}
FileRes SaveNew(World& w) {
    w.file.SaveSafe(w.source.c_str());
    return w.file.res;
}
FileRes ReplaceFromSource(World& w, std::int32_t start, std::int32_t delLen, std::int32_t count) {
    if (w.host.OpenSeqRead(w.source.c_str())) w.file.ReplaceFile(start, delLen, w.host, count);
    FileRes const code = w.file.res ? w.file.res : w.host.res;
    if (w.host.IsOpen()) w.host.Close();
    return code;
}
FileRes CopyOf(World& w, TChar const* source) {
    FileRes code;
    HFile::Copy(source, w.target.c_str(), code, true);
    return code;
}
FileRes Copy(World& w) { return CopyOf(w, w.source.c_str()); }
FileRes RenameTo(World& w, TString const& name) {
    FileRes code;
    HFile::Rename(w.source.c_str(), name.c_str(), code);
    return code;
}

FileRes TemporaryFile(World& w) {
    bool const made = HFile::CreateTempFile(w.host, w.name, MaxNameUnits, u"t", u"x", w.folder.c_str(), true);
    FileRes const code = w.host.res;
    if (!made) return code;
    w.host.Close();
    char path[MaxNameUnits];  // no string: that may be what fails
    std::transform(w.name, w.name + MaxNameUnits, path, [](TChar c) { return static_cast<char>(c); });
    std::remove(path);
    return ResDone;
}
FileRes Directory(World& w) {  // it ends where the system does not go on, and tells no code
    HFileDir found;
    bool more = found.FindFirst(w.name, MaxNameUnits, w.pattern.c_str());
    while (more) more = found.FindNext(w.name, MaxNameUnits);
    return ResDone;
}
FileRes Strings(World& w) {
    std::string const text = BytesFromName(w.text.ToString().c_str());
    if (w.text.res == ResDone) w.seen = text + BytesFromName(NameFromBytes(text).c_str());
    return w.text.res;
}
FileRes Lines(World& w) {
    char line[20];
    std::string seen;
    bool const open = w.host.OpenSeqRead(w.source.c_str());
    for (int i = 0; open && i < 3 && w.host.res == ResDone; ++i)
        w.host.ReadLine(line, sizeof line), seen += line;
    FileRes const code = w.host.res;
    if (open) w.host.Close();
    if (code == ResDone) w.seen = seen;
    return code;
}
FileRes Edits(World& w) {
    for (std::int32_t at = 100; at < kLarge; at += 2'000) w.file.ReplaceBuf(at, 7, "much more", 9);
    return w.file.res;
}

using Act = std::function<FileRes(World&)>;

struct Scenario {
    std::string name;
    std::string_view world;
    Act act;
    bool emptied = false;  // a failure leaves the object empty
    bool torn = false;     // and the target as it got
    bool stops = false;    // by a halt, when the swap file fails
};

Act LoadAs(Encoding encoding) {
    return [=](World& w) { return w.text.LoadTextAs(w.source.c_str(), encoding, 1), w.text.res; };
}
Act SaveAs(Encoding encoding) {
    return [=](World& w) { return w.text.SaveText(w.target.c_str(), true, encoding, true), w.text.res; };
}
Act SaveSafeAs(Encoding encoding) {
    return [=](World& w) { return w.text.SaveTextSafe(w.target.c_str(), encoding, true), w.text.res; };
}

// clang-format off
std::vector<Scenario> Scenarios() {
    Act const load = [](World& w) { return w.file.Load(w.source.c_str(), 1), w.file.res; };
    Act const save = [](World& w) { return w.file.Save(w.target.c_str(), true), w.file.res; };
    std::vector<Scenario> all = {
        {"load", "tf", load, true},
        {"save", "tf", save, false, true},
        {"safe save", "tf", SaveSafe},
        {"safe save, new", "l-", SaveNew},
        {"safe save in place", "t2f", SaveSafe},
        {"safe save of a text", "tx", SaveSafeAs(Encoding::EncodingUtf8)},
        {"safe save of a text in place", "tx2", SaveSafeAs(Encoding::EncodingUtf16)},
        {"copy to new", "a", Copy},
        {"copy over", "t", Copy, false, true},
        {"copy without the kernel's help", "", [](World& w) { return CopyOf(w, u"/proc/version"); }},
        {"rename", "", [](World& w) { return RenameTo(w, w.target); }},
        {"move to another disk", "a", [](World& w) { return RenameTo(w, w.elsewhere); }},
        {"temporary file", "", TemporaryFile},
        {"remove", "", [](World& w) { FileRes code; return HFile::Remove(w.source.c_str(), code), code; }},
        {"directory", "t", Directory},
        {"strings", "tx", Strings},
        {"lines of a host file", "n", Lines},
        {"bytes from a file", "tf", [](World& w) { return ReplaceFromSource(w, 1000, 500, 60'000); }},
        {"edits in the swap file", "l", Edits, false, false, true},
        {"bytes from a file over the swap file", "l", [](World& w) { return ReplaceFromSource(w, 70'000, 60'000, 70'000); }, false, false, true},
        {"load over the swap file", "l", load, true, false, true},
        {"save from the swap file", "tl", save, false, true, true},
        {"safe save from the swap file", "tl", SaveSafe, false, false, true},
        {"safe save in place from the swap file", "t2l", SaveSafe, false, false, true},
        {"load of a text over the swap file", "tL", LoadAs(Encoding::EncodingUtf8), true, false, true},
        {"save of a text from the swap file", "tL", SaveAs(Encoding::EncodingUtf16BE), false, true, true},
        {"safe save of a text from the swap file", "tL", SaveSafeAs(Encoding::EncodingUtf8), false, false, true},
        {"replace all", "l", [](World& w) { return w.file.ReplaceGlobal("abc", "ABCD", false, false), w.file.res; }, false, false, true},
        {"copy of itself", "l", [](World& w) { return w.file.ReplaceTxt(500, 100, w.file, 0, MaxLen), w.file.res; }, false, false, true},
    };
    for (int n = 0; n < 4; ++n) {
        all.push_back({"load as " + std::to_string(n), "tx", LoadAs(Encoding(n)), true});
        all.push_back({"save as " + std::to_string(n), "tx", SaveAs(Encoding(n)), false, true});
    }
    return all;
}
// clang-format on

constexpr int kErrors[] = {EIO,    ENOSPC, EDQUOT, EFBIG,   EACCES, EPERM,    ENOMEM,       EMFILE,
                           ENFILE, EROFS,  EINVAL, EBADF,   ESTALE, ENETDOWN, EOPNOTSUPP,   ENXIO,
                           ENODEV, ENOSYS, ELOOP,  ENOTDIR, EISDIR, EEXIST,   ENAMETOOLONG, ETXTBSY,
                           EBUSY,  ENOENT, EINTR,  EAGAIN,  EPIPE};

struct Tally {
    int halts = 0;
    std::set<FileRes> codes;
} tally;

FileRes CodeOf(int error) {
    platform::Fail(error);
    return GetFileRes();
}

// A listing but for what may be left: the copy of the old bytes where a flush in place of a safe save failed, or anything
// where nothing can be removed any more, or by one who can never learn what it holds open: then a new file stays, too,
// which is empty.
Listing WithoutLeftover(Listing listing, bool nothingIsRemoved, bool nothingIsKnown) {
    for (char const* const name :
         {"target.~old~1", "target.~new~1", "target.~part~1", "source.~new~1", "source.~part~1"}) {
        auto const left = listing.find(name);
        bool const whole =
            left != listing.end() && name == std::string_view("target.~old~1") && left->second == "old";
        if (whole || nothingIsRemoved || nothingIsKnown) listing.erase(name);
    }
    if (nothingIsRemoved && listing.count("source")) listing.erase("elsewhere");
    if (nothingIsKnown && listing.count("target") && listing["target"].empty()) listing.erase("target");
    return listing;
}

// One run of a scenario under one fault, in a thread of its own, whose memory is fresh. False: no call was left to hit.
bool RunOnce(Scenario const& s, Fault const& fault, std::string const& held, Listing const& listing) {
    VFile::SetMaxCacheSize(s.stops ? 70 : 2000);  // no swap file but where one is meant
    World w;
    WriteWhole(w.dir.Bytes("source"), Bytes().substr(0, 70'000));
    Prepare(w, s.world);
    std::string const oldHeld = w.Held();
    Listing const oldListing = w.OnDisk();
    w.file.SetPos(0);
    FileRes code = ResDone;
    Call hit;
    std::string halt;
    {
        Faults const faults(fault);
        try {
            halt = HaltOf([&] { code = s.act(w); });
        } catch (std::bad_alloc const&) {
            code = ResHeapOverflow;  // of a string that was to be made
        }
        hit = faults.Hit();
    }
    if (hit == Call::kNone) return false;
    SCOPED_TRACE(testing::Message() << s.name << ": call " << fault.nth << ", of kind " << int(hit)
                                    << ", fault " << fault.kind << ", error " << fault.error << ", code "
                                    << code);
    tally.halts += !halt.empty();
    tally.codes.insert(code);
    bool const failed = code != ResDone || !halt.empty();
    std::set<FileRes> codes{ResDone, CodeOf(fault.error)};
    if (hit == Call::kLock && fault.error == EAGAIN) codes.insert(ResNoPermission);  // another has it
    if (fault.error == EBADF) codes.insert(ResNoPermission);                         // the wrong way through
    if (hit == Call::kName) codes.insert({ResIllegalPath, ResAlreadyExists});  // what is there is not seen
    if (fault.error == EEXIST) codes.insert(ResNotFound);                      // what is not there is
    if (fault.kind == Fault::kCutThenFail) codes.insert(ResDiskFull);
    EXPECT_TRUE(codes.count(code) == 1);
    std::set<int> const noNameByDescriptor{EPERM, EACCES, ENOENT, EOPNOTSUPP, ENOSYS};
    EXPECT_TRUE(hit != Call::kGiveName || !noNameByDescriptor.count(fault.error) || !failed)
        << "no other way was taken";
    EXPECT_TRUE(halt.empty() || s.stops || hit == Call::kAllocate)
        << halt;  // a page without memory is a stop, too
    if (w.host.IsOpen()) w.host.Close();
    ExpectSound(w.file);
    bool const nothingIsRemoved = fault.kind == Fault::kFailOnward && hit == Call::kName;
    bool const nothingIsKnown = fault.kind == Fault::kFailOnward && hit == Call::kStat;
    std::string const nowHeld = w.Held();
    Listing const left = w.OnDisk(),
                  nowListing = halt.empty() ? WithoutLeftover(left, nothingIsRemoved, nothingIsKnown) : left;
    EXPECT_TRUE(failed || (nowHeld == held && nowListing == listing)) << "done, and something else";
    bool const denied = hit == Call::kAskAttribute && fault.error == EOPNOTSUPP;  // that there is a list
    for (std::string const& path : {w.dir.Bytes("target"), w.otherDisk}) {
        bool const others = (Info(path).st_mode & 077) != 0 && Attribute(path).empty();
        EXPECT_FALSE(s.world == "a" && !denied && others) << "more rights than the source gave";
    }
    if (failed) {
        EXPECT_TRUE(s.stops || nowHeld == oldHeld || (s.emptied && nowHeld == "||")) << "failed, and changed";
        EXPECT_TRUE(s.torn || left != nowListing || nowListing == oldListing || nowListing == listing)
            << "torn, or something left over";
    }
    HFile source, target;  // the target may be read-only
    EXPECT_TRUE(source.Open(w.source.c_str()) || source.res == ResNotFound) << "a lock was left";
    EXPECT_TRUE(target.OpenSeqRead(w.target.c_str()) || target.res == ResNotFound) << "a lock was left";
    for (HFile* const file : {&source, &target})
        if (file->IsOpen()) file->Close();
    if (!failed) return true;
    w.file.res = w.text.res = w.host.res = ResDone;
    if (nothingIsRemoved) std::remove(w.otherDisk.c_str());
    if (s.stops) {  // an edit may be half done
        w.file = "";
        w.text = u"";
        Prepare(w, s.world);
        w.file.SetPos(0);
    }
    EXPECT_EQ(s.act(w), ResDone) << "not usable again";
    EXPECT_TRUE(!s.stops || w.Held() == held) << "usable again, and something else";
    EXPECT_TRUE(WithoutLeftover(w.OnDisk(), nothingIsRemoved, nothingIsKnown) == listing);
    return true;
}

bool RunFresh(Scenario const& s, Fault const& fault, std::string const& held, Listing const& listing) {
    bool met = false;
    std::size_t const before = OpenDescriptors();
    std::thread([&] { met = RunOnce(s, fault, held, listing); }).join();
    EXPECT_EQ(OpenDescriptors(), before);
    return met;
}

// What the scenario leaves when nothing fails.
void RunClean(Scenario const& s, std::string& held, Listing& listing) {
    std::thread([&] {
        World w;
        WriteWhole(w.dir.Bytes("source"), Bytes().substr(0, 70'000));
        Prepare(w, s.world);
        EXPECT_EQ(s.act(w), ResDone);
        held = w.Held();
        listing = w.OnDisk();
    }).join();
}

std::ostream& operator<<(std::ostream& out, Scenario const& s) { return out << s.name; }

class FaultLoop : public testing::TestWithParam<Scenario> {};

TEST_P(FaultLoop, EveryCallFailsInTurn) {
    Scenario const& s = GetParam();
    std::string held;
    Listing listing;
    RunClean(s, held, listing);
    int const halts = tally.halts;
    std::vector<Fault> kinds{
        {.kind = Fault::kCut, .cut = 1},
        {.kind = Fault::kCut                  }
    };
    for (int const error : kErrors) kinds.push_back({.error = error});
    for (int const error : {EIO, ENOSPC, ENOMEM, EMFILE, EACCES})
        kinds.push_back({.kind = Fault::kFailOnward, .error = error});
    for (int const error : {EIO, ENOSPC}) {
        for (std::size_t const cut : {0u, 1u})
            kinds.push_back({.kind = Fault::kCutThenFail, .error = error, .cut = cut});
    }
    for (Fault::Kind const kind : {Fault::kFail, Fault::kFailOnward})
        for (Call const memory : {Call::kAllocate, Call::kNew})
            kinds.push_back({.kind = kind, .error = ENOMEM, .only = memory});
    for (Fault fault : kinds) {
        for (bool met = true; met && !HasFailure(); ++fault.nth) {
            met = RunFresh(s, fault, held, listing);
        }
    }
    EXPECT_TRUE(!s.stops || tally.halts - halts > static_cast<int>(std::size(kErrors)))
        << "one call at most made it stop";
    if (s.name != "load") return;
    for (int const error : kErrors)
        EXPECT_TRUE(error == EINTR || tally.codes.count(CodeOf(error)))
            << "error " << error << " was never told";
}

INSTANTIATE_TEST_SUITE_P(All, FaultLoop, testing::ValuesIn(Scenarios()), [](auto const& test) {
    std::string name = test.param.name;
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    return name;
});

}  // namespace
}  // namespace vfile::test
