#include "search.h"

#include <vfile.h>

#include <string>
#include <utility>
#include <vector>

#include "exit_status.h"
#include "file_names.h"
#include "line_counter.h"
#include "streams.h"
#include "text_files.h"

namespace vfile::tool {
namespace {

// Matches on their way to standard output, some thousands at once.
class Answer {
public:
    // `head` begins every line.
    explicit Answer(std::string head) : head_(std::move(head)) {}

    void Add(std::int32_t position, std::int32_t line, std::int32_t column) {
        text_ += head_ + std::to_string(position) + ':' + std::to_string(line) + ':' +
                 std::to_string(column) + '\n';
        if (text_.size() > 256 * 1024) Flush();
    }
    void AddCount(std::int32_t count) { text_ += head_ + std::to_string(count) + '\n'; }

    // False: it could not be written, which has been reported.
    bool Flush() {
        good_ = good_ && WriteToStandardOutput(text_);
        text_.clear();
        return good_;
    }
    bool Good() const { return good_; }

private:
    std::string text_;
    std::string head_;
    bool good_ = true;
};

// The line of one match after the other, in one pass: upwards with the search; for a search downwards once up to the
// first match, and from there line by line back.
template <class File>
class MatchLines {
public:
    explicit MatchLines(File& file, bool back) : file_(file), counter_(file), back_(back) {}

    void GoTo(std::int32_t position) {
        if (back_ && line_ > 0) {
            LineCounter<File> between(file_, position);
            between.GoTo(last_);
            if (between.Line() > 1) start_ = LineStartOf(file_, position);
            line_ -= between.Line() - 1;
        } else {
            counter_.GoTo(position);
            line_ = counter_.Line();
            start_ = counter_.LineStart();
        }
        last_ = position;
    }
    std::int32_t Line() const { return line_; }
    std::int32_t Column() const { return last_ - start_ + 1; }

private:
    File& file_;
    LineCounter<File> counter_;
    bool back_;
    std::int32_t last_ = 0;
    std::int32_t line_ = 0;  // none yet
    std::int32_t start_ = 0;
};

constexpr std::int32_t kNoAnswer = -1;

// Gives the number of matches. `search` is one step of either direction, and moves the position that it is given.
template <class File, class Search>
std::int32_t FindIn(File& file, std::int32_t patternLen, Search&& search, Options const& options,
                    Answer& answer) {
    std::int32_t position = options.start.value_or(options.back ? MaxLen : 0);
    std::int32_t count = 0;
    MatchLines<File> lines(file, options.back);
    while (answer.Good() && search(position)) {
        ++count;
        if (options.count) continue;
        std::int32_t const start = options.back ? position : position - patternLen;
        lines.GoTo(start);
        answer.Add(start, lines.Line(), lines.Column());
    }
    if (options.count) answer.AddCount(count);
    return count;
}

std::int32_t FindBytes(std::string const& name, Options const& options, Answer& answer) {
    VFile file;
    if (!ReadAll(file, name)) return kNoAnswer;
    auto const step = options.back ? &VFile::FindBack : &VFile::Find;
    auto const search = [&](std::int32_t& position) {
        return (file.*step)(position, options.pattern.c_str(), options.ignoreCase, options.wholeWord);
    };
    return FindIn(file, static_cast<std::int32_t>(options.pattern.size()), search, options, answer);
}

std::int32_t FindText(std::string const& name, Options const& options, Answer& answer) {
    TCharVFile text;
    if (!ReadText(text, name, options.fromEncoding)) return kNoAnswer;
    TString const pattern = NameFromBytes(options.pattern);
    auto const search = [&](std::int32_t& position) {
        return options.back ? text.FindBackTChars(position, pattern, options.ignoreCase, options.wholeWord)
                            : text.FindTChars(position, pattern, options.ignoreCase, options.wholeWord);
    };
    return FindIn(text, static_cast<std::int32_t>(pattern.size()), search, options, answer);
}

}  // namespace

int Find(Options const& options) {
    std::vector<std::string> files;
    for (std::string const& given : options.files) {
        for (std::string& file : FilesOf(given)) files.push_back(std::move(file));
    }
    bool failed = false;
    bool found = false;
    for (std::string const& name : files) {
        Answer answer(files.size() > 1 ? name + ":" : std::string());
        std::int32_t const count = (options.asText ? FindText : FindBytes)(name, options, answer);
        failed = failed || count == kNoAnswer || !answer.Flush();
        found = found || count > 0;
    }
    return failed ? kFailed : found ? kDone : kNothingFound;
}

}  // namespace vfile::tool
