#include <vfile/bounded_strings.h>
#include <vfile/host_file.h>
#include <vfile/result.h>

#include "platform/platform.h"

namespace vfile {
namespace {

constexpr struct {
    std::uint16_t error;
    FileRes res;
} kTranslation[] = {
    {0,    ResDone           },
    {1,    ResCallError      }, // invalid function
    {2,    ResNotFound       }, // file not found
    {3,    ResIllegalPath    }, // path not found
    {4,    ResTooManyFiles   }, // too many open files
    {5,    ResNoPermission   }, // access denied
    {6,    ResCallError      }, // invalid handle
    {8,    ResHeapOverflow   }, // not enough memory
    {12,   ResNoPermission   }, // invalid access
    {14,   ResHeapOverflow   }, // out of memory
    {15,   ResIllegalDrive   }, // invalid drive
    {19,   ResReadOnly       }, // write protected
    {20,   ResIllegalDrive   }, // bad unit
    {23,   ResDiskParityError}, // checksum
    {32,   ResNoPermission   }, // sharing violation
    {33,   ResNoPermission   }, // lock violation
    {36,   ResTooManyFiles   }, // sharing buffer exceeded
    {39,   ResDiskFull       }, // disk full, told by a handle
    {50,   ResNotSupported   }, // not supported
    {51,   ResDeviceOff      }, // remote computer not listening
    {52,   ResIllegalName    }, // duplicate name
    {53,   ResUnknownPath    }, // bad network path
    {54,   ResNetworkError   }, // network busy
    {55,   ResDeviceOff      }, // device does not exist
    {65,   ResNoPermission   }, // network access denied
    {80,   ResAlreadyExists  }, // file exists
    {87,   ResCallError      }, // invalid parameter
    {112,  ResDiskFull       }, // disk full
    {120,  ResNotImplemented }, // call not implemented
    {123,  ResIllegalName    }, // invalid name
    {161,  ResIllegalPath    }, // bad path name
    {183,  ResAlreadyExists  }, // already exists
    {267,  ResUnknownPath    }, // not a directory
    {1006, ResIllegalFile    }, // file invalid
};

constexpr TChar const* kResultWords[] = {
    u"done",           u"not done",       u"call error",        u"context error",  u"read only",
    u"heap overflow",  u"already exists", u"already open",      u"illegal drive",  u"illegal path",
    u"illegal name",   u"illegal file",   u"unknown drive",     u"unknown path",   u"not found",
    u"disk full",      u"too long",       u"no permission",     u"not supported",  u"not implemented",
    u"too many files", u"device off",     u"disk parity error", u"hardware error", u"network error",
};
static_assert(std::size(kResultWords) == ResNetworkError + 1);

bool IsNamed(FileRes res) { return static_cast<std::uint32_t>(res) < std::size(kResultWords); }

TChar const* WordOf(FileRes res) { return IsNamed(res) ? kResultWords[res] : u"unknown error code"; }

}  // namespace

FileRes GetFileRes() {
    // An error may come in a form that carries its origin in the upper half.
    std::uint32_t const error = platform::LastError() & 0xFFFF;
    for (auto const& row : kTranslation) {
        if (row.error == error) return row.res;
    }
    return ResNotDone;
}

FileRes GetFileRes(HFile const& file) { return IsNamed(file.res) ? file.res : ResNotDone; }

void HFile::GetResMsg(TChar* msg, std::uint32_t size, FileRes res) { AssignStr(msg, size, WordOf(res)); }

void GetTextResMsg(TChar* msg, std::uint32_t size, FileRes res) {
    AssignStr(msg, size, res == ResHeapOverflow ? u"not enough memory" : WordOf(res));
}

}  // namespace vfile
