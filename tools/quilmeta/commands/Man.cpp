// quilmeta man: manual pages.
// SPDX-License-Identifier: Apache-2.0
#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/Options.h"
#include "output/ManualPage.h"
#include "process/CommandError.h"
#include "process/Output.h"
#include "values/ClosestName.h"
#include "values/SafeText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"man", "Print manual pages", R"(
Prints the page of quilmeta, or of a command, for the program man. --into writes
all pages, a file each, into a folder that is there.
Examples:
  quilmeta man find | man -l -
  quilmeta man --into ~/.local/share/man/man1)"};

class Man : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.optionalWords("COMMAND", fWords, "Command, such as find or refs list");
        options.optional("--into", "DIR", fFolder, "Write all pages into this folder");
    }

    Outcome run(Output& output) override {
        const std::vector<CommandRow> table = CommandLine::table();
        if (fFolder && !fWords.empty()) throw UsageError("--into writes the pages of all commands");
        if (fFolder)
            writeAll(table);
        else
            output.write(manualPage(wanted(table), table));
        return Outcome::kDone;
    }

  private:
    [[nodiscard]] const CommandRow& wanted(const std::vector<CommandRow>& table) const {
        const std::string words = fmt::format("{}", fmt::join(fWords, " "));
        std::vector<std::string> names;
        for (const CommandRow& row : table) {
            if (row.words == words) return row;
            names.push_back(row.words);
        }
        throw UsageError("there is no command " + inQuotes(words) + didYouMean(words, names));
    }

    void writeAll(const std::vector<CommandRow>& table) const {
        for (const CommandRow& row : table) {
            const std::string name = *fFolder + '/' + manualName(row) + ".1";
            std::ofstream file(name, std::ios::binary);
            file << manualPage(row, table);
            file.close();
            if (!file) throw CommandError(shownPath(name) + ": cannot be written");
        }
    }

    std::vector<std::string> fWords;
    std::optional<std::string> fFolder;
};

}  // namespace

std::unique_ptr<Command> makeMan() { return std::make_unique<Man>(); }

}  // namespace orbo::Quilmeta
