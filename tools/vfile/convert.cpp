#include "convert.h"

#include <vfile.h>

#include "exit_status.h"
#include "report.h"
#include "text_files.h"

namespace vfile::tool {

// Where nothing is said, UTF-16 gets its mark, by which others know it; UTF-8 gets none.
int Convert(Options const& options) {
    TCharVFile text;
    auto const was = ReadText(text, options.file, options.fromEncoding);
    if (!was) return kFailed;
    TextForm const form{options.toEncoding, options.mark.value_or(IsUtf16(options.toEncoding))};
    if (options.inPlace && Holds(options.file, *was, text, form)) {
        TellUntouched(options.file);
        return kDone;
    }
    return WriteText(text, options.output, form) ? kDone : kFailed;
}

}  // namespace vfile::tool
