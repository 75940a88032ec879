// The options and words that a command takes.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Options.h"

#include "json/JsonText.h"
#include "patches/ChangeReport.h"
#include "scene/Backup.h"
#include "values/ParseValue.h"

#include <CLI/CLI.hpp>

namespace orbo::Quilmeta {

namespace {

constexpr const char* kJsonStrings = "--json-strings";

/// Checks the value of --wait. Returns what is wrong with it; empty when it is good.
std::string problemOfSeconds(const std::string& text) {
    constexpr double kLongest = 24 * 60 * 60;
    double seconds = -1;
    const bool isNumber = CLI::detail::lexical_cast(text, seconds);
    if (isNumber && seconds >= 0 && seconds <= kLongest) return {};
    return '"' + text + "\" is no number of seconds from 0 to 86400";
}

/// Checks the value of --jobs, as `problemOfSeconds` does.
std::string problemOfJobs(const std::string& text) {
    constexpr unsigned kMost = 1024;
    unsigned jobs = 0;
    if (parseValue(text, jobs) == Parsed::kGood && jobs > 0 && jobs <= kMost) return {};
    return '"' + text + "\" is no number of jobs from 1 to 1024";
}

/// Adds all remaining words. With extra arguments allowed, CLI11 would take "[a,b]" apart. So this
/// expects more words than anybody can give; CLI11 accepts fewer.
CLI::Option& addWords(CLI::App& command, const char* name, std::vector<std::string>& values,
                      const char* description) {
    constexpr int kMost = CLI::detail::expected_max_vector_size;
    return *command.add_option(name, values, description)
                ->type_name("")
                ->expected(kMost, kMost)
                ->allow_extra_args(false)
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

}  // namespace

void Options::word(const char* name, std::string& value, const char* description) {
    fCommand.add_option(name, value, description)->required()->type_name("");
}

void Options::choice(const char* name, const char* type, std::string& value,
                     const char* description) {
    fCommand.add_option(name, value, description)->required()->type_name(type);
}

void Options::optionalWords(const char* name, std::vector<std::string>& values,
                            const char* description) {
    addWords(fCommand, name, values, description);
}

void Options::words(const char* name, std::vector<std::string>& values, const char* description) {
    addWords(fCommand, name, values, description).required();
}

void Options::files(FileArguments& files, const char* description) {
    addWords(fCommand, "FILE", files.words, description);
    fileOptions(files);
}

void Options::fileOptions(FileArguments& files) {
    flag("-r,--recursive", files.recursive, "Take the scenes in folders, and in theirs");
    repeated("--include", "GLOB", files.includes, "In folders, take only files of this name");
    repeated("--exclude", "GLOB", files.excludes, "In folders, leave out this name");
    optional("--files-from", "LIST", files.filesFrom, "Also take the files on the lines of LIST");
    optional("--files0-from", "LIST", files.files0From, "The same, each name ended by a NUL");
    fCommand
        .add_option("-j,--jobs", files.jobs, "Files at once; as many as processors unless given")
        ->type_name("N")
        ->check(problemOfJobs);
}

void Options::address(StreamAddress& address) {
    required("--node", "NAME", address.node, "Node with the metadata; '' is the scene");
    required("--channel", "NAME", address.channel, "Channel of the node");
    required("--stream", "NAME", address.stream, "Stream of the channel");
}

void Options::selection(SelectionArguments& selection) {
    repeated("--node", "GLOB", selection.nodes, "Only these nodes; '' is the scene");
    repeated("--channel", "GLOB", selection.channels, "Only these channels");
    repeated("--stream", "GLOB", selection.streams, "Only these streams");
    flag("-F,--fixed", selection.fixed, "Take names as they are, not as patterns");
}

void Options::lookup(LookupArguments& lookup) {
    repeated("--define", "NAME=VALUE", lookup.definitions,
             "The value of a variable in paths; the environment has the others");
    optional("--tiles", "LIST", lookup.tiles,
             "Tiles that a path with tiles must have, such as 1001-1010,1021");
}

void Options::results(ResultFormat& format) {
    const CLI::Option* const json = fCommand.add_flag_function(
        "--json", [&format](std::int64_t) { format = ResultFormat::kJson; },
        "Print one JSON document");
    fCommand.add_flag_function(
        "--jsonl",
        [&format, json](std::int64_t) {
            if (json->count() > 0)
                throw CLI::ParseError("--json and --jsonl exclude each other",
                                      CLI::ExitCodes::ExcludesError);
            format = ResultFormat::kJsonLines;
        },
        "Print JSON, a line for each result");
    fCommand.add_flag_function(
        kJsonStrings,
        [&format](std::int64_t) {
            if (format == ResultFormat::kText) format = ResultFormat::kJson;
            setWideIntegers(WideIntegers::kStrings);
        },
        "JSON with 64-bit integers as strings");
}

void Options::wideIntegers() {
    fCommand.add_flag_function(
        kJsonStrings, [](std::int64_t) { setWideIntegers(WideIntegers::kStrings); },
        "Write 64-bit integers as strings");
}

void Options::flag(const char* name, bool& value, const char* description) {
    fCommand.add_flag(name, value, description);
}

void Options::required(const char* name, const char* type, std::string& value,
                       const char* description) {
    fCommand.add_option(name, value, description)->required()->type_name(type);
}

void Options::optional(const char* name, const char* type, std::optional<std::string>& value,
                       const char* description) {
    // CLI11 would make no value of an empty word.
    fCommand
        .add_option_function<std::string>(
            name, [&value](const std::string& text) { value = text; }, description)
        ->type_name(type);
}

void Options::repeated(const char* name, const char* type, std::vector<std::string>& values,
                       const char* description) {
    fCommand.add_option(name, values, description)->type_name(type)->allow_extra_args(false);
}

void Options::wait(SceneAccess& access) {
    fCommand
        .add_option("--wait", access.wait,
                    "How long to wait for others that use a scene; 10 unless given")
        ->type_name("SECONDS")
        ->check(problemOfSeconds);
}

void Options::reading(SceneAccess& access) {
    flag("--partial", access.partial, "Also take what can be read of a damaged node");
    wait(access);
}

void Options::writing(SceneAccess& access) {
    wait(access);
    access.writes = true;
    access.showChanges = showDryRun;
    results(access.format);
    flag("--no-journal", access.noJournal,
         "Write in place; a kill in the middle damages the scene");
    fCommand
        .add_option("--backup", access.backup,
                    "First copy each scene that changes to its name with SUFFIX")
        ->type_name("SUFFIX")
        ->check(problemOfSuffix);
    flag("-n,--dry-run", access.dryRun,
         "Check and report everything, end as a real run would, and write nothing");
}

}  // namespace orbo::Quilmeta
