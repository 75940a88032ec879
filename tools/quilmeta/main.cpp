// quilmeta: shows and rewrites the metadata of scene files.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Outcome.h"
#include "process/Signals.h"
#include "values/SafeText.h"

#include <fcntl.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace orbo::Quilmeta;

/// Were one of the three closed, a scene would be opened in its place and messages written into it.
/// A result that nobody can take is then an error, as it should be: these are read-only.
void occupyStandardStreams() {
    int descriptor = 0;
    do {
        descriptor = ::open("/dev/null", O_RDONLY);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO) ::close(descriptor);
}

void addCommands(CLI::App& app, Output& output, int& exitCode) {
    app.name("quilmeta");
    app.set_version_flag("--version", "quilmeta " QUILMETA_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.get_formatter()->column_width(24);
    app.get_formatter()->label("REQUIRED", "");
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("SUBCOMMANDS", "COMMANDS");
    app.require_subcommand(1);
    app.footer("Example:\n  quilmeta show robot.kx\nMore: quilmeta COMMAND --help");
    addShow(app, output, exitCode);
    addExport(app, output, exitCode);
    addSet(app, output, exitCode);
    addCopy(app, output, exitCode);
    addRefs(app, output, exitCode);
    addCheck(app, output, exitCode);
    addRecover(app, output, exitCode);
    for (CLI::App* command : app.get_subcommands({})) command->group("Commands");
}

/// From last to first, as CLI11 wants them. It would take the next word for the value of "--node=",
/// which is what a shell makes of --node=''.
std::vector<std::string> arguments(int argc, char** argv) {
    std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
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

/// The command that was called, which may be one of another command, and the words that call it.
struct Called {
    explicit Called(const CLI::App& app) : command(&app) {
        for (auto next = app.get_subcommands(); !next.empty(); next = command->get_subcommands()) {
            words += (words.empty() ? "quilmeta" : ' ' + command->get_name());
            command = next.front();
        }
    }
    [[nodiscard]] std::string help() const { return command->help(words); }

    const CLI::App* command;
    std::string words;  ///< ahead of the command's own name
};

int refuse(const CLI::App& app, const CLI::ParseError& error) {
    const Called called(app);
    std::string message = error.what();
    if (called.command->get_require_subcommand_min() > 0) {
        const auto words = app.remaining(true);
        message = words.empty() ? "a command is required"
                                : "there is no command or option " + inQuotes(words.front());
    }
    const std::string name = called.command->get_name();
    complain("", message + "\nsee " + (called.words.empty() ? name : called.words + ' ' + name) +
                     " --help");
    return exitCodeOf(Outcome::kUsage);
}

int run(int argc, char** argv) {
    Output output(STDOUT_FILENO, "standard output");
    int exitCode = exitCodeOf(Outcome::kDone);
    CLI::App app("Shows and rewrites the metadata of scene files.");
    addCommands(app, output, exitCode);
    try {
        app.parse(arguments(argc, argv));
    } catch (const CLI::CallForHelp&) {
        output.write(Called(app).help());
    } catch (const CLI::CallForVersion& version) {
        output.write(std::string(version.what()) + '\n');
    } catch (const CLI::ParseError& error) {
        return refuse(app, error);
    }
    output.flush();
    return exitCode;
}

int guardedRun(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const ReaderGone&) {
        // Nobody is interested any more.
    } catch (const Interrupted&) {
        // The signal says it.
    } catch (const std::exception& error) {
        complain("", error.what());
    }
    return exitCodeOf(Outcome::kFailed);
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    Signals::noteThem();
    // A limit on the size of files must not kill us in the middle of one: the write fails instead,
    // and what was there is put back.
    std::signal(SIGXFSZ, SIG_IGN);
    const int exitCode = guardedRun(argc, argv);
    if (const int signal = Signals::received(); signal != 0) Signals::endBy(signal);
    return exitCode;
}
