#include "backup.h"

#include <vfile.h>

#include "exit_status.h"
#include "report.h"
#include "streams.h"

namespace vfile::tool {
namespace {

// A name taken apart, whose extension steps from backup to backup.
class BackupName {
public:
    explicit BackupName(TChar const* name) {
        HFile::SplitName(drive_, kUnits, dir_, kUnits, stem_, kUnits, ext_, kUnits, name);
    }

    bool Next() { return HFile::GetNextBackupExt(ext_, kUnits); }
    TChar const* Name() {
        HFile::BuildName(name_, kUnits, drive_, dir_, stem_, ext_);
        return name_;
    }

private:
    static constexpr std::uint32_t kUnits = 4096;  // more than any system takes
    TChar drive_[kUnits], dir_[kUnits], stem_[kUnits], ext_[kUnits], name_[kUnits];
};

}  // namespace

// The copy refuses a name that is taken, so that two who make backups at once never share one.
int Backup(Options const& options) {
    if (options.file == kStandardStream) {
        ReportText("standard input has no name to make a backup name of");
        return kFailed;
    }
    TString const file = NameFromBytes(options.file);
    BackupName backup(file.c_str());
    Step const copying;
    FileRes code = ResAlreadyExists;
    while (code == ResAlreadyExists) {
        if (!backup.Next()) {
            ReportText(options.file + ": no free backup name is left");
            return kFailed;
        }
        HFile::Copy(file.c_str(), backup.Name(), code, false);
    }
    if (code != ResDone) {
        bool const isThere = HFile::Exists(file.c_str());
        ReportFailure(isThere ? options.file + " to " + BytesFromName(backup.Name()) : options.file, code);
        return kFailed;
    }
    copying.Tell("copied " + options.file);
    return WriteToStandardOutput(BytesFromName(backup.Name()) + "\n") ? kDone : kFailed;
}

}  // namespace vfile::tool
