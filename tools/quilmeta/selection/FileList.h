// The files that a command is to work on.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// What the user said about files: names, folders, lists, and how many files at once.
struct FileArguments {
    std::vector<std::string> words;         ///< files, and folders where `recursive`
    bool recursive = false;                 ///< take the scenes in folders, and in theirs
    std::vector<std::string> includes;      ///< of files found in folders, only these
    std::vector<std::string> excludes;      ///< and none of these; folders as well
    std::optional<std::string> filesFrom;   ///< a file with a name on each line; "-" is our input
    std::optional<std::string> files0From;  ///< a file with names that a NUL ends
    std::string assignment;                 ///< the first word that was taken as an assignment
    size_t jobs = 0;                        ///< files at once; 0 is the number of processors

    /// The user gave the name of a single file, and no folder or list that may have others.
    [[nodiscard]] bool isOneFile() const {
        return words.size() == 1 && !recursive && !filesFrom && !files0From;
    }
};

/// An assignment such as `side=1`, or what looks like one: a word with "=" unless "/" stands before
/// the first.
bool isAssignment(const std::string& word);

/// Says that no file is given, but that word, which is taken for an assignment.
std::string noFileBut(const std::string& word);

/// Takes the words that are no files, but assignments, out of the arguments. So `./a=b.kx` is a
/// file.
std::vector<std::string> takeAssignments(FileArguments& arguments);

/// The files in the order of the arguments. A folder becomes the scenes in it, by the extensions
/// that are known, sorted by name: symbolic links in it are not followed, and journals are left
/// out. Throws `CommandError` when there is no file at all, or a list cannot be read. A folder that
/// cannot be read, or is not wanted, stays in the list, so that working on it reports that.
std::vector<std::string> filesOf(const FileArguments& arguments);

}  // namespace orbo::Quilmeta
