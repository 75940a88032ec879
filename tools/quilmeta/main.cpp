// quilmeta: shows and rewrites the metadata of scene files.
// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "SafeText.h"
#include "Trouble.h"

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

int refuse(const CLI::App& app, const CLI::ParseError& error) {
    std::string message = error.what();
    std::string help = "see quilmeta";
    const auto commands = app.get_subcommands();
    if (!commands.empty())
        help += ' ' + commands.front()->get_name();
    else if (const auto words = app.remaining(); !words.empty())
        message = "there is no command or option " + inQuotes(words.front());
    else
        message = "a command is required";
    complain("", message + '\n' + help + " --help");
    return kTrouble;
}

int run(int argc, char** argv) {
    Output output(STDOUT_FILENO, "standard output");
    int exitCode = kDone;
    CLI::App app("Shows and rewrites the metadata of scene files.");
    addCommands(app, output, exitCode);
    try {
        app.parse(arguments(argc, argv));
    } catch (const CLI::CallForHelp&) {
        const auto commands = app.get_subcommands();
        output.write(commands.empty() ? app.help() : commands.front()->help("quilmeta"));
    } catch (const CLI::CallForVersion& version) {
        output.write(std::string(version.what()) + '\n');
    } catch (const CLI::ParseError& error) {
        return refuse(app, error);
    }
    output.flush();
    return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    // A reader that goes away shows when writing, and must not kill us in the middle of a file.
    std::signal(SIGPIPE, SIG_IGN);
    // Nor must a limit on the size of files: the write fails, and what was there is put back.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const ReaderGone&) {
        // Nobody is interested any more.
    } catch (const std::exception& error) {
        complain("", error.what());
    }
    return kTrouble;
}
