// Merges three scene files.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"
#include "scene/SceneFile.h"

#include <optional>
#include <string>

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

/// Merges the metadata, and writes it into a copy of the side whose payload is taken: the one that
/// changed it, else ours. The payload is everything but the metadata. Conflicts are printed, with
/// the values of all sides; `out` is then as it was, and the outcome is `kFound`. It is `kFailed`,
/// with a message, when a scene cannot be read completely. Throws `CommandError` when `out` cannot
/// be written.
Outcome mergeScenes(const MergeRequest& request, Output& output);

/// A name with the extension of the scene's kind: `path` if its extension says what `file` is, else
/// one by the content of `file`. Throws `CommandError` about `file` when it is no scene.
std::string kindNameOf(const std::string& path, const std::string& file);

/// Whether it is a file without a byte.
bool isEmptyFile(const std::string& file);

}  // namespace orbo::Quilmeta
