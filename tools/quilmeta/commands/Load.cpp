// quilmeta load: the elements of a stream from a spreadsheet.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/CsvTable.h"
#include "patches/ChangeReport.h"
#include "process/InputText.h"
#include "scene/Address.h"
#include "scene/SceneFile.h"
#include "values/Wording.h"

#include <fmt/format.h>

#include <string>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"load", "Read a stream from comma-separated values", R"(
CSV is what table writes; "-" is standard input. Columns may be left out and stand
in any order, but for "index" there must be one. Elements that CSV lacks stay. All
of CSV is checked first: every problem is listed with its line, and then nothing is
written.
Example:
  quilmeta load robot.kx --node rig --channel joints --stream pose pose.csv)"};

class Load : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("FILE", fFile, "Scene file, which is rewritten");
        options.word("CSV", fTable, "Table to read");
        options.address(fAddress);
        options.flag("--create", fHow.create, "Make elements that the stream lacks");
        options.flag("--replace", fHow.replace, "Remove elements that CSV lacks");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        // The table is read once, however often a conflict makes us read the scene again.
        std::string text;
        const auto read = [&] {
            text = inputText(fTable);
            return FileResult(Outcome::kDone);
        };
        const std::string name = fTable == "-" ? "standard input" : fTable;
        if (guarded(name, read).outcome != Outcome::kDone) return Outcome::kFailed;
        return changeFiles({fFile}, fAccess, 1, output,
                           [&](const FileTurn& turn) { return load(text, name, turn); });
    }

  private:
    FileResult load(const std::string& text, const std::string& name, const FileTurn& turn) const {
        const Scene scene = openScene(fFile, fAccess);
        Data::Stream& stream = findStream(*scene.accessor, fAddress);
        TableCounts counts;
        const auto read = [&] {
            counts = loadTable(text, stream, fHow);
            return FileResult(Outcome::kDone);
        };
        if (guarded(name, read).outcome != Outcome::kDone) return Outcome::kFailed;
        if (!writeScene(scene, fAccess, turn.output)) return scene.outcome();
        return {scene.outcome(), true, reportOf(counts)};
    }

    static std::string reportOf(const TableCounts& counts) {
        const std::string set = counted(counts.set, "element") + " set";
        return counts.removed == 0 ? set : fmt::format("{}, {} removed", set, counts.removed);
    }

    std::string fFile, fTable;
    StreamAddress fAddress;
    TableLoad fHow;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeLoad() { return std::make_unique<Load>(); }

}  // namespace orbo::Quilmeta
