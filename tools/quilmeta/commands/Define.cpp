// quilmeta define: gives scenes structures.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/Structures.h"
#include "patches/EditScenes.h"
#include "process/CommandError.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <fmt/format.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"define", "Give scenes new structures", R"(
A structure is a word such as name=S:float=r:int32[3]=ijk, its name and a type and
a name for each member, as structures stand in a scene. Any number can be given,
before or behind the files: a word with = is a structure unless / stands before the
=. A scene that has an equal structure stays as it is. One that has another of
that name is refused: see "add" for more members.
Example:
  quilmeta define robot.kx 'name=Bolt:float=size:string[2]=labels')"};

class Define : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files, which are rewritten, and structures");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        for (const std::string& text : takeAssignments(fFiles))
            fStructures.push_back(parseStructure(text));
        if (fStructures.empty()) throw UsageError("no structure is given");
        return editScenes(fFiles, fAccess, output, "",
                          [this](Scene& scene) { return defineIn(scene); });
    }

  private:
    [[nodiscard]] Edited defineIn(Scene& scene) const {
        size_t added = 0;
        for (const auto& structure : fStructures) {
            if (!define(*scene.accessor, *structure)) continue;
            // It would be the one of that name by chance only.
            if (!scene.complete && lacksStructure(scene.accessor->fileName(), structure->name()))
                throw CommandError(fmt::format(
                    "metadata that cannot be read may need another structure {} than this one",
                    inQuotes(structure->name())));
            ++added;
        }
        return {fStructures.size(), added > 0, counted(added, "structure") + " added"};
    }

    FileArguments fFiles;
    std::vector<RefPtr<const Data::Structure>> fStructures;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeDefine() { return std::make_unique<Define>(); }

}  // namespace orbo::Quilmeta
