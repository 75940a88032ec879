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
    /// All commands get their options when the words are null.
    void addCommands(const std::vector<std::string>* words);
    void add(CLI::App& app, std::unique_ptr<Command> command,
             const std::vector<std::string>* words);
    void applyOptions() const;

    std::unique_ptr<CLI::App> fApp;
    std::vector<std::unique_ptr<Command>> fCommands;
    std::vector<std::string> fPlugins;
    bool fQuiet = false;
    bool fVerbose = false;
    std::optional<std::string> fColors;
    Command* fCalled = nullptr;
};

}  // namespace orbo::Quilmeta
