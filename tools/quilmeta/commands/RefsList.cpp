// quilmeta refs list: the external files that scenes refer to, for people and programs.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonText.h"
#include "output/AlignedLine.h"
#include "process/EachFile.h"
#include "scene/References.h"
#include "values/SafeText.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

struct ListOptions {
    std::vector<std::string> files;
    bool missing = false;
    bool json = false;
    SceneAccess access;
};

/// A row of the result.
struct Line {
    std::string file;
    Reference reference;
};

/// A path without a root starts at the scene's folder, which is where somebody who opens the scene
/// would look. An empty one leads nowhere.
bool isMissing(const Line& line) {
    const std::string& path = line.reference.resolvedPath;
    std::error_code error;
    return path.empty() || !fs::exists(fs::path(line.file).parent_path() / path, error);
}

std::string shownRoles(const std::set<std::string>& roles) {
    std::string text;
    for (const std::string& role : roles) {
        if (!text.empty()) text += ", ";
        text += role.find(',') == role.npos ? shownName(role) : inQuotes(role);
    }
    return text;
}

void writeTable(Output& output, const std::vector<Line>& lines) {
    using Cells = std::array<std::string, 6>;
    constexpr size_t kGap = 2;
    constexpr std::array<size_t, 6> kWidest{kWidestColumn, kWidestColumn, kWidestColumn,
                                            120,           120,           0};
    if (lines.empty()) return;
    std::vector<Cells> rows{{"scene", "node", "key", "path", "resolved path", "roles"}};
    for (const auto& [file, reference] : lines)
        rows.push_back({shownPath(file), shownName(reference.node), shownName(reference.key),
                        shownPath(reference.path), shownPath(reference.resolvedPath),
                        shownRoles(reference.roles)});
    std::array<size_t, 6> widths{};
    for (const Cells& cells : rows)
        for (size_t i = 0; i < cells.size(); ++i) widen(widths[i], cells[i], kWidest[i]);
    for (const Cells& cells : rows) {
        AlignedLine line(0);
        for (size_t i = 0; i < cells.size(); ++i)
            line.add(cells[i], widths[i], false, i > 0 ? kGap : 0);
        output.write(line.end());
    }
}

std::string json(const Line& line) {
    std::string text = "{ \"scene\": ";
    appendJson(text, std::string_view(line.file));
    for (const auto& [key, value] :
         {std::pair("node", &line.reference.node), std::pair("key", &line.reference.key),
          std::pair("path", &line.reference.path),
          std::pair("resolvedPath", &line.reference.resolvedPath)}) {
        text += std::string(", \"") + key + "\": ";
        appendJson(text, std::string_view(*value));
    }
    text += ", \"roles\": [";
    const char* gap = "";
    for (const std::string& role : line.reference.roles) {
        text += std::exchange(gap, ", ");
        appendJson(text, std::string_view(role));
    }
    return text + "] }";
}

void writeJson(Output& output, const std::vector<Line>& lines) {
    output.write("[");
    const char* gap = "\n  ";
    for (const Line& line : lines) {
        output.write(std::exchange(gap, ",\n  "));
        output.write(json(line));
    }
    output.write(lines.empty() ? "]\n" : "\n]\n");
}

/// Adds what the file refers to.
Outcome collect(const std::string& file, const SceneAccess& access, std::vector<Line>& lines) {
    const SceneReferences references = openReferences(file, access, ReferencesFor::kReading);
    if (references.table)
        for (Data::StreamIterator row = references.table->begin(); row.valid(); ++row)
            lines.push_back({file, referenceOf(*row)});
    return references.complete ? Outcome::kDone : Outcome::kUnreadable;
}

Outcome list(const ListOptions& options, Output& output) {
    std::vector<Line> lines;
    const Outcome outcome =
        forEachFile(options.files, Purpose::kReading,
                    [&](const std::string& file) { return collect(file, options.access, lines); });
    if (options.missing)
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](const Line& line) { return !isMissing(line); }),
                    lines.end());
    options.json ? writeJson(output, lines) : writeTable(output, lines);
    return options.missing && !lines.empty() ? std::max(outcome, Outcome::kFound) : outcome;
}

}  // namespace

void addRefsList(CLI::App& app, Output& output, int& exitCode) {
    auto options = std::make_shared<ListOptions>();
    CLI::App* command = app.add_subcommand("list", "List the external files of scenes");
    addWords(*command, "FILE", options->files, "Scene files");
    command->add_flag(
        "--missing", options->missing,
        "Only those whose resolved path does not exist; exit code 1 if there are any");
    command->add_flag("--json", options->json, "Print a JSON list instead of a table");
    addWait(*command, options->access);
    command->footer(
        "A relative resolved path is looked up in the folder of its scene, and an empty\n"
        "one counts as missing.\n"
        "Example:\n"
        "  quilmeta refs list --missing shots/*.kx");
    command->callback(
        [options, &output, &exitCode] { exitCode = exitCodeOf(list(*options, output)); });
}

}  // namespace orbo::Quilmeta
