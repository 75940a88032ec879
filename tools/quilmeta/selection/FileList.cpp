// The files that a command is to work on.
// SPDX-License-Identifier: Apache-2.0
#include "selection/FileList.h"

#include "process/CommandError.h"
#include "process/InputText.h"
#include "process/Messages.h"
#include "selection/NamePatterns.h"
#include "values/SafeText.h"

#include <data/Accessor.h>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

/// Walks folders and gathers the scenes in them.
class FolderWalk {
  public:
    FolderWalk(const FileArguments& arguments, std::vector<std::string>& found)
        : fFound(found), fExtensions(Data::Accessor::supportedExtensions()) {
        for (const std::string& pattern : arguments.includes) add(fIncludes, "--include", pattern);
        for (const std::string& pattern : arguments.excludes) add(fExcludes, "--exclude", pattern);
    }

    void walk(const fs::path& folder) {
        std::error_code error;
        std::vector<fs::directory_entry> entries;
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error))
            entries.push_back(*entry);
        if (error) fFound.push_back(folder.string());
        std::sort(entries.begin(), entries.end());
        for (const fs::directory_entry& entry : entries) take(entry);
    }

  private:
    /// Refuses a pattern of a path, which would silently fit nothing.
    static void add(NamePatterns& patterns, const char* option, const std::string& pattern) {
        if (pattern.find('/') != pattern.npos)
            throw UsageError(
                fmt::format("{} takes a name without \"/\", not {}", option, inQuotes(pattern)));
        patterns.add(pattern);
    }

    void take(const fs::directory_entry& entry) {
        std::error_code error;
        const std::string name = entry.path().filename().string();
        if (fExcludes.patternFor(name) || entry.is_symlink(error)) return;
        if (entry.is_directory(error)) return walk(entry.path());
        // What may not be looked at stays: the work on it reports why.
        const bool isFile = entry.is_regular_file(error) || error;
        if (isFile && isSceneName(entry.path()) && fIncludes.want(name))
            fFound.push_back(entry.path().string());
    }

    [[nodiscard]] bool isSceneName(const fs::path& path) const {
        std::string extension = path.extension().string();
        for (char& letter : extension)
            if (letter >= 'A' && letter <= 'Z') letter += 'a' - 'A';
        return !extension.empty() && fExtensions.count(extension.substr(1)) > 0;
    }

    std::vector<std::string>& fFound;
    NamePatterns fIncludes, fExcludes;
    std::set<std::string> fExtensions;
};

void addList(std::vector<std::string>& names, const std::string& list, char end) {
    const std::string text = [&] {
        try {
            return inputText(list);
        } catch (const CommandError& error) {
            throw CommandError(fmt::format("{}: {}", subjectOf(list), error.what()));
        }
    }();
    for (size_t begin = 0; begin < text.size();) {
        const size_t stop = std::min(text.find(end, begin), text.size());
        std::string name = text.substr(begin, stop - begin);
        if (end == '\n' && !name.empty() && name.back() == '\r') name.pop_back();
        if (!name.empty()) names.push_back(std::move(name));
        begin = stop + 1;
    }
}

}  // namespace

bool isAssignment(const std::string& word) {
    const size_t sign = word.find_first_of("=/");
    return sign != std::string::npos && word[sign] == '=';
}

std::string noFileBut(const std::string& word) {
    return fmt::format("no file is given: {} has a \"=\", a file of that name is {}",
                       inQuotes(word), inQuotes("./" + word));
}

std::vector<std::string> takeAssignments(FileArguments& arguments) {
    const auto isFile = [](const std::string& word) { return !isAssignment(word); };
    std::vector<std::string>& words = arguments.words;
    const auto assignments = std::stable_partition(words.begin(), words.end(), isFile);
    std::vector<std::string> taken(assignments, words.end());
    words.erase(assignments, words.end());
    if (!taken.empty()) arguments.assignment = taken.front();
    return taken;
}

std::vector<std::string> filesOf(const FileArguments& arguments) {
    std::vector<std::string> names = arguments.words;
    if (arguments.filesFrom) addList(names, *arguments.filesFrom, '\n');
    if (arguments.files0From) addList(names, *arguments.files0From, '\0');
    const bool listed = arguments.filesFrom || arguments.files0From;
    if (names.empty() && !listed)
        throw UsageError(arguments.assignment.empty() ? "no file is given"
                                                      : noFileBut(arguments.assignment));
    std::vector<std::string> files;
    bool passedFolders = false;
    FolderWalk walk(arguments, files);
    for (const std::string& name : names) {
        std::error_code error;
        const bool isFolder = fs::is_directory(name, error);
        passedFolders = passedFolders || (isFolder && !arguments.recursive);
        if (isFolder && arguments.recursive)
            walk.walk(name);
        else
            files.push_back(name);
    }
    if (passedFolders) remark("-r takes the scenes in folders");
    if (files.empty())
        remark(names.empty() ? "the list names no file" : "no scene is in the folders");
    return files;
}

}  // namespace orbo::Quilmeta
