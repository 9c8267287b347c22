// A host may derive from the library's classes and use any name of its own inside; their sizes stay what they are.
// Compiling is the test.
#include <vfile.h>

#include <cstdint>
#include <type_traits>

namespace host {

struct PinnedFile {
    virtual ~PinnedFile() = default;
    std::int32_t res;
    bool eof;
    std::int32_t radix;
    void* kept[2];
};
struct PinnedDir {
    virtual ~PinnedDir() = default;
    void* kept;
};
static_assert(sizeof(vfile::HFile) == sizeof(PinnedFile));
static_assert(sizeof(vfile::HFileDir) == sizeof(PinnedDir));
static_assert(sizeof(vfile::VMem) == sizeof(void*));
struct PinnedVirtualFile {
    virtual ~PinnedVirtualFile() = default;
    std::int32_t res;
    bool eof;
    std::int32_t radix, flags, type;
    void* kept;
};
static_assert(sizeof(vfile::VFile) == sizeof(PinnedVirtualFile));
static_assert(sizeof(vfile::TCharVFile) == sizeof(PinnedVirtualFile));
static_assert(std::is_nothrow_move_constructible_v<vfile::VFile> &&
              std::is_nothrow_move_constructible_v<vfile::TCharVFile>);
static_assert(std::is_nothrow_default_constructible_v<vfile::HFile>);

// Declares functions, and calls them where a member of such a name would hide them.
#define HOST_FILE_NAMES                                                                               \
    OpenAs(), Store(), GoTo(), EndLine(), WriteRun(), ReadNumber(), WriteNumber(), PutNumber(),       \
        EndPipeLineAfterCr(), GetFileRes(), handle(), State(), FindEntry(), ConstructName(), state(), \
        count(), pattern(), dir(), entries()

int HOST_FILE_NAMES;

struct File : vfile::HFile {
    int Calls() const { return HOST_FILE_NAMES; }
};
struct Dir : vfile::HFileDir {
    int Calls() const { return HOST_FILE_NAMES; }
};

#define HOST_MEMORY_NAMES \
    FindPage(), LoadPage(), PageAt(), IsCached(), FlushRun(), HasRoom(), CheckOwner(), cache(), swap()

int HOST_MEMORY_NAMES;

struct Memory : vfile::VMem {
    int Calls() const { return HOST_MEMORY_NAMES; }
};

#define HOST_VIRTUAL_FILE_NAMES                                                                              \
    Init(), OnOwnThread(), HasOwnerOf(), CheckSameOwner(), NoBytes(), AsMany(), AsManyUnlessInserting(),     \
        ReplaceStr(), WriteDigits(), RunAhead(), RunBehind(), BlockBytes(), MoveInBlock(), ReadUnit(),       \
        Scan(), WordNext(), Search(), PassToEol(), BytesOfLine(), PassBackToEol(), PassLf(),                 \
        ReadMappingEol(), NewBlkPtr(), DisposeBlkPtr(), DisposeBlkPtrList(), AllocBuf(), LinkBehind(),       \
        Unlink(), SeekBlk(), SeekFar(), NeighboursOf(), HandOver(), MoveTo(), MoveToNextBlock(),             \
        MoveToPrevBlock(), LeaveBlock(), LoadBlock(), SetPosC(), ReadByteC(), ReadBytesC(), CopyOutC(),      \
        MayChange(), Clip(), Position(), InitChange(), MakeRoom(), TakerBefore(), PassHead(), CheckEOL(),    \
        Apply(), FitsCurrentBlock(), Ask(), EditInBuffer(), DoChange(), SaveTail(), FindCut(),               \
        ReleasePage(), CheckCurLen(), Publish(), CheckTouched(), TakeFrom(), ReadIn(), GiveTo(), pos(),      \
        length(), mem(), pool(), first(), last(), cur(), index(), carried(), buf(), bufValid(), bufDirty(),  \
        owner(), birth(), changes(), crCheck(), kLoaded(), kInPlace(), LoadFrom(), CheckFits(), WriteText(), \
        WriteUnits(), Order(), ReadToEol(), PassLfUnit(), InsertDigits(), Fits(), InsertText(),              \
        AssignText(), InsertNumber(), UnitsOf()

int HOST_VIRTUAL_FILE_NAMES;
struct HostEnd;
struct PrivateChain;
struct BytesAt;
struct BytesOf;
struct Change;
struct Cut;
struct Neighbours;
enum class BlockUse;
using Types = void(HostEnd&, PrivateChain&, BytesAt&, BytesOf&, Change&, Cut&, Neighbours&, BlockUse);

struct VirtualFile : vfile::VFile {
    int Calls() const { return HOST_VIRTUAL_FILE_NAMES; }
    static void Takes(HostEnd&, PrivateChain&, BytesAt&, BytesOf&, Change&, Cut&, Neighbours&, BlockUse);
    static_assert(std::is_same_v<decltype(Takes), Types>);
};
struct Text : vfile::TCharVFile {
    int Calls() const { return HOST_VIRTUAL_FILE_NAMES; }
    static void Takes(HostEnd&, PrivateChain&, BytesAt&, BytesOf&, Change&, Cut&, Neighbours&, BlockUse);
    static_assert(std::is_same_v<decltype(Takes), Types>);
};

}  // namespace host
