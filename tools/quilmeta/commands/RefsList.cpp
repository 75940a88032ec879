// quilmeta refs list: the external files that scenes refer to, for people and programs.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/ResultList.h"
#include "output/AlignedLine.h"
#include "output/TextTable.h"
#include "process/CommandError.h"
#include "references/FileLookup.h"
#include "references/References.h"
#include "values/SafeText.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr Command::Help kHelp = {"list", "List the external files of scenes", R"(
A relative resolved path is looked up in the folder of its scene, and an empty
one counts as missing. $NAME, ${NAME} and %NAME% are variables, <UDIM> and <UVTILE>
tiles, ####, %04d and $F4 frames. Also missing: a tile that --tiles asks for, and a
frame between the first and the last.
Example:
  quilmeta refs list shots -r --missing --define SHOW=/shows/demo --tiles 1001-1010)"};

struct ListedReference {
    std::string scene;
    Reference reference;
    Lookup lookup;  // only where files are looked for
};

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
        options.lookup(fLookupArguments);
        options.results(fFormat);
        options.wait(fAccess);
        fAccess.looksFirst = true;
    }

    Outcome run(Output& output) override {
        fLooks = fMissing || fFormat != ResultFormat::kText;
        if (!fLooks && fLookupArguments.tiles)
            throw UsageError("--tiles needs --missing or --json");
        fLookup.prepare(fLookupArguments);
        EachFile how;
        how.jobs = fFiles.jobs;
        how.failed = ResultList::failures(fFormat);
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
            ListedReference listed{turn.file, referenceOf(*row), {}};
            if (fLooks) listed.lookup = fLookup.find(turn.file, listed.reference.resolvedPath);
            if (fMissing && !listed.lookup.isMissing()) continue;
            any = true;
            if (fFormat == ResultFormat::kText)
                fListed[turn.number].push_back(std::move(listed));
            else
                ResultList::add(turn.output, fFormat, json(listed));
        }
        return fMissing && any ? std::max(scene.outcome(), Outcome::kFound) : scene.outcome();
    }

    static JsonObject json(const ListedReference& listed) {
        const auto& [scene, reference, lookup] = listed;
        JsonObject object;
        object.add("file", scene)
            .add("scene", scene)  // as it was called before all results had a file
            .add("node", reference.node)
            .add("key", reference.key)
            .add("path", reference.path)
            .add("resolvedPath", reference.resolvedPath)
            .addList("roles", reference.roles)
            .add("lookedUp", lookup.target())
            .add("lookedUpAs", lookup.pattern ? "pattern" : "file")
            .add("exists", lookup.exists);
        if (const auto& pattern = lookup.pattern) {
            std::vector<std::string> missing = pattern->missingTiles;
            missing.insert(missing.end(), pattern->missingFrames.begin(),
                           pattern->missingFrames.end());
            object.addList("missing", missing);
        }
        if (!lookup.problem.empty()) object.add("problem", lookup.problem);
        return object;
    }

    /// There is a column for what is missing when that is more than the file.
    void writeTable(Output& output) const {
        bool saysWhat = false;
        for (const auto& ofFile : fListed)
            for (const ListedReference& listed : ofFile)
                saysWhat = saysWhat || !listed.lookup.whatIsMissing().empty();
        constexpr size_t kWidestPath = 120;
        std::vector<TextTable::Column> columns = {
            {"scene", kWidestColumn},       {"node", kWidestColumn},
            {"key", kWidestColumn},         {"path", kWidestPath, true},
            {"resolved path", kWidestPath}, {"roles", saysWhat ? kWidestColumn : 0, true}};
        if (saysWhat) columns.push_back({"missing", 0});
        TextTable table(columns);
        for (const auto& ofFile : fListed)
            for (const auto& [scene, reference, lookup] : ofFile) {
                std::vector<std::string> row = {shownPath(scene),
                                                shownName(reference.node),
                                                shownName(reference.key),
                                                shownPath(reference.path),
                                                shownPath(reference.resolvedPath),
                                                shownRoles(reference.roles)};
                if (saysWhat) row.push_back(safeLine(lookup.whatIsMissing()));
                table.add(std::move(row));
            }
        table.write(output);
    }

    FileArguments fFiles;
    bool fMissing = false, fLooks = false;
    LookupArguments fLookupArguments;
    FileLookup fLookup;
    ResultFormat fFormat = ResultFormat::kText;
    SceneAccess fAccess;
    std::vector<std::vector<ListedReference>> fListed;  // of each file, for the table
};

}  // namespace

std::unique_ptr<Command> makeRefsList() { return std::make_unique<RefsList>(); }

}  // namespace orbo::Quilmeta
