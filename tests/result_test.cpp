#include <gtest/gtest.h>
#include <vfile/host_file.h>
#include <vfile/result.h>

#include <algorithm>
#include <string>

#include "platform/platform.h"
#include "support/halts.h"

namespace vfile::test {
namespace {

using Lookup = void (*)(TChar*, std::uint32_t, FileRes);

// The words for `res`, in a buffer of `size` units whose neighbour must stay.
std::string Words(Lookup lookup, FileRes res, std::uint32_t size = 60) {
    TChar msg[64];
    std::fill(std::begin(msg), std::end(msg), u'#');
    lookup(msg, size, res);
    EXPECT_EQ(msg[size], u'#');
    TString const units = msg;
    return {units.begin(), units.end()};
}

TEST(Result, EveryCodeHasItsWords) {
    constexpr struct {
        FileRes res;
        char const* words;
        char const* text = nullptr;  // of GetTextResMsg where it differs
    } kCases[] = {
        {ResDone,         "done"         },
        {ResNotDone,      "not done"     },
        {ResCallError,    "call error"   },
        {ResContextError, "context error"},
        {ResReadOnly,     "read only"    },
        {ResHeapOverflow, "heap overflow", "not enough memory"},
        {ResAlreadyExists,               "already exists"              },
        {ResAlreadyOpen,               "already open"  },
        {ResIllegalDrive,               "illegal drive"             },
        {ResIllegalPath,               "illegal path"   },
        {ResIllegalName,               "illegal name"             },
        {ResIllegalFile,               "illegal file"   },
        {ResUnknownDrive,               "unknown drive"            },
        {ResUnknownPath,               "unknown path"    },
        {ResNotFound,               "not found"               },
        {ResDiskFull,               "disk full"    },
        {ResTooLong,               "too long"                },
        {ResNoPermission,               "no permission"},
        {ResNotSupported,               "not supported"                },
        {ResNotImplemented,               "not implemented"},
        {ResTooManyFiles,               "too many files"                  },
        {ResDeviceOff,               "device off"},
        {ResDiskParityError,               "disk parity error"            },
        {ResHardwareError,               "hardware error"  },
        {ResNetworkError,               "network error"             },
        {25,               "unknown error code"               },
        {-1,               "unknown error code"             },
        {INT32_MIN,               "unknown error code"        },
        {INT32_MAX,               "unknown error code"             },
    };
    FileRes next = 0;
    for (auto const& c : kCases) {
        if (next <= ResNetworkError) {
            EXPECT_EQ(c.res, next++);
        }
        EXPECT_EQ(Words(HFile::GetResMsg, c.res), c.words);
        EXPECT_EQ(Words(GetTextResMsg, c.res), c.text ? c.text : c.words);

        HFile file;
        file.res = c.res;
        EXPECT_EQ(GetFileRes(file), 0 <= c.res && c.res <= 24 ? c.res : ResNotDone);
    }
    for (Lookup const lookup : {HFile::GetResMsg, GetTextResMsg}) {
        EXPECT_EQ(Words(lookup, ResNotDone, 6), "not d");
        EXPECT_EQ(Words(lookup, ResNotDone, 1), "");
        EXPECT_ASSERTION_STOP("HSys", lookup(nullptr, 6, ResDone));
        TChar untouched = u'#';
        EXPECT_ASSERTION_STOP("HSys", lookup(&untouched, 0, ResDone));
        EXPECT_EQ(untouched, u'#');
    }
}

// All 65536 numbers: what no row names is "not done".
TEST(Result, TranslatesTheSystemsErrors) {
    constexpr struct {
        std::uint32_t error;
        FileRes res;
    } kRows[] = {
        {0,    ResDone           },
        {1,    ResCallError      },
        {2,    ResNotFound       },
        {3,    ResIllegalPath    },
        {4,    ResTooManyFiles   },
        {5,    ResNoPermission   },
        {6,    ResCallError      },
        {8,    ResHeapOverflow   },
        {12,   ResNoPermission   },
        {14,   ResHeapOverflow   },
        {15,   ResIllegalDrive   },
        {19,   ResReadOnly       },
        {20,   ResIllegalDrive   },
        {23,   ResDiskParityError},
        {32,   ResNoPermission   },
        {33,   ResNoPermission   },
        {36,   ResTooManyFiles   },
        {39,   ResDiskFull       },
        {50,   ResNotSupported   },
        {51,   ResDeviceOff      },
        {52,   ResIllegalName    },
        {53,   ResUnknownPath    },
        {54,   ResNetworkError   },
        {55,   ResDeviceOff      },
        {65,   ResNoPermission   },
        {80,   ResAlreadyExists  },
        {87,   ResCallError      },
        {112,  ResDiskFull       },
        {120,  ResNotImplemented },
        {123,  ResIllegalName    },
        {161,  ResIllegalPath    },
        {183,  ResAlreadyExists  },
        {267,  ResUnknownPath    },
        {1006, ResIllegalFile    },
    };
    auto const* row = std::begin(kRows);
    for (std::uint32_t error = 0; error <= 0xFFFF; ++error) {
        bool const named = row != std::end(kRows) && row->error == error;
        FileRes const want = named ? row++->res : ResNotDone;
        platform::SetLastError(error);
        ASSERT_EQ(GetFileRes(), want) << error;
        platform::SetLastError(error | 0x80070000);
        ASSERT_EQ(GetFileRes(), want) << error;
    }
    EXPECT_EQ(row, std::end(kRows));
}

}  // namespace
}  // namespace vfile::test
