// The scenes and files of a collection, and where they go.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "references/FileLookup.h"
#include "scene/SceneAccess.h"

#include <sys/types.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace orbo::Quilmeta {

/// The name of the list of all files, at the top of the folder.
constexpr const char* kManifestName = "manifest.json";

/// One file that is copied.
struct CollectedFile {
    std::string source;  ///< without links in its folder
    std::string target;  ///< in the folder of the collection
    struct Row {
        std::string path;                    ///< as it was when it was looked up
        std::optional<std::string> newPath;  ///< no value where the row stays
    };
    std::vector<Row> rows{};  ///< of a scene's table
};

/// A row whose file cannot be collected, or not all of its files.
struct MissingReference {
    std::string scene, node, key, path;
    std::string reason;  ///< may be empty
};

/// Scenes go to the top of the folder, as they lie below the last folder that they share. All other
/// files go below "files", in the same way. A scene that a scene refers to is one of these files,
/// and its own files are collected as well.
class Collection {
  public:
    explicit Collection(FileLookup& lookup) : fLookup(lookup) {}

    /// Reads the tables of the scenes, and of those that they refer to, and looks for their files.
    /// Returns the worst outcome of any scene; the output gets the failures alone.
    Outcome read(const std::vector<std::string>& scenes, const SceneAccess& access,
                 const EachFile& how, Output& output);
    /// Decides where everything goes. Throws `CommandError` when two files would have one name.
    void plan();

    [[nodiscard]] const std::vector<MissingReference>& missing() const { return fMissing; }
    /// Complete once planned; scenes come first.
    [[nodiscard]] const std::vector<CollectedFile>& files() const { return fFiles; }

  private:
    struct Row {
        std::string node, key, path;
        Lookup lookup;
    };
    using Rows = std::vector<Row>;
    /// Where a row's file is: the number of a file, or a pattern with the folder ahead of it.
    struct RowTarget {
        size_t file = 0;
        std::string folder, rest{};  // of a pattern; `rest` is empty for a file
    };
    struct OriginRow {
        std::string path;
        std::optional<RowTarget> target;
    };
    /// The place of a file before anything is named.
    struct Origin {
        std::string folder, name;
        std::string path;      // as the user or another scene has it
        bool isGiven = false;  // a scene that the user named
        bool isPlain = true;   // may get another name
        std::vector<OriginRow> rows{};
    };
    using Identity = std::tuple<dev_t, ino_t, std::string>;

    [[nodiscard]] Rows readRows(const std::string& scene, const SceneAccess& access,
                                Outcome& outcome) const;
    void resolve(size_t scene, const std::string& file, const Rows& rows);
    std::optional<RowTarget> targetOf(const Lookup& lookup, std::string& problem);
    std::optional<RowTarget> targetOfPattern(const Lookup& lookup, std::string& problem);
    std::optional<size_t> addFile(const std::string& path, std::string& problem);
    void addPatternFile(const std::string& path);
    size_t add(Origin origin);
    void nameAll();
    [[nodiscard]] std::string placeBelow(const std::string& folder) const;
    [[nodiscard]] std::string unused(const std::string& target) const;
    [[nodiscard]] std::string newPath(size_t scene, const RowTarget& row) const;

    FileLookup& fLookup;
    std::vector<Origin> fOrigins;
    std::vector<CollectedFile> fFiles;
    std::vector<MissingReference> fMissing;
    std::map<std::string, size_t> fByPath;
    std::map<Identity, size_t> fByIdentity;
    std::vector<size_t> fScenesToRead;
    std::set<std::string> fTargets;
    std::string fGivenRoot, fRoot;  // folders that the given scenes, and the other files, share
    std::string fBelow;             // where the other files go: "files/"
};

}  // namespace orbo::Quilmeta
