// Looks for the files that a path of a scene stands for.
// SPDX-License-Identifier: Apache-2.0
#include "references/FileLookup.h"

#include "process/CommandError.h"
#include "references/Gaps.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <string_view>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

std::string joined(const std::string& folder, const std::string& name) {
    if (folder.empty()) return name;
    return folder.back() == '/' ? folder + name : folder + '/' + name;
}

/// The path with the next of its names.
std::string added(const std::string& path, const std::vector<std::string>& names, size_t i) {
    return i == 0 && names[i].empty() ? "/" : joined(path, names[i]);
}

bool isThere(const std::string& path) {
    std::error_code error;
    return fs::exists(path, error);
}

bool isLiteral(const NamePattern& name) { return !name.hasTile() && !name.hasFrame(); }

/// Goes through the components of one path with tokens, and collects the files that fit.
class Walk {
  public:
    Walk(FolderLists& folders, const std::vector<std::string>& names)
        : fFolders(folders), fNames(names) {
        for (const std::string& name : names) fPatterns.emplace_back(name);
    }

    void from(const std::string& folder) { step(folder, 0, {}); }
    [[nodiscard]] std::vector<PatternFile> takeFiles() {
        std::sort(fFiles.begin(), fFiles.end(),
                  [](const auto& one, const auto& other) { return one.place < other.place; });
        return std::move(fFiles);
    }
    [[nodiscard]] const std::string& problem() const { return fProblem; }

  private:
    void step(std::string path, size_t i, const FilePlace& place) {
        for (; i < fNames.size() && isLiteral(fPatterns[i]); ++i) path = added(path, fNames, i);
        if (i == fNames.size()) {
            // A name of a list is there; literal names behind it may not be.
            if (!isLiteral(fPatterns.back()) || isThere(path)) fFiles.push_back({place, path});
            return;
        }
        const FolderList& list = fFolders.of(path);
        if (!list.problem().empty()) fProblem = inQuotes(path) + ": " + list.problem();
        const NamePattern& pattern = fPatterns[i];
        if (pattern.mayBeLiteral() && list.has(fNames[i]))
            return step(joined(path, fNames[i]), i + 1, place);
        list.visit(pattern.firstText(), pattern.lastText(), [&](const std::string& name) {
            if (const auto found = pattern.match(name, place))
                step(joined(path, name), i + 1, *found);
        });
    }

    FolderLists& fFolders;
    const std::vector<std::string>& fNames;
    std::vector<NamePattern> fPatterns;
    std::vector<PatternFile> fFiles;
    std::string fProblem;
};

bool anyOf(const std::vector<std::string>& names, bool (NamePattern::*says)() const) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return (NamePattern(name).*says)(); });
}

/// The part of a list of what is missing that people read.
std::string sentencePart(const char* what, const std::vector<std::string>& items) {
    if (items.empty()) return {};
    return fmt::format("{}{} {}", what,
                       items.size() == 1 && items[0].find('-') == std::string::npos ? "" : "s",
                       shortList(items, [](const std::string& item) { return item; }));
}

}  // namespace

SplitPath::SplitPath(const std::string& path) {
    for (size_t start = 0;;) {
        const size_t end = path.find('/', start);
        names.push_back(path.substr(start, end - start));
        if (end == path.npos) break;
        start = end + 1;
    }
    const auto first = std::find_if(names.begin(), names.end(), [](const std::string& name) {
        return !isLiteral(NamePattern(name));
    });
    firstPattern = static_cast<size_t>(first - names.begin());
}

std::string SplitPath::start(std::string folder) const {
    for (size_t i = 0; i < firstPattern; ++i) folder = added(folder, names, i);
    return folder;
}

std::string Lookup::target() const { return (fs::path(folder) / text).string(); }

std::string Lookup::whatIsMissing() const {
    if (!problem.empty() || !pattern) return problem;
    const std::string tiles = sentencePart("tile", pattern->missingTiles);
    const std::string frames = sentencePart("frame", pattern->missingFrames);
    if (!exists && tiles.empty()) return "no file fits";
    return tiles + (tiles.empty() || frames.empty() ? "" : "; ") + frames;
}

void FileLookup::prepare(const LookupArguments& arguments) {
    for (const std::string& definition : arguments.definitions) fVariables.define(definition);
    if (arguments.tiles) fTiles = parseTiles(*arguments.tiles);
}

Lookup FileLookup::find(const std::string& scene, const std::string& path) {
    Lookup lookup;
    const Variables::Expanded expanded = fVariables.expand(path);
    lookup.text = expanded.text;
    if (lookup.text.empty() || lookup.text[0] != '/')
        lookup.folder = fs::path(scene).parent_path().string();
    if (!expanded.undefined.empty()) {
        const bool one = expanded.undefined.size() == 1;
        lookup.problem =
            shortList(expanded.undefined, [](const std::string& name) { return name; }) +
            (one ? " is not set" : " are not set");
        return lookup;
    }
    if (path.empty()) lookup.problem = "not resolved";
    if (lookup.text.empty() || lookup.target().size() >= PATH_MAX) return lookup;
    // Most paths have no token, and this answers them without splitting.
    const bool maybePattern = lookup.text.find_first_of("#%$<") != std::string::npos;
    if (maybePattern) lookup.pattern = filesOf(lookup);
    lookup.exists = lookup.pattern ? !lookup.pattern->files.empty() : isThere(lookup.target());
    if (lookup.pattern && !lookup.exists) lookup.problem = lookup.pattern->problem;
    if (!lookup.exists && lookup.problem.empty() && !expanded.unknownUser.empty())
        lookup.problem = fmt::format("there is no user {}", inQuotes(expanded.unknownUser));
    return lookup;
}

/// Null when the path is that of one file.
std::shared_ptr<const PatternFiles> FileLookup::filesOf(const Lookup& lookup) {
    const std::pair<std::string, std::string> key(lookup.folder, lookup.text);
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        const auto known = fAnswers.find(key);
        if (known != fAnswers.end()) return known->second;
    }
    const SplitPath split(lookup.text);
    std::shared_ptr<PatternFiles> answer;
    if (split.isPattern()) {
        Walk walk(fFolders, split.names);
        walk.from(lookup.folder);
        answer = std::make_shared<PatternFiles>();
        answer->files = walk.takeFiles();
        answer->problem = walk.problem();
        const bool tiled = anyOf(split.names, &NamePattern::hasTile);
        const bool asUdim = anyOf(split.names, &NamePattern::hasUdim);
        const FilePlace none;
        const bool isFile = answer->files.size() == 1 && !(answer->files[0].place < none) &&
                            !(none < answer->files[0].place);
        // Every "#" was found to belong to a name.
        if (isFile)
            answer = nullptr;
        else
            findGaps(*answer, tiled ? fTiles : std::vector<unsigned>(), !asUdim);
    }
    const std::lock_guard<std::mutex> lock(fMutex);
    return fAnswers.emplace(key, answer).first->second;
}

}  // namespace orbo::Quilmeta
