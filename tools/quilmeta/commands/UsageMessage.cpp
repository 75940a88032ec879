// Says what is wrong with the words of a command line.
// SPDX-License-Identifier: Apache-2.0
#include "commands/UsageMessage.h"

#include "selection/FileList.h"
#include "values/ClosestName.h"
#include "values/SafeText.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

namespace orbo::Quilmeta {

namespace {

/// The options of the command and of those it belongs to, with their dashes.
std::vector<std::string> optionsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* app = &command; app; app = app->get_parent())
        for (const CLI::Option* option : app->get_options())
            for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

/// True when the command itself has the option that the word names.
bool hasOption(const CLI::App& command, const std::string& word) {
    return command.get_option_no_throw(word.substr(0, word.find('='))) != nullptr;
}

/// Says how to name a file whose name was taken for options; empty when no word is one.
std::string hintAtFile(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        std::error_code error;
        if (word.empty() || word.front() != '-' || !std::filesystem::exists(word, error)) continue;
        return fmt::format(", the file {} is given as {}", inQuotes(word), inQuotes("./" + word));
    }
    return {};
}

/// The first word of a command that takes a file and assignments, if there is no other.
std::string onlyWord(const CLI::App& command) {
    const CLI::Option* const file = command.get_option_no_throw("FILE");
    return file && file->count() == 1 ? file->results().front() : "";
}

/// Says which option lacks its value; empty when none does. CLI11 says "--where: 1 required
/// EXPRESSION missing".
std::string valueless(const CLI::App& command, const std::string& what) {
    const std::string name = what.substr(0, what.find(':'));
    const CLI::Option* option = nullptr;
    for (const CLI::App* app = &command; app && !option; app = app->get_parent())
        option = app->get_option_no_throw(name);
    if (!option || option->get_items_expected_max() == 0) return {};
    return name + " needs a value: " + name + ' ' + option->get_type_name();
}

/// Says which flag was given a value; empty for other errors. CLI11 says "Could not convert:
/// --files = x".
std::string valueOfFlag(const CLI::App& command, const CLI::ParseError& error) {
    if (!dynamic_cast<const CLI::ConversionError*>(&error)) return {};
    for (const CLI::App* app = &command; app; app = app->get_parent())
        for (const CLI::Option* option : app->get_options())
            if (option->get_items_expected_max() == 0 && option->count() > 0 &&
                std::string_view(error.what()).find(option->get_name() + " = ") !=
                    std::string_view::npos)
                return option->get_name() + " takes no value";
    return {};
}

/// Says which option has more values than the one that it takes; empty when none has.
std::string givenTwice(const CLI::App& command) {
    for (const CLI::App* app = &command; app; app = app->get_parent())
        for (const CLI::Option* option : app->get_options())
            if (!option->get_lnames().empty() && option->count() > 1 &&
                option->get_items_expected_max() == 1)
                return "--" + option->get_lnames().front() + " is given twice";
    return {};
}

}  // namespace

Called::Called(const CLI::App& app) : command(&app) {
    for (auto next = app.get_subcommands(); !next.empty(); next = command->get_subcommands()) {
        words += (words.empty() ? "quilmeta" : ' ' + command->get_name());
        command = next.front();
    }
}

std::vector<std::string> commandsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    return names;
}

std::string usageMessage(const CLI::App& app, const CLI::ParseError& error,
                         const std::vector<std::string>& words) {
    const CLI::App& called = *Called(app).command;
    const std::vector<std::string> rest = app.remaining(true);
    const bool wantsCommand = called.get_require_subcommand_min() > 0;
    const bool isMismatch = dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr;
    std::string twice = isMismatch ? givenTwice(called) : "";
    if (!twice.empty()) return twice;
    std::string lacking = isMismatch ? valueless(called, error.what()) : "";
    if (!lacking.empty()) return lacking;
    std::string flag = valueOfFlag(called, error);
    if (!flag.empty()) return flag;
    if (std::string_view(error.what()).substr(0, 12) == "MEMBER=VALUE" &&
        isAssignment(onlyWord(called)))
        return noFileBut(onlyWord(called));
    if (rest.empty()) return wantsCommand ? "a command is required" : error.what();
    // CLI11 would only say that a subcommand is missing, even when it does not know the word.
    const std::string& word = rest.front();
    const std::string command = Called(app).words + ' ' + called.get_name();
    if (hasOption(called, word))
        return inQuotes(word) + " belongs behind the command: " + command + ' ' + word;
    if (word == "help")
        return "\"help\" comes first: quilmeta help" + command.substr(command.find(' '));
    if (!word.empty() && word.front() == '-') {
        const std::string file = hintAtFile(words);
        return "there is no option " + inQuotes(word) +
               (file.empty() ? didYouMean(word, optionsOf(called)) : file);
    }
    if (!wantsCommand) return inQuotes(word) + " is one word too many";
    return "there is no command " + inQuotes(word) + didYouMean(word, commandsOf(called));
}

}  // namespace orbo::Quilmeta
