// The command line as a whole: which command it calls, and the options ahead of that.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "commands/Command.h"
#include "output/CommandTable.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace orbo::Quilmeta {

class CommandLine {
  public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;
    ~CommandLine();

    /// The command to run. Null when help or the version was asked for, which goes to `output`.
    /// Throws `CommandError` that says where to look when the words are wrong.
    Command* parse(int argc, char** argv, Output& output);
    /// "quilmeta show --help" and the like: where to read more about the words that were parsed.
    [[nodiscard]] std::string helpCommand() const;
    /// All commands with all their options.
    [[nodiscard]] static std::vector<CommandRow> table();
    /// The values of --plugin, once the words are parsed.
    [[nodiscard]] const std::vector<std::string>& plugins() const { return fPlugins; }

  private:
    using Words = std::vector<std::string>;

    /// Starts anew, without commands.
    void begin();
    /// Adds the commands that are `listed`, with the options of those that are `callable`. Null
    /// means all.
    void addCommands(const Words* listed, const Words* callable);
    void addOptions(CLI::App& app, std::unique_ptr<Command> command);
    /// Prints the help that the words ask for, or throws what is wrong with them. `command` is the
    /// place of the command among the program's arguments, and null at their end.
    void explain(const Words& words, char** command, Output& output);
    void helpForUnknown(char** command) const;
    void applyOptions() const;

    std::unique_ptr<CLI::App> fApp;
    std::vector<std::unique_ptr<Command>> fCommands;
    std::vector<std::string> fPlugins;
    bool fVersion = false;
    bool fQuiet = false;
    bool fVerbose = false;
    std::optional<std::string> fColors;
    Command* fCalled = nullptr;
};

}  // namespace orbo::Quilmeta
