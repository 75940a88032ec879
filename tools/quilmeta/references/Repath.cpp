// Gives the rows of a table of external files new paths.
// SPDX-License-Identifier: Apache-2.0
#include "references/Repath.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "references/References.h"
#include "values/SafeText.h"

#include <fmt/format.h>
#include <re2/re2.h>

#include <iterator>
#include <optional>
#include <utility>

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

}  // namespace

void Repath::add(const std::string& from, const std::string& to) {
    fMap.add(from, to);
    fUnused[from].add(from, to);
}

void Repath::addRegex(const std::string& from, const std::string& to) {
    if (from.empty()) throw UsageError("--regex is empty");
    RE2::Options options;
    options.set_log_errors(false);
    auto regex = std::make_shared<const RE2>(from, options);
    if (!regex->ok())
        throw UsageError(fmt::format("--regex {} is wrong: {}", inQuotes(from), regex->error()));
    std::string problem;
    if (!regex->CheckRewriteString(to, &problem))
        throw UsageError(fmt::format("--to {} is wrong: {}", inQuotes(to), problem));
    fRegexes.push_back({std::move(regex), to});
}

std::string Repath::apply(Data::Handle& row) {
    const Reference before = referenceOf(row);
    const PathChange path{"path", before.path, changed(before.path)};
    const PathChange resolved{"resolved", before.resolvedPath, changed(before.resolvedPath)};
    std::string text = path.text() + resolved.text();
    if (text.empty()) return text;
    setPaths(row, path.after(), resolved.after());
    return fmt::format("  node {}, key {}\n", shownName(before.node), shownName(before.key)) + text;
}

/// The new path; no value when there is nothing to replace.
std::optional<std::string> Repath::changed(const std::string& path) {
    if (!fRegexes.empty()) return matched(path);
    // The path is looked up once in its old form: the new one may begin with another prefix.
    std::optional<std::string> mapped = fMap.apply(path);
    noteUse(path, mapped.has_value());
    return mapped;
}

std::optional<std::string> Repath::matched(const std::string& path) {
    std::string text = path;
    bool any = false;
    for (Regex& regex : fRegexes) {
        if (text.empty() || RE2::GlobalReplace(&text, *regex.from, regex.to) == 0) continue;
        any = true;
        const std::lock_guard<std::mutex> lock(fMutex);
        regex.used = true;
    }
    return any ? std::optional<std::string>(text) : std::nullopt;
}

void Repath::noteUse(const std::string& path, bool isMapped) {
    if (!isMapped) return;
    const std::lock_guard<std::mutex> lock(fMutex);
    fAnyMapped = true;
    for (auto entry = fUnused.begin(); entry != fUnused.end();)
        entry = entry->second.apply(path) ? fUnused.erase(entry) : std::next(entry);
}

bool Repath::reportUnused() const {
    if (!fRegexes.empty()) return reportUnusedRegexes();
    for (const auto& entry : fUnused)
        complain("", fmt::format("no path begins with {}", inQuotes(entry.first)));
    if (!fAnyMapped && fUnused.empty()) complain("", "no path begins with a prefix of --map");
    return fAnyMapped && fUnused.empty();
}

bool Repath::reportUnusedRegexes() const {
    bool allUsed = true;
    for (const Regex& regex : fRegexes) {
        if (regex.used) continue;
        complain("", fmt::format("no path matches {}", inQuotes(regex.from->pattern())));
        allUsed = false;
    }
    return allUsed;
}

}  // namespace orbo::Quilmeta
