#include "convert.h"

#include <vfile.h>

#include "exit_status.h"
#include "text_files.h"

namespace vfile::tool {

// Where nothing is said, UTF-16 gets its mark, by which others know it; UTF-8 gets none.
int Convert(Options const& options) {
    TCharVFile text;
    bool const utf16 =
        options.toEncoding == TCharVFile::EncodingUtf16 || options.toEncoding == TCharVFile::EncodingUtf16BE;
    bool const done = ReadText(text, options.file, options.fromEncoding) &&
                      WriteText(text, options.output, {options.toEncoding, options.mark.value_or(utf16)});
    return done ? kDone : kFailed;
}

}  // namespace vfile::tool
