// The scenes and files of a collection, and where they go.
// SPDX-License-Identifier: Apache-2.0
#include "references/Collection.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "references/References.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

/// The folder without links, and with "/" at its end. Throws `CommandError`.
std::string realFolder(const fs::path& folder) {
    std::error_code error;
    const std::string real = fs::canonical(folder.empty() ? "." : folder, error).string();
    if (error) throw CommandError(inQuotes(folder.string()) + ": " + systemMessage(error.value()));
    return real == "/" ? real : real + '/';
}

/// Why a file cannot be copied; empty when it can.
std::string problemOfFile(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return systemMessage(errno);
    if (S_ISDIR(status.st_mode)) return "is a directory";
    if (!S_ISREG(status.st_mode)) return "is not a regular file";
    return ::access(path.c_str(), R_OK) != 0 ? systemMessage(errno) : std::string();
}

/// The folder that both lie in, with "/" at the end.
std::string sharedFolder(const std::string& one, const std::string& other) {
    const auto [end, ignored] = std::mismatch(one.begin(), one.end(), other.begin(), other.end());
    const std::string same(one.begin(), end);
    return same.substr(0, same.rfind('/') + 1);
}

/// The path with an "_" for each character that would make a variable, a tile or a frame of some
/// component.
std::string literalPath(const std::string& path) {
    std::string literal;
    for (const std::string& name : SplitPath(path).names) {
        std::string safe = name;
        const Variables::Expanded expanded = Variables().expand(name);
        const NamePattern pattern(name);
        const bool isPattern = pattern.hasTile() || pattern.hasFrame();
        const bool isFound = pattern.mayBeLiteral() && expanded.text == name;
        if (!expanded.undefined.empty() || expanded.text != name || (isPattern && !isFound))
            std::replace_if(
                safe.begin(), safe.end(),
                [](char c) { return std::string_view("$%#<~").find(c) != std::string_view::npos; },
                '_');
        literal += (literal.empty() ? "" : "/") + safe;
    }
    return literal;
}

}  // namespace

Outcome Collection::read(const std::vector<std::string>& scenes, const SceneAccess& access,
                         const EachFile& how, Output& output) {
    Outcome worst = Outcome::kDone;
    for (const std::string& scene : scenes) {
        std::string problem = problemOfFile(scene);
        const auto file = problem.empty() ? addFile(scene, problem) : std::nullopt;
        if (!file) {
            complain(subjectOf(scene), problem);
            if (how.failed) how.failed({0, scene, output}, {problem});
            worst = Outcome::kFailed;
            continue;
        }
        Origin& origin = fOrigins[*file];
        // A file that the user gave is read, so that one that is no scene is refused.
        if (!origin.isGiven && !Data::Accessor::accessorByExtension(origin.name))
            fScenesToRead.push_back(*file);
        origin.isGiven = true;
    }
    // Each round finds the scenes of the next.
    while (!fScenesToRead.empty()) {
        const std::vector<size_t> numbers = std::exchange(fScenesToRead, {});
        std::vector<std::string> files;
        files.reserve(numbers.size());
        for (const size_t number : numbers) files.push_back(fOrigins[number].path);
        std::vector<Rows> rows(files.size());
        const auto work = [&](const FileTurn& turn) -> FileResult {
            Outcome outcome = Outcome::kDone;
            rows[turn.number] = readRows(turn.file, access, outcome);
            return outcome;
        };
        worst = std::max(worst, forEachFile(files, how, output, work));
        for (size_t i = 0; i < files.size(); ++i) resolve(numbers[i], files[i], rows[i]);
    }
    return worst;
}

Collection::Rows Collection::readRows(const std::string& scene, const SceneAccess& access,
                                      Outcome& outcome) const {
    const Scene opened = openForReferences(scene, access, ReferencesFor::kReading);
    outcome = opened.outcome();
    Rows rows;
    if (Data::Stream* table = tableOf(opened))
        for (Data::StreamIterator row = table->begin(); row.valid(); ++row) {
            const Reference reference = referenceOf(*row);
            rows.push_back({reference.node, reference.key, reference.resolvedPath,
                            fLookup.find(scene, reference.resolvedPath)});
        }
    return rows;
}

/// Adds the files of a scene's rows.
void Collection::resolve(size_t scene, const std::string& file, const Rows& rows) {
    std::vector<OriginRow> targets;
    for (const Row& row : rows) {
        std::string problem = row.lookup.whatIsMissing();
        targets.push_back(
            {row.path, row.lookup.exists ? targetOf(row.lookup, problem) : std::nullopt});
        if (row.lookup.isMissing() || !problem.empty())
            fMissing.push_back({file, row.node, row.key, row.path, problem});
    }
    fOrigins[scene].rows = std::move(targets);
}

std::optional<Collection::RowTarget> Collection::targetOf(const Lookup& lookup,
                                                          std::string& problem) {
    if (lookup.pattern) return targetOfPattern(lookup, problem);
    const auto file = addFile(lookup.target(), problem);
    if (!file) return {};
    return RowTarget{*file, {}, {}};
}

