// quilmeta refs list: the external files that scenes refer to, for people and programs.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/ResultList.h"
#include "output/AlignedLine.h"
#include "output/TextTable.h"
#include "scene/References.h"
#include "values/SafeText.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

constexpr Command::Help kHelp = {"list", "List the external files of scenes", R"(
A relative resolved path is looked up in the folder of its scene, and an empty
one counts as missing.
Example:
  quilmeta refs list --missing shots/*.kx)"};

struct ListedReference {
    std::string scene;
    Reference reference;
};

/// A relative path starts at the scene's folder, where somebody who opens the scene would look. An
/// empty path leads nowhere.
bool isMissing(const ListedReference& listed) {
    const std::string& path = listed.reference.resolvedPath;
    std::error_code error;
    return path.empty() || !fs::exists(fs::path(listed.scene).parent_path() / path, error);
}

/// The roles with commas between; a role that has a comma itself gets quotes.
std::string shownRoles(const std::set<std::string>& roles) {
    std::string text;
    for (const std::string& role : roles) {
        if (!text.empty()) text += ", ";
        text += role.find(',') == role.npos ? shownName(role) : inQuotes(role);
    }
    return text;
}

class RefsList : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files");
        options.flag("--missing", fMissing,
                     "Only those whose resolved path does not exist; exit code 1 if there are any");
        options.results(fFormat);
        options.wait(fAccess);
    }

    Outcome run(Output& output) override {
        EachFile how;
        how.jobs = fFiles.jobs;
        const std::vector<std::string> files = filesOf(fFiles);
        ResultList results(output, fFormat);
        fListed.resize(files.size());
        const Outcome outcome =
            forEachFile(files, how, results, [&](const FileTurn& turn) { return list(turn); });
        results.end();
        if (fFormat == ResultFormat::kText) writeTable(output);
        return outcome;
    }

  private:
    FileResult list(const FileTurn& turn) {
        const Scene scene = openForReferences(turn.file, fAccess, ReferencesFor::kReading);
        Data::Stream* table = tableOf(scene);
        if (!table) return scene.outcome();
        bool any = false;
        for (Data::StreamIterator row = table->begin(); row.valid(); ++row) {
            ListedReference listed{turn.file, referenceOf(*row)};
            if (fMissing && !isMissing(listed)) continue;
            any = true;
            if (fFormat == ResultFormat::kText)
                fListed[turn.number].push_back(std::move(listed));
            else
                ResultList::add(turn.output, fFormat, json(listed));
        }
        return fMissing && any ? std::max(scene.outcome(), Outcome::kFound) : scene.outcome();
    }

    static JsonObject json(const ListedReference& listed) {
        const auto& [scene, reference] = listed;
        JsonObject object;
        object.add("scene", scene)
            .add("node", reference.node)
            .add("key", reference.key)
            .add("path", reference.path)
            .add("resolvedPath", reference.resolvedPath)
            .addList("roles", reference.roles);
        return object;
    }

    void writeTable(Output& output) const {
        constexpr size_t kWidestPath = 120;
        TextTable table({{"scene", kWidestColumn},
                         {"node", kWidestColumn},
                         {"key", kWidestColumn},
                         {"path", kWidestPath},
                         {"resolved path", kWidestPath},
                         {"roles", 0}});
        for (const auto& ofFile : fListed)
            for (const auto& [scene, reference] : ofFile)
                table.add({shownPath(scene), shownName(reference.node), shownName(reference.key),
                           shownPath(reference.path), shownPath(reference.resolvedPath),
                           shownRoles(reference.roles)});
        table.write(output);
    }

    FileArguments fFiles;
    bool fMissing = false;
    ResultFormat fFormat = ResultFormat::kText;
    SceneAccess fAccess;
    std::vector<std::vector<ListedReference>> fListed;  // of each file, for the table
};

}  // namespace

std::unique_ptr<Command> makeRefsList() { return std::make_unique<RefsList>(); }

}  // namespace orbo::Quilmeta
