// Names, errors and the environment.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vfile/names.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <map>

#include "platform/platform.h"
#include "platform/posix/errors.h"
#include "platform/posix/name_bytes.h"
#include "support/child.h"
#include "support/temp_dir.h"

namespace vfile::platform {

using test::TempDir;

namespace {

constexpr OpenMode kReading{Access::kRead, kShareRead, Disposition::kOpenExisting, Hint::kSequential};
constexpr OpenMode kMaking{Access::kWrite, kShareNone, Disposition::kCreateNew, Hint::kSequential};

std::uint32_t ErrorOfOpening(TChar const* name, OpenMode const& mode) {
    SetLastError(kNoError);
    Handle const file = OpenFile(name, mode);
    if (file != InvalidHandle()) CloseFile(file);
    return LastError();
}

}  // namespace

TEST(Names, EveryEntryOfADirectoryHasANameAndItsBytesBack) {
    TempDir dir;
    std::map<std::string, TString> const names{
        {"plain\\",                   u"plain\\"                              },
        {"\xC3\xA4\xE2\x82\xAC",      u"\u00E4\u20AC"                         },
        {"\xF0\x9F\x98\x80\x80",      u"\U0001F600\xDC80"                     },
        {"a\xFFz",                    u"a\xDCFFz"                             },
        {"\xE2\x82",                  u"\xDCE2\xDC82"                         },
        {"\xED\xA0\x80\xED\xB2\x80x", u"\xDCED\xDCA0\xDC80\xDCED\xDCB2\xDC80x"},
    };
    for (auto const& [bytes, units] : names) {
        EXPECT_EQ(NameFromBytes(bytes), units) << bytes;
        EXPECT_EQ(BytesFromName(units.c_str()), bytes);
        EXPECT_EQ(ErrorOfOpening(dir.Name(bytes).c_str(), kMaking), kNoError);
    }
    for (auto const& entry : std::filesystem::directory_iterator(dir.Path())) {
        EXPECT_TRUE(names.contains(entry.path().filename().native()));
        EXPECT_EQ(ErrorOfOpening(NameFromBytes(entry.path().native()).c_str(), kReading), kNoError) << entry;
    }
    EXPECT_EQ(dir.Entries(), names.size());
    for (int number = 0x101; number < 0x10000; number += number % 0x100 == 0xFF ? 2 : 1) {
        std::string const bytes{'x', static_cast<char>(number >> 8), static_cast<char>(number)};
        ASSERT_EQ(BytesFromName(NameFromBytes(bytes).c_str()), bytes) << number;
    }
    EXPECT_EQ(BytesFromName(nullptr) + BytesFromName(u""), "");
}

TEST(Names, OnlyTheBytesOfNoUtf8AreLoneSurrogates) {
    for (int unit = 0xD800; unit <= 0xDFFF; ++unit) {
        bool const legal = unit >= 0xDC80 && unit <= 0xDCFF;
        TString const name{u'n', static_cast<TChar>(unit), u'm'};
        ASSERT_EQ(BytesFromName(name.c_str()).size(), legal ? 3u : 0u) << unit;
        ASSERT_EQ(NameBytes(name.c_str()).SystemError(), legal ? 0 : EILSEQ) << unit;
    }
}

TEST(Names, WhyAFileCannotBeOpened) {
    TempDir dir;
    test::WriteWhole(dir.Bytes("file"), "x");
    std::filesystem::create_symlink("loop", dir.Bytes("loop"));
    std::filesystem::create_symlink("nowhere/at/all", dir.Bytes("dangling"));
    std::string const longEntry(NAME_MAX + 1, 'n');
    TString const longest(PATH_MAX - 1, u'/'), longInBytes(PATH_MAX / 3 + 1, u'\u20AC');
    struct {
        char const* what;
        TString name;
        OpenMode mode;
        std::uint32_t want;
    } const cases[] = {
        {"empty",                     u"",                       kReading, kFileNotFound },
        {"missing, with a separator", dir.Name("none/"),         kReading, kFileNotFound },
        {"missing here",              u"there is no such file",  kReading, kFileNotFound },
        {"missing at the root",       u"/there is no such file", kReading, kFileNotFound },
        {"link to nothing",           dir.Name("dangling"),      kReading, kFileNotFound },
        {"way missing",               dir.Name("none//file//"),  kReading, kPathNotFound },
        {"way missing, to make",      dir.Name("none/file"),     kMaking,  kPathNotFound },
        {"file as a way",             dir.Name("file/x"),        kReading, kNotADirectory},
        {"endless link",              dir.Name("loop"),          kReading, kBadPathname  },
        {"directory",                 dir.Name("."),             kReading, kAccessDenied },
        {"lone high surrogate",       dir.Name("a") + u"\xD800", kMaking,  kInvalidName  },
        {"component too long",        dir.Name(longEntry),       kMaking,  kInvalidName  },
        {"as long as can be",         longest,                   kReading, kAccessDenied },
        {"too long by one",           longest + u'/',            kReading, kInvalidName  },
        {"too long in bytes alone",   longInBytes,               kReading, kInvalidName  },
    };
    for (auto const& c : cases) EXPECT_EQ(ErrorOfOpening(c.name.c_str(), c.mode), c.want) << c.what;
    EXPECT_EQ(ErrorOfOpening(nullptr, kReading), kFileNotFound);
    EXPECT_EQ(dir.Entries(), 3u);
}

TEST(Errors, EverySystemErrorHasItsNumber) {
    int const errors[] = {0,           ENOENT, EMFILE,    ENFILE,       EACCES, EPERM,      EISDIR,  EBADF,
                          ENOMEM,      EROFS,  EIO,       ETXTBSY,      EBUSY,  EOPNOTSUPP, ENOTSUP, ENETDOWN,
                          ENETUNREACH, ESTALE, ETIMEDOUT, ENODEV,       ENXIO,  EEXIST,     EINVAL,  ENOSPC,
                          EDQUOT,      EFBIG,  ENOSYS,    ENAMETOOLONG, EILSEQ, ELOOP,      ENOTDIR};
    std::uint32_t const numbers[] = {0,  2,  4,  4,  5,  5,  5,  6,   8,   19,  23,  32,  32,  50,  50, 54,
                                     54, 54, 54, 55, 55, 80, 87, 112, 112, 112, 120, 123, 123, 161, 267};
    std::map<int, std::uint32_t> known;
    for (std::size_t i = 0; i < std::size(errors); ++i) known[errors[i]] = numbers[i];
    for (int error = 0; error < 200; ++error) {
        std::uint32_t const want = known.contains(error) ? known[error] : std::uint32_t{kOtherError};
        EXPECT_EQ(ErrorOf(error), want) << strerror(error);
    }
}

TEST(Environment, AValueCountsWhenItFitsWhole) {
    struct {
        char const* value;
        std::uint32_t size;
        TString want;  // "-": untouched
    } const cases[] = {
        {nullptr,            9, u"-"     },
        {"",                 9, u"-"     },
        {"abc",              4, u"abc"   },
        {"abc",              3, u"-"     },
        {"\xE4",             2, u"\xDCE4"},
        {"\xF0\x9F\x98\x80", 2, u"-"     },
    };
    for (auto const& c : cases) {
        c.value ? setenv("TMPDIR", c.value, 1) : unsetenv("TMPDIR");
        TChar buf[9] = u"-";
        EXPECT_EQ(ReadEnvironment(TempDirVariables().back(), buf, c.size), c.want != u"-") << c.want.size();
        EXPECT_EQ(TString(buf), c.want);
    }
    unsetenv("TMPDIR");
}

TEST(Environment, OnlyADirectoryOfTheEffectiveUserIsUsable) {
    TempDir dir;
    test::WriteWhole(dir.Bytes("file"), "x");
    ASSERT_EQ(chmod(dir.Bytes("file").c_str(), 0700), 0);
    SetLastError(kDataError);
    for (auto const& name : {dir.Name("file"), dir.Name("none"), TString(), TString(u"\xD800")}) {
        EXPECT_FALSE(IsUsableDirectory(name.c_str()));
    }
    EXPECT_TRUE(IsUsableDirectory(dir.Name(".").c_str()) && !IsUsableDirectory(nullptr));
    EXPECT_EQ(LastError(), kDataError);

    // Root passes every test of its own rights: another effective user asks then, who is still root by the real one.
    ASSERT_EQ(chmod(dir.Bytes(".").c_str(), geteuid() == 0 ? 0755 : 0500), 0);
    EXPECT_EQ(test::InChild([&] {
                  return (geteuid() != 0 || seteuid(65534) == 0) && !IsUsableDirectory(dir.Name(".").c_str());
              }),
              0);
    ASSERT_EQ(chmod(dir.Bytes(".").c_str(), 0700), 0);
}

}  // namespace vfile::platform
