// quilmeta table: the elements of a stream for a spreadsheet.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/CsvTable.h"
#include "output/NewFile.h"
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
        options.required("--node", "NAME", fAddress.node,
                         "Node with the metadata; '' is the scene");
        options.required("--channel", "NAME", fAddress.channel, "Channel of the node");
        options.required("--stream", "NAME", fAddress.stream, "Stream of the channel");
        options.optional("-o,--output", "OUT", fTarget, "Write to this file");
        options.flag("--force", fForce, "Replace OUT even if it is no such table");
        options.reading(fAccess);
    }

    Outcome run(Output& output) override {
        output.stopOnSignals();
        return forEachFile({fFile}, {}, output, [&](const FileTurn& turn) {
            const Scene scene = openScene(fFile, fAccess);
            const Data::Stream& stream = findStream(*scene.accessor, fAddress);
            if (!fTarget) {
                writeTable(stream, turn.output);
                return scene.outcome();
            }
            NewFile file(*fTarget, fFile, {FileKind::kTable, fForce});
            writeTable(stream, file.output());
            file.commit();
            return scene.outcome();
        });
    }

  private:
    std::string fFile;
    StreamAddress fAddress;
    std::optional<std::string> fTarget;
    bool fForce = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeTable() { return std::make_unique<Table>(); }

}  // namespace orbo::Quilmeta
