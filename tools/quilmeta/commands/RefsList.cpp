// quilmeta refs list: the external files that scenes refer to, for people and programs.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonList.h"
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
        options.words("FILE", fFiles, "Scene files");
        options.flag("--missing", fMissing,
                     "Only those whose resolved path does not exist; exit code 1 if there are any");
        options.flag("--json", fJson, "Print a JSON list instead of a table");
        options.wait(fAccess);
    }

    Outcome run(Output& output) override {
        const Outcome outcome = forEachFile(fFiles, Purpose::kReading,
                                            [&](const std::string& file) { return collect(file); });
        fJson ? writeJson(output) : writeTable(output);
        return fMissing && !fListed.empty() ? std::max(outcome, Outcome::kFound) : outcome;
    }

  private:
    Outcome collect(const std::string& file) {
        const Scene scene = openForReferences(file, fAccess, ReferencesFor::kReading);
        Data::Stream* table = tableOf(scene);
        if (!table) return scene.outcome();
        for (Data::StreamIterator row = table->begin(); row.valid(); ++row) {
            ListedReference listed{file, referenceOf(*row)};
            if (!fMissing || isMissing(listed)) fListed.push_back(std::move(listed));
        }
        return scene.outcome();
    }

    void writeTable(Output& output) const {
        constexpr size_t kWidestPath = 120;
        TextTable table({{"scene", kWidestColumn},
                         {"node", kWidestColumn},
                         {"key", kWidestColumn},
                         {"path", kWidestPath},
                         {"resolved path", kWidestPath},
                         {"roles", 0}});
        for (const auto& [scene, reference] : fListed)
            table.add({shownPath(scene), shownName(reference.node), shownName(reference.key),
                       shownPath(reference.path), shownPath(reference.resolvedPath),
                       shownRoles(reference.roles)});
        table.write(output);
    }

    void writeJson(Output& output) const {
        JsonList list(output);
        for (const auto& [scene, reference] : fListed)
            list.add(JsonObject()
                         .add("scene", scene)
                         .add("node", reference.node)
                         .add("key", reference.key)
                         .add("path", reference.path)
                         .add("resolvedPath", reference.resolvedPath)
                         .addList("roles", reference.roles));
        list.end();
    }

    std::vector<std::string> fFiles;
    bool fMissing = false;
    bool fJson = false;
    SceneAccess fAccess;
    std::vector<ListedReference> fListed;
};

}  // namespace

std::unique_ptr<Command> makeRefsList() { return std::make_unique<RefsList>(); }

}  // namespace orbo::Quilmeta
