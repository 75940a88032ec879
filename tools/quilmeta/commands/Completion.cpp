// quilmeta completion: the script by which a shell completes our words.
// SPDX-License-Identifier: Apache-2.0
#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/Options.h"
#include "output/CompletionScripts.h"
#include "process/CommandError.h"
#include "process/Output.h"
#include "values/SafeText.h"

#include <string>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"completion", "Print a script that completes words in a shell", R"(
The script completes commands, options, values of which there are only some, and
else names of files. An installed quilmeta has it where the shells look already.
Examples:
  source <(quilmeta completion bash)
  quilmeta completion fish > ~/.config/fish/completions/quilmeta.fish)"};

class Completion : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.choice("SHELL", "bash|zsh|fish", fShell, "Shell to print it for");
    }

    Outcome run(Output& output) override {
        const std::vector<CommandRow> table = CommandLine::table();
        if (fShell == "bash")
            output.write(bashCompletion(table));
        else if (fShell == "zsh")
            output.write(zshCompletion(table));
        else if (fShell == "fish")
            output.write(fishCompletion(table));
        else
            throw UsageError(inQuotes(fShell) + " is not bash, zsh or fish");
        return Outcome::kDone;
    }

  private:
    std::string fShell;
};

}  // namespace

std::unique_ptr<Command> makeCompletion() { return std::make_unique<Completion>(); }

}  // namespace orbo::Quilmeta
