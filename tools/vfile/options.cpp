#include "options.h"

#include <vfile.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>

#include "escapes.h"
#include "exit_status.h"
#include "file_names.h"
#include "report.h"
#include "streams.h"
#include "text_files.h"

namespace vfile::tool {
namespace {

// Digits and perhaps one of k, m, g for a power of 1024. False for anything else, a sign included. What is more than
// a virtual file can hold means its end like any other place behind it.
bool ParseSize(std::string const& text, std::int32_t& size) {
    char const* const end = text.data() + text.size();
    std::uint64_t number = 0;
    auto const [rest, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc::invalid_argument) return false;
    if (error != std::errc{}) number = MaxLen;  // too many digits
    number = std::min<std::uint64_t>(number, MaxLen);
    if (rest != end) {
        constexpr std::string_view kSuffixes = "kmgKMG";
        auto const which = kSuffixes.find(*rest);
        if (which == std::string_view::npos || rest + 1 != end) return false;
        number <<= 10 * (which % 3 + 1);
    }
    size = static_cast<std::int32_t>(std::min<std::uint64_t>(number, MaxLen));
    return true;
}

void AddSize(CLI::App& app, char const* flag, std::int32_t& size, char const* help) {
    auto const store = [&size, flag](std::string const& given) {
        if (!ParseSize(given, size)) throw CLI::ConversionError(given, flag);
    };
    app.add_option_function<std::string>(flag, store, help)->required()->type_name("BYTES");
}

// "N" or "N..M", lines counted from 1; more than a file can have means its last. False for anything else.
bool ParseLines(std::string const& text, std::int32_t& first, std::int32_t& last) {
    auto const dots = text.find("..");
    bool const one = dots == std::string::npos;
    constexpr std::string_view kDigits = "0123456789";
    for (auto const& number : {text.substr(0, dots), one ? std::string("1") : text.substr(dots + 2)}) {
        if (number.find_first_not_of(kDigits) != std::string::npos) return false;
    }
    if (!ParseSize(text.substr(0, dots), first)) return false;
    if (one) last = first;
    return first > 0 && (one || ParseSize(text.substr(dots + 2), last)) && last >= first;
}

void AddPattern(CLI::App& app, Options& options) {
    app.add_option("PATTERN", options.pattern, "the bytes to find")->required()->type_name("");
}

void AddSearch(CLI::App& app, Options& options) {
    app.add_flag("-i,--ignore-case", options.ignoreCase, "take A to Z and a to z as equal");
    app.add_flag("-w,--whole-word", options.wholeWord, "only where no letter or digit stands next to it");
}

CLI::Option& AddEscapes(CLI::App& app, bool& escapes) {
    return *app.add_flag("-e,--escapes", escapes,
                         "\\n, \\r, \\t, \\xHH and \\\\ stand for the bytes they name");
}

void AddFile(CLI::App& app, Options& options) {
    app.add_option("FILE", options.file, "the file to read, - for standard input")->required()->type_name("");
}

// Each argument is a name as it stands: where one that takes a list may have more, "[a,b]" is taken for a list.
void AddFiles(CLI::App& app, Options& options) {
    constexpr int kAny = CLI::detail::expected_max_vector_size;
    app.add_option("FILE", options.files, "the files to read, - for standard input; * and ? in the last part")
        ->required()
        ->expected(kAny, kAny)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("");
}

void AddInPlace(CLI::App& app, Options& options) {
    app.add_flag("--in-place", options.inPlace, "write FILE itself, as -o FILE does");
}

void AddOutput(CLI::App& app, Options& options) {
    app.add_option(
           "-o,--output", options.output,
           "the file to write, - for standard output; may be FILE itself, which has been read by then")
        ->type_name("OUT");
    AddInPlace(app, options);
}

CLI::App& AddSubcommand(CLI::App& app, Options& options, char const* name, Options::Command command,
                        char const* help) {
    CLI::App* const sub = app.add_subcommand(name, help);
    sub->callback([&options, command] { options.command = command; });
    return *sub;
}

// One that begins with its file.
CLI::App& AddCommand(CLI::App& app, Options& options, char const* name, Options::Command command,
                     char const* help) {
    CLI::App& sub = AddSubcommand(app, options, name, command, help);
    AddFile(sub, options);
    return sub;
}

CLI::Option& AddEncoding(CLI::App& app, char const* flag, std::optional<Encoding>& encoding,
                         char const* help) {
    auto const store = [&encoding, flag](std::string const& given) {
        encoding = EncodingOf(given);
        if (!encoding) throw CLI::ValidationError(flag, "'" + given + "' is none of " + kEncodingNames);
    };
    return *app.add_option_function<std::string>(flag, store, help)->type_name("ENC");
}

// For what works on bytes unless told to see characters.
void AddText(CLI::App& app, Options& options) {
    CLI::Option* const text =
        app.add_flag("--text", options.asText,
                     "work in characters, on a file of any encoding that its mark tells (ansi without one)");
    AddEncoding(app, "--encoding", options.fromEncoding,
                "with --text: the encoding of FILE, whatever its mark")
        .needs(text);
}

void AddConvert(CLI::App& app, Options& options) {
    CLI::App& convert = AddCommand(app, options, "convert", Options::Command::kConvert,
                                   "Write a text file in another encoding: ansi (that of the locale),\n"
                                   "utf-8, utf-16 (low byte first) or utf-16be");
    convert.add_option("OUT", options.output, "the file to write; may be FILE itself")->type_name("");
    AddInPlace(convert, options);
    auto const to = [&options](std::string const& given) {
        auto const encoding = EncodingOf(given);
        if (!encoding) throw CLI::ValidationError("--to", "'" + given + "' is none of " + kEncodingNames);
        options.toEncoding = *encoding;
    };
    convert.add_option_function<std::string>("--to", to, "encoding of OUT")->required()->type_name("ENC");
    AddEncoding(convert, "--from", options.fromEncoding,
                "encoding of FILE; else its mark tells, and without one it is ansi");
    auto const mark = [&options](std::int64_t given) { options.mark = given > 0; };
    convert.add_flag_function(
        "--bom,!--no-bom", mark,
        "begin OUT with the encoding's mark, or do not; else utf-16 and utf-16be have one");
}

void AddFind(CLI::App& app, Options& options) {
    CLI::App& find = AddSubcommand(
        app, options, "find", Options::Command::kFind,
        "Print where a pattern stands, as POSITION:LINE:COLUMN, each match on a line of its own; where\n"
        "there are several files, their names come first");
    AddPattern(find, options);
    AddFiles(find, options);
    AddSearch(find, options);
    AddEscapes(find, options.escapes);
    AddText(find, options);
    find.add_flag("--back", options.back, "search backward, from the end");
    find.add_flag("--count", options.count, "print the number of matches alone");
    auto const start = [&options](std::string const& given) {
        if (!ParseSize(given, options.start.emplace())) throw CLI::ConversionError(given, "--from");
    };
    find.add_option_function<std::string>("--from", start, "where to begin instead")->type_name("BYTES");
}

void AddReplace(CLI::App& app, Options& options) {
    CLI::App& replace = AddSubcommand(app, options, "replace", Options::Command::kReplace,
                                      "Replace all matches of a pattern, and print their number");
    AddPattern(replace, options);
    replace.add_option("REPLACEMENT", options.replacement, "what takes its place")->required()->type_name("");
    AddFile(replace, options);
    AddSearch(replace, options);
    AddEscapes(replace, options.escapes);
    AddText(replace, options);
    AddOutput(replace, options);
}

void AddCommands(CLI::App& app, Options& options) {
    using Command = Options::Command;
    AddCommand(app, options, "info", Command::kInfo,
               "Tell the size of a file, its byte-order mark and its lines");

    AddCommand(app, options, "backup", Command::kBackup,
               "Copy a file to its next free backup name, and print that name");

    AddConvert(app, options);

    CLI::App& cut =
        AddCommand(app, options, "cut", Command::kCut, "Write a range of a file to standard output");
    AddSize(cut, "--at", options.at, "where the range starts");
    AddSize(cut, "--len", options.len, "how long it is");

    CLI::App& insert =
        AddCommand(app, options, "insert", Command::kInsert, "Insert a text or a file into a file");
    AddSize(insert, "--at", options.at, "where to insert");
    CLI::Option_group* const source = insert.add_option_group("source", "What to insert");
    CLI::Option* const text =
        source->add_option("--text", options.text, "this text, byte for byte")->type_name("TEXT");
    source->add_option("--from", options.from, "all of this file, - for standard input")->type_name("FILE");
    source->require_option(1);
    AddEscapes(insert, options.escapes).needs(text);
    AddOutput(insert, options);

    CLI::App& del = AddCommand(app, options, "delete", Command::kDelete, "Delete a range of a file");
    AddSize(del, "--at", options.at, "where the range starts");
    AddSize(del, "--len", options.len, "how long it is");
    AddOutput(del, options);

    AddFind(app, options);
    AddReplace(app, options);

    CLI::App& lines = AddCommand(app, options, "lines", Command::kLines, "Write lines to standard output");
    auto const range = [&options](std::string const& given) {
        if (!ParseLines(given, options.firstLine, options.lastLine))
            throw CLI::ConversionError(given, "N[..M]");
    };
    lines.add_option_function<std::string>("N[..M]", range, "which lines, counted from 1")
        ->required()
        ->type_name("");
}

void AddSettings(CLI::App& app, Options& options) {
    app.add_option("--cache", options.cacheKilobytes, "memory to use for the bytes of files, in kilobytes")
        ->check(CLI::Range(0, INT16_MAX).description(""))
        ->type_name("KB");
    app.add_option("--tmp", options.tempDir, "directory for what does not fit into it")
        ->check(CLI::Validator(CLI::ExistingDirectory).description(""))
        ->type_name("DIR");
    auto const say = [&](char const* flag, Voice voice, char const* help) {
        return app.add_flag_callback(
            flag, [&options, voice] { options.voice = voice; }, help);
    };
    CLI::Option* const quiet = say("--quiet", Voice::kQuiet, "no progress, and no count of replacements");
    say("--verbose", Voice::kVerbose,
        "tell what is read and written, how long it takes and in how much memory")
        ->excludes(quiet);
    app.set_version_flag("--version", "vfile " VFILE_VERSION);
}

// The bytes that were meant. What goes in by insert may have any.
void UndoEscapes(Options& options) {
    auto const undo = [](std::string& text, bool ofSearch) {
        auto bytes = Unescaped(text);
        if (!bytes) throw CLI::ValidationError("--escapes", "'" + text + "' has a bad escape");
        if (ofSearch && bytes->find('\0') != std::string::npos)
            throw CLI::ValidationError(
                "--escapes", "'" + text + "' has a zero byte, which cannot be searched for or put in");
        text = std::move(*bytes);
    };
    undo(options.pattern, true);
    undo(options.replacement, true);
    if (options.text) undo(*options.text, false);
}

// FILE came first once. Who still writes it so is told where it shows.
void CheckOrder(std::string const& pattern, std::string const& file, char const* order) {
    if (IsFile(file) || !IsFile(pattern)) return;
    throw CLI::ValidationError(
        "FILE", "there is no '" + file + "', but '" + pattern + "' is a file: the order is " + order);
}

// What the options cannot say of each other one by one.
void CheckTogether(Options& options) {
    using Command = Options::Command;
    if (options.file == kStandardStream && options.from == kStandardStream)
        throw CLI::ValidationError("--from", "standard input is FILE already");
    bool const searches = options.command == Command::kFind || options.command == Command::kReplace;
    if (searches && options.pattern.empty()) throw CLI::ValidationError("PATTERN", "nothing to find");
    if (options.files.size() == 1) CheckOrder(options.pattern, options.files[0], "find PATTERN FILE...");
    if (options.command == Command::kReplace)
        CheckOrder(options.pattern, options.file, "replace PATTERN REPLACEMENT FILE");
    if (options.escapes) UndoEscapes(options);
    bool const writes = options.command == Command::kInsert || options.command == Command::kDelete ||
                        options.command == Command::kReplace || options.command == Command::kConvert;
    if (writes && options.output.empty() != options.inPlace)
        throw CLI::ValidationError("OUT", "either it or --in-place is wanted");
    if (!options.inPlace) return;
    if (options.file == kStandardStream)
        throw CLI::ValidationError("--in-place", "standard input has no place");
    options.output = options.file;
}

}  // namespace

std::optional<int> ParseOptions(int argc, char const* const* argv, Options& options) {
    CLI::App app("Looks at files and edits them by position, with little memory whatever their size.",
                 "vfile");
    app.footer(
        "Positions count bytes from 0; one behind the end of a file means its end. BYTES is a number, with "
        "k, m\n"
        "or g behind it in units of 1024, 1024^2 or 1024^3.\n"
        "Exit status: 0 done, 1 nothing found, 2 failure or wrong usage.");
    app.require_subcommand(1);
    app.fallthrough();
    AddSettings(app, options);
    AddCommands(app, options);
    try {
        app.parse(argc, argv);
        CheckTogether(options);
    } catch (CLI::ParseError const& error) {
        if (error.get_exit_code() == 0) return app.exit(error) == 0 ? kDone : kFailed;
        ReportText(std::string(error.what()) +
                   "\nRun 'vfile --help' or 'vfile COMMAND --help' for its usage.");
        return kFailed;
    }
    return std::nullopt;
}

}  // namespace vfile::tool
