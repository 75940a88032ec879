// quilmeta refs repath: gives the external files of scenes new paths.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "process/CommandError.h"
#include "process/EachFile.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "scene/PathMap.h"
#include "scene/References.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <data/ExternalContent.h>
#include <fmt/format.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

namespace {

struct RepathOptions {
    std::vector<std::string> files, from, to, maps;
    SceneAccess access;
};

std::string contentOf(const std::string& file) {
    std::error_code error;
    if (std::filesystem::is_directory(file, error)) throw CommandError("is a directory");
    std::ifstream in(file, std::ios_base::binary);
    if (!in) throw CommandError(systemMessage(errno));
    std::string content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad()) throw CommandError("cannot be read");
    return content;
}

/// Complains and returns false when they are no good.
bool readPairs(const RepathOptions& options, PathMap& map) {
    try {
        if (options.from.size() != options.to.size())
            throw CommandError("each --from takes a --to, in the same order");
        for (size_t i = 0; i < options.from.size(); ++i) map.add(options.from[i], options.to[i]);
    } catch (const CommandError& trouble) {
        complain("", trouble.what());
        return false;
    }
    Outcome outcome = Outcome::kDone;
    for (const std::string& file : options.maps)
        outcome = std::max(outcome, guarded(file, [&] {
                               map.addCsv(contentOf(file));
                               return Outcome::kDone;
                           }));
    if (outcome == Outcome::kDone && map.empty()) {
        complain("", "nothing to replace: give --from and --to, or --map");
        outcome = Outcome::kUsage;
    }
    return outcome == Outcome::kDone;
}

/// Tells which prefixes of the command line no path begins with.
class UnusedPrefixes {
  public:
    explicit UnusedPrefixes(const RepathOptions& options) {
        for (size_t i = 0; i < options.from.size(); ++i)
            fUnused[options.from[i]].add(options.from[i], options.to[i]);
    }
    void meet(const std::string& path, bool isMapped) {
        fAnyMapped = fAnyMapped || isMapped;
        for (auto entry = fUnused.begin(); isMapped && entry != fUnused.end();)
            entry = entry->second.apply(path) ? fUnused.erase(entry) : std::next(entry);
    }
    /// False when there are some, which are reported.
    [[nodiscard]] bool report() const {
        for (const auto& entry : fUnused)
            complain("", fmt::format("no path begins with {}", inQuotes(entry.first)));
        if (!fAnyMapped && fUnused.empty()) complain("", "no path begins with a prefix of --map");
        return fAnyMapped && fUnused.empty();
    }

  private:
    std::map<std::string, PathMap> fUnused;
    bool fAnyMapped = false;
};

/// A path and what becomes of it, if anything.
struct Change {
    const char* title;
    const std::string& before;
    std::optional<std::string> mapped;

    [[nodiscard]] bool any() const { return mapped && *mapped != before; }
    [[nodiscard]] const std::string& after() const { return mapped ? *mapped : before; }
    [[nodiscard]] std::string text() const {
        if (!any()) return {};
        return fmt::format("    {:8}  {}\n          ->  {}\n", title, shownPath(before),
                           shownPath(after()));
    }
};

/// Changes scenes one by one, each once, and tells what it changes.
class Repath {
  public:
    Repath(const PathMap& map, const RepathOptions& options, Output& output)
        : fMap(map), fOptions(options), fOutput(output), fUnused(options) {}

    Outcome repath(const std::string& file) {
        if (wasSeen(file)) return Outcome::kDone;
        return repeatAfterConflict(fOptions.access, [&] { return repathOnce(file); });
    }
    [[nodiscard]] const UnusedPrefixes& unused() const { return fUnused; }

  private:
    Outcome repathOnce(const std::string& file) {
        const SceneReferences references =
            openReferences(file, fOptions.access, ReferencesFor::kWriting);
        const Outcome outcome = references.complete ? Outcome::kDone : Outcome::kUnreadable;
        if (!references.table) return outcome;
        std::string text;
        for (Data::StreamIterator row = references.table->begin(); row.valid(); ++row)
            text += repath(*row);
        if (text.empty()) return outcome;
        writeScene(*references.scene, fOptions.access);
        fOutput.write(safeLine(file) + '\n' + text);
        fOutput.flush();
        return outcome;
    }
    /// Whatever its name: what has been replaced once must not be matched again.
    bool wasSeen(const std::string& file) {
        struct stat status {};
        if (::stat(file.c_str(), &status) != 0) return false;  // reading it will say why
        return !fSeen.emplace(status.st_dev, status.st_ino).second;
    }

    /// What changes in the row; empty when nothing does.
    std::string repath(Data::Handle& row) {
        const Reference before = referenceOf(row);
        const Change path{"path", before.path, fMap.apply(before.path)};
        const Change resolved{"resolved", before.resolvedPath, fMap.apply(before.resolvedPath)};
        fUnused.meet(path.before, path.mapped.has_value());
        fUnused.meet(resolved.before, resolved.mapped.has_value());
        std::string text = path.text() + resolved.text();
        if (text.empty()) return text;
        Data::AccessorQuil::ExternalContent::updateEntry(row, path.after(), resolved.after());
        const Reference after = referenceOf(row);
        demandHeld(before, path, after.path);
        demandHeld(before, resolved, after.resolvedPath);
        return fmt::format("  node {}, key {}\n", shownName(before.node), shownName(before.key)) +
               text;
    }

    static void demandHeld(const Reference& row, const Change& change, const std::string& held) {
        if (held == change.after()) return;
        throw CommandError(fmt::format("node {}, key {}: the table cannot hold the path {}",
                                       inQuotes(row.node), inQuotes(row.key),
                                       inQuotes(change.after())));
    }

    const PathMap& fMap;
    const RepathOptions& fOptions;
    Output& fOutput;
    UnusedPrefixes fUnused;
    std::set<std::pair<dev_t, ino_t>> fSeen;
};

Outcome repathAll(const RepathOptions& options, Output& output) {
    PathMap map;
    if (!readPairs(options, map)) return Outcome::kUsage;
    Repath repath(map, options, output);
    const Outcome outcome =
        forEachFile(options.files, options.access.purpose(),
                    [&](const std::string& file) { return repath.repath(file); });
    if (Signals::received() != 0 || repath.unused().report()) return outcome;
    return std::max(outcome, Outcome::kNothingSelected);
}

}  // namespace

void addRefsRepath(CLI::App& app, Output& output, int& exitCode) {
    auto options = std::make_shared<RepathOptions>();
    CLI::App* command = app.add_subcommand("repath", "Replace prefixes of paths");
    addWords(*command, "FILE", options->files, "Scene files, which are rewritten");
    addEach(*command, "--from", options->from, "PREFIX", "Where paths begin now");
    addEach(*command, "--to", options->to, "PREFIX", "What takes the place of --from");
    addEach(*command, "--map", options->maps, "CSV", "More pairs, from a table of two columns");
    addWriting(*command, options->access);
    command->footer(
        "A prefix ends where a component of the path ends. Paths as entered and as resolved\n"
        "are replaced each by its own longest prefix, once. --from and --to may be given\n"
        "several times. All else in the table and the scene stays. A prefix that no\n"
        "path begins with is reported, with exit code 1.\n"
        "Example:\n"
        "  quilmeta refs repath shots/*.kx --from /shows/demo --to /archive/demo --dry-run");
    command->callback(
        [options, &output, &exitCode] { exitCode = exitCodeOf(repathAll(*options, output)); });
}

}  // namespace orbo::Quilmeta
