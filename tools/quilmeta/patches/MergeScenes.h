// Merges three scene files.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "patches/Apply.h"
#include "patches/Merge.h"
#include "process/Output.h"
#include "scene/SceneFile.h"

#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

enum class MergeSide { kOurs, kTheirs };

struct MergeRequest {
    std::string base;  ///< an empty file stands for a scene that neither side had
    std::string ours, theirs;
    std::string out;                   ///< may be one of the three; replaced when it is there
    std::string path;                  ///< stands ahead of each conflict; empty for nothing
    std::optional<MergeSide> payload;  ///< whose payload to take, where both changed it
    SceneAccess access;                ///< also says the kind of the scenes
};

/// The scenes to merge, which were read completely.
struct MergeSides {
    const Data::Accessor* base;  ///< null for a scene that neither side had
    const Data::Accessor& ours;
    const Data::Accessor& theirs;
};

/// What became of a merge. With a conflict of any kind `out` is as it was.
struct MergeResult {
    std::vector<MergeConflict> conflicts{};
    bool isPayloadInConflict = false;  ///< both sides changed it, and nobody said whose to take
    std::vector<ApplyProblem> uses{};  ///< one side puts to use what the other changed
    Patch changes{};                   ///< of a dry run: what makes ours `out`

    [[nodiscard]] bool hasConflict() const {
        return !conflicts.empty() || isPayloadInConflict || !uses.empty();
    }
};

/// Merges the metadata, and writes it into a copy of the side whose payload is taken: the one that
/// changed it, else ours. The payload is everything but the metadata. Throws `CommandError` when
/// `out` cannot be written.
MergeResult merge(const MergeRequest& request, const MergeSides& sides);

/// Reads the scenes, and merges them. Conflicts are printed, with the values of all sides, and the
/// outcome is `kFound`. It is `kFailed`, with a message, when a scene cannot be read completely.
/// Throws what `merge` throws.
Outcome mergeScenes(const MergeRequest& request, Output& output);

/// Throws `CommandError` unless `out` has the extension of the kind of scene that `ours` is.
void demandSameKind(const std::string& out, const std::string& ours);

/// A name with the extension of the scene's kind: `path` if its extension says what `file` is, else
/// one by the content of `file`. Throws `CommandError` about `file` when it is no scene.
std::string kindNameOf(const std::string& path, const std::string& file);

/// Whether it is a file without a byte.
bool isEmptyFile(const std::string& file);

}  // namespace orbo::Quilmeta
