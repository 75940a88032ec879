// The command line as a whole: which command it calls, and the options ahead of that.
// SPDX-License-Identifier: Apache-2.0
#include "commands/CommandLine.h"

#include "commands/Commands.h"
#include "commands/OptionTable.h"
#include "commands/Options.h"
#include "output/FittedText.h"
#include "process/CommandError.h"
#include "process/ExternalCommand.h"
#include "process/Messages.h"
#include "process/StatusLine.h"
#include "process/Style.h"
#include "process/TerminalWidth.h"
#include "values/ClosestName.h"
#include "values/SafeText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <utility>

namespace orbo::Quilmeta {

namespace {

/// Returns the words from last to first, as CLI11 wants them. CLI11 would take the next word for
/// the value of "--node=", which is what a shell makes of --node=''; so this puts an empty word
/// there. "help show" becomes "show --help".
std::vector<std::string> reversedWords(int argc, char** argv) {
    std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    const auto end = std::find(words.begin(), words.end(), "--");
    std::vector<std::string> result(std::make_reverse_iterator(words.end()),
                                    std::make_reverse_iterator(end));
    for (auto word = std::make_reverse_iterator(end); word != words.rend(); ++word) {
        const bool emptyValue = word->size() > 3 && word->compare(0, 2, "--") == 0 &&
                                word->find('=') == word->size() - 1;
        if (emptyValue) result.emplace_back();
        result.push_back(emptyValue ? word->substr(0, word->size() - 1) : *word);
    }
    return result;
}

/// The innermost command that the parsed words name, and the words in front of its own name.
struct Called {
    explicit Called(const CLI::App& app) : command(&app) {
        for (auto next = app.get_subcommands(); !next.empty(); next = command->get_subcommands()) {
            words += (words.empty() ? "quilmeta" : ' ' + command->get_name());
            command = next.front();
        }
    }
    [[nodiscard]] std::string help() const { return command->help(words); }

    const CLI::App* command;
    std::string words;
};

/// The options of the command and of those it belongs to, with their dashes.
std::vector<std::string> optionsOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* app = &command; app; app = app->get_parent())
        for (const CLI::Option* option : app->get_options())
            for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

/// The commands that may follow this one.
std::vector<std::string> commandsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    return names;
}

/// Says what is wrong.
std::string usageMessage(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& called = *Called(app).command;
    const std::vector<std::string> rest = app.remaining(true);
    const bool wantsCommand = called.get_require_subcommand_min() > 0;
    if (rest.empty()) return wantsCommand ? "a command is required" : error.what();
    // CLI11 would only say that a subcommand is missing, even when it does not know the word.
    const std::string& word = rest.front();
    if (!word.empty() && word.front() == '-')
        return "there is no option " + inQuotes(word) + didYouMean(word, optionsOf(called));
    if (!wantsCommand) return error.what();
    return "there is no command " + inQuotes(word) + didYouMean(word, commandsOf(called));
}

/// Adds a command, or a group of commands, to the help and to the words that are understood.
CLI::App* addApp(CLI::App& app, const Command::Help& help) {
    CLI::App* added = app.add_subcommand(help.name, help.summary);
    added->footer(help.details + 1);  // without the line feed ahead
    added->group("Commands");
    return added;
}

/// Sets the help and the options of the program itself.
void setUp(CLI::App& app) {
    app.name("quilmeta");
    app.set_version_flag("--version", "quilmeta " QUILMETA_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.get_formatter()->column_width(24);
    app.get_formatter()->label("REQUIRED", "");
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("SUBCOMMANDS", "COMMANDS");
    app.require_subcommand(1);
    app.fallthrough();  // our own options may stand behind the command as well
    app.footer(
        "A program quilmeta-X beside this one, or on the path, is run as quilmeta X.\n"
        "Example:\n  quilmeta show robot.kx\nMore: quilmeta help COMMAND");
}

}  // namespace

CommandLine::CommandLine()
    : fApp(std::make_unique<CLI::App>("Shows and rewrites the metadata of scene files.")) {
    setUp(*fApp);
    Options(*fApp).repeated("--plugin", "FILE", fPlugins,
                            "Load this plug-in before the command runs");
    Options(*fApp).flag("-q,--quiet", fQuiet, "Say nothing but results and what is wrong");
    Options(*fApp).flag("-v,--verbose", fVerbose, "Say of each file what became of it");
    Options(*fApp).optional("--color", "auto|always|never", fColors, "Whether to print in colours");
}

CommandLine::~CommandLine() = default;

void CommandLine::addCommands(const std::vector<std::string>* words) {
    const Command::Help* group = nullptr;
    CLI::App* groupApp = nullptr;
    for (const CommandEntry& entry : kCommands) {
        if (entry.group && entry.group != group) {
            groupApp = addApp(*fApp, *entry.group);
            groupApp->require_subcommand(1);
        }
        group = entry.group;
        add(group ? *groupApp : *fApp, entry.make(), words);
    }
}

// Options take most of the time that the program needs to start, so only commands whose name is
// among the words get theirs. No other can be called, or asked for help.
void CommandLine::add(CLI::App& app, std::unique_ptr<Command> command,
                      const std::vector<std::string>* words) {
    const Command::Help& help = command->help();
    CLI::App* added = addApp(app, help);
    if (words && std::find(words->begin(), words->end(), help.name) == words->end()) return;
    Options options(*added);
    command->declare(options);
    added->callback([this, called = command.get()] { fCalled = called; });
    fCommands.push_back(std::move(command));
}

// The callback of a command only notes that it was called. It runs later, so that plug-ins can be
// loaded first, and so that its exceptions do not pass through CLI11.
Command* CommandLine::parse(int argc, char** argv, Output& output) {
    std::vector<std::string> words = reversedWords(argc, argv);
    addCommands(&words);
    try {
        fApp->parse(std::move(words));
    } catch (const CLI::CallForHelp&) {
        const bool namesCommand = argc > 2 && std::string_view(argv[1]) == "help";
        if (namesCommand && Called(*fApp).words.empty())
            throw UsageError("there is no command " + inQuotes(argv[2]) +
                             didYouMean(argv[2], commandsOf(*fApp)));
        output.write(fittedText(Called(*fApp).help(), terminalWidth(output)));
        return nullptr;
    } catch (const CLI::CallForVersion& version) {
        output.write(std::string(version.what()) + '\n');
        return nullptr;
    } catch (const CLI::ParseError& error) {
        if (argc > 1 && Called(*fApp).words.empty()) becomeExternalCommand(argv[1], argv + 2);
        throw UsageError(usageMessage(*fApp, error));
    }
    applyOptions();
    return fCalled;
}

std::vector<CommandRow> CommandLine::table() {
    CommandLine all;
    all.addCommands(nullptr);
    return commandTable(*all.fApp);
}

void CommandLine::applyOptions() const {
    if (fQuiet && fVerbose) throw UsageError("--quiet and --verbose exclude each other");
    if (fQuiet) {
        setVerbosity(Verbosity::kQuiet);
        StatusLine::turnOff();
    }
    if (fVerbose) setVerbosity(Verbosity::kVerbose);
    const std::string colors = fColors.value_or("auto");
    if (colors == "always")
        setColors(Colors::kAlways);
    else if (colors == "never")
        setColors(Colors::kNever);
    else if (colors != "auto")
        throw UsageError(inQuotes(colors) + " is not auto, always or never");
}

std::string CommandLine::helpCommand() const {
    const Called called(*fApp);
    const std::string name = called.command->get_name();
    return (called.words.empty() ? name : called.words + ' ' + name) + " --help";
}

}  // namespace orbo::Quilmeta
