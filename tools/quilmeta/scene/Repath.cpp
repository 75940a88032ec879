// Gives the rows of a table of external files new paths.
// SPDX-License-Identifier: Apache-2.0
#include "scene/Repath.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "scene/References.h"
#include "values/SafeText.h"

#include <data/ExternalContent.h>
#include <fmt/format.h>

#include <iterator>
#include <optional>

namespace orbo::Quilmeta {

namespace {

/// A path before and after its prefix was replaced.
struct PathChange {
    const char* title;
    const std::string& before;
    std::optional<std::string> mapped;  ///< no value when no prefix fits

    [[nodiscard]] bool any() const { return mapped && *mapped != before; }
    [[nodiscard]] const std::string& after() const { return mapped ? *mapped : before; }
    [[nodiscard]] std::string text() const {
        if (!any()) return {};
        return fmt::format("    {:8}  {}\n          ->  {}\n", title, shownPath(before),
                           shownPath(after()));
    }
};

/// The table joins its roles and paths into text, so a path with odd characters may come back
/// changed.
void demandHeld(const Reference& row, const PathChange& change, const std::string& held) {
    if (held == change.after()) return;
    throw CommandError(fmt::format("node {}, key {}: the table cannot hold the path {}",
                                   inQuotes(row.node), inQuotes(row.key),
                                   inQuotes(change.after())));
}

}  // namespace

void Repath::add(const std::string& from, const std::string& to) {
    fMap.add(from, to);
    fUnused[from].add(from, to);
}

std::string Repath::apply(Data::Handle& row) {
    const Reference before = referenceOf(row);
    // Each path is looked up once in its old form: a new path may begin with another prefix.
    const PathChange path{"path", before.path, fMap.apply(before.path)};
    const PathChange resolved{"resolved", before.resolvedPath, fMap.apply(before.resolvedPath)};
    noteUse(path.before, path.mapped.has_value());
    noteUse(resolved.before, resolved.mapped.has_value());
    std::string text = path.text() + resolved.text();
    if (text.empty()) return text;
    Data::AccessorQuil::ExternalContent::updateEntry(row, path.after(), resolved.after());
    const Reference after = referenceOf(row);
    demandHeld(before, path, after.path);
    demandHeld(before, resolved, after.resolvedPath);
    return fmt::format("  node {}, key {}\n", shownName(before.node), shownName(before.key)) + text;
}

void Repath::noteUse(const std::string& path, bool isMapped) {
    if (!isMapped) return;
    const std::lock_guard<std::mutex> lock(fMutex);
    fAnyMapped = true;
    for (auto entry = fUnused.begin(); entry != fUnused.end();)
        entry = entry->second.apply(path) ? fUnused.erase(entry) : std::next(entry);
}

bool Repath::reportUnused() const {
    for (const auto& entry : fUnused)
        complain("", fmt::format("no path begins with {}", inQuotes(entry.first)));
    if (!fAnyMapped && fUnused.empty()) complain("", "no path begins with a prefix of --map");
    return fAnyMapped && fUnused.empty();
}

}  // namespace orbo::Quilmeta