// The files keep the names that the pattern has for them, in the folder ahead of its first token.
std::optional<Collection::RowTarget> Collection::targetOfPattern(const Lookup& lookup,
                                                                 std::string& problem) {
    const SplitPath split(lookup.text);
    const std::string head = split.start(lookup.folder);
    std::string rest;
    for (size_t i = split.firstPattern; i < split.names.size(); ++i) {
        if (split.names[i] == "..") {
            problem = "goes up behind a tile or frame";
            return {};
        }
        rest += (rest.empty() ? "" : "/") + split.names[i];
    }
    const RowTarget target{0, realFolder(head), fs::path(rest).lexically_normal().string()};
    const size_t cut = head.size() + (head.empty() || head.back() == '/' ? 0 : 1);
    for (const PatternFile& file : lookup.pattern->files) {
        const std::string wrong = problemOfFile(file.path);
        if (!wrong.empty())
            problem +=
                fmt::format("{}{}: {}", problem.empty() ? "" : "; ", inQuotes(file.path), wrong);
        else
            addPatternFile(target.folder +
                           fs::path(file.path.substr(cut)).lexically_normal().string());
    }
    return target;
}

/// Returns the number of the file at `path`, which is no pattern; no value when it cannot be read.
/// The same file under other names is one file, but for another extension.
std::optional<size_t> Collection::addFile(const std::string& path, std::string& problem) {
    problem = problemOfFile(path);
    if (!problem.empty()) return {};
    const fs::path name = fs::path(path).filename();
    const std::string folder = realFolder(fs::path(path).parent_path());
    const auto known = fByPath.find(folder + name.string());
    if (known != fByPath.end()) return known->second;
    struct stat status {};
    ::stat(path.c_str(), &status);
    const Identity identity(status.st_dev, status.st_ino, name.extension().string());
    const auto [same, isNew] = fByIdentity.emplace(identity, fOrigins.size());
    if (!isNew) return same->second;
    return add({folder, name.string(), path});
}

void Collection::addPatternFile(const std::string& path) {
    const auto known = fByPath.find(path);
    const size_t end = path.rfind('/') + 1;
    const size_t file =
        known != fByPath.end() ? known->second : add({path.substr(0, end), path.substr(end), path});
    fOrigins[file].isPlain = false;
}

size_t Collection::add(Origin origin) {
    const std::string path = origin.folder + origin.name;
    const size_t number = fOrigins.size();
    fByPath.emplace(path, number);
    fOrigins.push_back(std::move(origin));
    // A damaged scene is read as well, and refused.
    if (Data::Accessor::accessorByExtension(path)) fScenesToRead.push_back(number);
    return number;
}

void Collection::plan() {
    std::optional<std::string> givenRoot, root;
    const auto widen = [](std::optional<std::string>& shared, const std::string& folder) {
        shared = shared ? sharedFolder(*shared, folder) : folder;
    };
    for (const Origin& origin : fOrigins) {
        widen(origin.isGiven ? givenRoot : root, origin.folder);
        for (const auto& [path, target] : origin.rows)
            if (target && !target->rest.empty()) widen(root, target->folder);
    }
    fGivenRoot = givenRoot.value_or("/");
    fRoot = root.value_or("/");
    nameAll();
    for (size_t i = 0; i < fOrigins.size(); ++i)
        for (const auto& [path, target] : fOrigins[i].rows)
            fFiles[i].rows.push_back(
                {path, target ? std::optional(newPath(i, *target)) : std::nullopt});
}

/// Names the files, the scenes that the user gave first.
void Collection::nameAll() {
    const auto isTaken = [&](const Origin& origin) {
        const std::string below = origin.folder.substr(origin.isGiven ? fGivenRoot.size() : 0);
        return origin.isGiven && (below + origin.name + '/').compare(0, fBelow.size(), fBelow) == 0;
    };
    fBelow = "files/";
    while (std::any_of(fOrigins.begin(), fOrigins.end(), isTaken)) fBelow.insert(0, 1, '_');
    for (const Origin& origin : fOrigins) {
        const std::string folder = origin.isGiven
                                       ? literalPath(origin.folder.substr(fGivenRoot.size()))
                                       : placeBelow(origin.folder);
        std::string target = folder + (origin.isPlain ? literalPath(origin.name) : origin.name);
        if (origin.isPlain) target = unused(target);
        if (target == kManifestName || !fTargets.insert(target).second)
            throw CommandError(fmt::format("two files would be {}", inQuotes(target)));
        fFiles.push_back({origin.folder + origin.name, target});
    }
}

std::string Collection::placeBelow(const std::string& folder) const {
    return fBelow + literalPath(folder.substr(fRoot.size()));
}

/// The name with a number where another file has it.
std::string Collection::unused(const std::string& target) const {
    const fs::path path(target);
    std::string free = target;
    for (int number = 2; fTargets.count(free) > 0; ++number)
        free = (path.parent_path() / path.stem()).string() + fmt::format("_{}", number) +
               path.extension().string();
    return free;
}

/// Gives the path from the scene's folder. It never begins with "~".
std::string Collection::newPath(size_t scene, const RowTarget& row) const {
    const std::string target =
        row.rest.empty() ? fFiles[row.file].target : placeBelow(row.folder) + row.rest;
    const fs::path folder = fs::path('/' + fFiles[scene].target).parent_path();
    const std::string path = fs::path('/' + target).lexically_relative(folder).string();
    return path[0] == '~' ? "./" + path : path;
}

}  // namespace orbo::Quilmeta
