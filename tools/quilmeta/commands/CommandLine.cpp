// The command line as a whole: which command it calls, and the options ahead of that.
// SPDX-License-Identifier: Apache-2.0
#include "commands/CommandLine.h"

#include "commands/Commands.h"
#include "commands/OptionTable.h"
#include "commands/Options.h"
#include "commands/UsageMessage.h"
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

/// Returns the words from last to first, as CLI11 wants them; `command` is the place of the
/// command. CLI11 would take the next word for the value of "--node=", which is what a shell makes
/// of --node=''; so this puts an empty word there. "help show" becomes "show --help".
std::vector<std::string> reversedWords(std::vector<std::string> words, size_t command) {
    if (command < words.size() && words[command] == "help") {
        words.erase(words.begin() + static_cast<std::ptrdiff_t>(command));
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
    app.set_help_flag("-h,--help", "Print this help");
    app.require_subcommand(1);
    app.fallthrough();  // our own options may stand behind the command as well
    app.footer(
        "A program quilmeta-X beside this one, or on the path, is run as quilmeta X.\n"
        "Example:\n  quilmeta show robot.kx\nMore: quilmeta help COMMAND");
}

/// Sets how helps are laid out.
void setUpHelp(CLI::FormatterBase& helps) {
    helps.column_width(24);
    helps.label("REQUIRED", "");
    helps.label("SUBCOMMAND", "COMMAND");
    helps.label("SUBCOMMANDS", "COMMANDS");
}

bool isAmong(const std::vector<std::string>* words, std::string_view name) {
    return !words || std::find(words->begin(), words->end(), name) != words->end();
}

/// The place of the first word that is neither an option of the program nor the value of one.
size_t placeOfCommand(const CLI::App& app, const std::vector<std::string>& words) {
    size_t place = 0;
    while (place < words.size() && words[place].substr(0, 1) == "-") {
        const CLI::Option* const option = app.get_option_no_throw(words[place++]);
        if (option && option->get_items_expected_max() > 0) ++place;
    }
    return std::min(place, words.size());
}

}  // namespace

CommandLine::CommandLine() { begin(); }

CommandLine::~CommandLine() = default;

void CommandLine::begin() {
    fCommands.clear();
    fApp = std::make_unique<CLI::App>("Shows and rewrites the metadata of scene files.");
    Options(*fApp).flag("--version", fVersion, "Print the version");
    setUp(*fApp);
    Options(*fApp).repeated("--plugin", "FILE", fPlugins,
                            "Load this plug-in before the command runs");
    Options(*fApp).flag("-q,--quiet", fQuiet, "Say nothing but results and what is wrong");
    Options(*fApp).flag("-v,--verbose", fVerbose, "Say of each file what became of it");
    Options(*fApp).optional("--color", "auto|always|never", fColors, "Whether to print in colours");
}

void CommandLine::addCommands(const Words* listed, const Words* callable) {
    const Command::Help* group = nullptr;
    CLI::App* groupApp = nullptr;
    for (const CommandEntry& entry : kCommands) {
        if (entry.group && !isAmong(listed, entry.group->name)) continue;
        if (entry.group && entry.group != group) {
            groupApp = addApp(*fApp, *entry.group);
            groupApp->require_subcommand(1);
        }
        group = entry.group;
        std::unique_ptr<Command> command = entry.make();
        if (!isAmong(listed, command->help().name)) continue;
        CLI::App* const added = addApp(group ? *groupApp : *fApp, command->help());
        if (isAmong(callable, command->help().name)) addOptions(*added, std::move(command));
    }
}

void CommandLine::addOptions(CLI::App& app, std::unique_ptr<Command> command) {
    Options options(app);
    command->declare(options);
    app.callback([this, called = command.get()] { fCalled = called; });
    fCommands.push_back(std::move(command));
}

// Commands and options take most of the time that the program needs to start, so at first there
// are only those commands whose names are among the words, for no others can be called. What is
// said about commands, in a help or a message, may need the names of all.
Command* CommandLine::parse(int argc, char** argv, Output& output) {
    const Words given(argv + std::min(argc, 1), argv + argc);
    const size_t command = placeOfCommand(*fApp, given);
    const Words words = reversedWords(given, command);
    addCommands(&words, &words);
    fApp->require_subcommand(0, 1);  // --version needs none, and exceptions take long
    bool isRight = true;
    try {
        fApp->parse(Words(words));
    } catch (const CLI::Error&) {
        isRight = false;
    }
    if (fVersion) {
        output.write("quilmeta " QUILMETA_VERSION "\n");
    } else if (isRight && fCalled) {
        applyOptions();
        return fCalled;
    } else {
        explain(words, argv + std::min<size_t>(argc, command + 1), output);
    }
    return nullptr;
}

void CommandLine::explain(const Words& words, char** command, Output& output) {
    begin();
    addCommands(nullptr, &words);
    setUpHelp(*fApp->get_formatter());
    try {
        fApp->parse(Words(words));
    } catch (const CLI::CallForHelp&) {
        if (*command && Called(*fApp).words.empty()) helpForUnknown(command);
        const Called called(*fApp);
        const char* const more =
            called.words.empty() ? "" : "More: -q, -v and --color, see quilmeta --help\n";
        output.write(fittedText(called.help() + more, terminalWidth(output)));
    } catch (const CLI::ParseError& error) {
        if (*command && Called(*fApp).words.empty()) becomeExternalCommand(*command, command + 1);
        throw UsageError(usageMessage(*fApp, error, words));
    }
}

/// Helps with a command that is not ours: after "help" it is the next word.
void CommandLine::helpForUnknown(char** command) const {
    if (std::string_view(*command) != "help") return becomeExternalCommand(*command, command + 1);
    char* const name = command[1];
    if (!name) return;
    char help[] = "--help";
    char* words[] = {help, nullptr};
    becomeExternalCommand(name, words);
    throw UsageError("there is no command " + inQuotes(name) + didYouMean(name, commandsOf(*fApp)));
}

std::vector<CommandRow> CommandLine::table() {
    CommandLine all;
    all.addCommands(nullptr, nullptr);
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
