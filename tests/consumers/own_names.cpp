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

}  // namespace host
