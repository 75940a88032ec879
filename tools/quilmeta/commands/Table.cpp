// quilmeta table: the elements of a stream for a spreadsheet.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/CsvTable.h"
#include "json/JsonElement.h"
#include "json/ResultList.h"
#include "output/NewFile.h"
#include "process/CommandError.h"
#include "scene/Address.h"
#include "scene/SceneFile.h"

#include <optional>
#include <string>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"table", "Write a stream as comma-separated values", R"(
The first column is the index. A member of several values has a column for each:
MEMBER[0], MEMBER[1], ... An empty field is a null string, "" an empty one.
Example:
  quilmeta table robot.kx --node rig --channel joints --stream pose > pose.csv)"};

class Table : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("FILE", fFile, "Scene file");
        options.address(fAddress);
        options.optional("-o,--output", "OUT", fTarget, "Write to this file");
        options.flag("--force", fForce, "Replace OUT even if it is no such table");
        options.results(fFormat);
        options.reading(fAccess);
        fAccess.looksFirst = true;
    }

    Outcome run(Output& output) override {
        output.stopOnSignals();
        if (fTarget && fFormat != ResultFormat::kText)
            throw UsageError("--output takes a table, not JSON");
        EachFile how;
        how.failed = ResultList::failures(fFormat);
        ResultList results(output, fFormat);
        const Outcome outcome = forEachFile({fFile}, how, results, [&](const FileTurn& turn) {
            const Scene scene = openScene(fFile, fAccess);
            write(findStream(*scene.accessor, fAddress), turn.output);
            return scene.outcome();
        });
        results.end();
        return outcome;
    }

  private:
    void write(const Data::Stream& stream, Output& output) const {
        if (fFormat != ResultFormat::kText) return writeJson(stream, output);
        if (!fTarget && !output.isTerminal()) return writeTable(stream, output);
        if (!fTarget) {
            EscapingOutput shown(output);
            writeTable(stream, shown);
            return shown.finish();
        }
        NewFile file(*fTarget, fFile, {FileKind::kTable, fForce});
        writeTable(stream, file.output());
        file.commit();
    }

    void writeJson(const Data::Stream& stream, Output& output) const {
        const JsonElement writer(stream.structure());
        for (Data::StreamIterator element = stream.cbegin(); element.valid(); ++element) {
            std::string index, values;
            appendIndex(index, element.index());
            writer.appendValues(values, *element);
            JsonObject object;
            object.add("file", fFile)
                .add("node", fAddress.node)
                .add("channel", fAddress.channel)
                .add("stream", fAddress.stream)
                .addJson("index", index)
                .addJson("values", values);
            ResultList::add(output, fFormat, object);
        }
    }

    std::string fFile;
    StreamAddress fAddress;
    std::optional<std::string> fTarget;
    bool fForce = false;
    ResultFormat fFormat = ResultFormat::kText;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeTable() { return std::make_unique<Table>(); }

}  // namespace orbo::Quilmeta
