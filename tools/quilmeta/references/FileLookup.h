// Looks for the files that a path of a scene stands for.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "references/FolderLists.h"
#include "references/LookupArguments.h"
#include "references/NamePattern.h"
#include "references/Variables.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

/// One file that a path with tokens stands for.
struct PatternFile {
    FilePlace place;
    std::string path;
};

/// The answer about a path with tokens.
struct PatternFiles {
    std::vector<PatternFile> files;  ///< by tile and frame
    /// Tiles that were asked for and are not there: "1003", or "u3_v1".
    std::vector<std::string> missingTiles;
    /// Between the first and the last frame: "12-15", "20". With a tile ahead, "1001: 12-15", where
    /// a path has both.
    std::vector<std::string> missingFrames;
    std::string problem;  ///< why a folder could not be read
};

/// The answer about one path.
struct Lookup {
    std::string folder;  ///< where a relative path begins; empty for others
    std::string text;    ///< the path with its variables expanded
    bool exists = false;
    std::string problem;  ///< why it does not exist; empty when there is no more to say
    std::shared_ptr<const PatternFiles> pattern;  ///< null for the path of one file

    [[nodiscard]] bool isMissing() const {
        return !exists ||
               (pattern && !(pattern->missingTiles.empty() && pattern->missingFrames.empty()));
    }
    /// The path to look at.
    [[nodiscard]] std::string target() const;
    /// Says in words what is missing: "frames 12-15, 20". Empty when there is no more to say than
    /// that the file is missing.
    [[nodiscard]] std::string whatIsMissing() const;
};

/// Any thread may look for any path. Folders are read once, and a path with tokens is worked out
/// once, so an answer tells what was there at some moment since this object was made.
class FileLookup {
  public:
    FileLookup() = default;
    /// Throws `UsageError`. Is to be called first.
    void prepare(const LookupArguments& arguments);

    /// A relative path starts at the scene's folder, where somebody who opens the scene would look.
    /// An empty path leads nowhere.
    Lookup find(const std::string& scene, const std::string& path);

  private:
    std::shared_ptr<const PatternFiles> filesOf(const Lookup& lookup);

    Variables fVariables;
    std::vector<unsigned> fTiles;
    FolderLists fFolders;
    std::mutex fMutex;  // guards the answers
    std::map<std::pair<std::string, std::string>, std::shared_ptr<const PatternFiles>> fAnswers;
};

/// The components of a path, and where the first with a token is; the whole path when there is
/// none. Single "#" count, whether or not they are frames.
struct SplitPath {
    explicit SplitPath(const std::string& path);

    std::vector<std::string> names;
    size_t firstPattern;  ///< among `names`; their number when there is none

    [[nodiscard]] bool isPattern() const { return firstPattern < names.size(); }
    /// The folder ahead of the first token, as the found files' paths begin.
    [[nodiscard]] std::string start(std::string folder) const;
};

}  // namespace orbo::Quilmeta
