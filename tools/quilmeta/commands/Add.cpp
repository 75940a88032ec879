// quilmeta add: gives structures of scenes new members.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/Structures.h"
#include "patches/EditScenes.h"
#include "process/CommandError.h"
#include "values/Wording.h"

#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"add", "Add members to a structure", R"(
A member is a word such as float[3]=normal. Any number can be given, before or
behind the files: a word with = is a member unless / stands before the =. They
come behind the structure's others, also in all elements that there are, with zero,
false or no text as values. A member that is there already stays as it is, but is
refused where it has another type.
Example:
  quilmeta add robot.kx --structure Joint 'float[3]=normal' string=note)"};

class Add : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files, which are rewritten, and members");
        options.required("--structure", "NAME", fStructure, "Structure to add to");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        fMembers = takeAssignments(fFiles);
        if (fMembers.empty()) throw UsageError("no member is given");
        // Words that are no members are so for every file.
        (void)withMembers(*RefPtr<const Data::Structure>(new Data::Structure("any")), fMembers);
        return editScenes(fFiles, fAccess, output, "",
                          [this](Scene& scene) { return addTo(scene); });
    }

  private:
    [[nodiscard]] Edited addTo(Scene& scene) const {
        const Data::Structure& structure = findStructure(*scene.accessor, fStructure);
        const RefPtr<const Data::Structure> longer = withMembers(structure, fMembers);
        const size_t added = longer->memberCount() - structure.memberCount();
        if (added > 0 && !scene.complete)
            throw CommandError("metadata that cannot be read may use the structure");
        if (added > 0) replaceStructures(*scene.accessor, {{fStructure, longer}});
        return {1, added > 0, counted(added, "member") + " added"};
    }

    FileArguments fFiles;
    std::string fStructure;
    std::vector<std::string> fMembers;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeAdd() { return std::make_unique<Add>(); }

}  // namespace orbo::Quilmeta
