// Structures and associations as scene files hold them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace orbo::Data {

/// A place in a file, as far as it is known.
struct FilePlace {
    /// Counts bytes from the start of the file.
    std::optional<std::uint64_t> offset = {};
    /// Names the chunk, in files that are made of chunks.
    std::string tag = {};
};

/// Holds one structure, or the associations of one node, as text in some format.
///
///     SceneRecord record;
///     record.kind = SceneRecord::Kind::kAssociations;
///     record.format = "raw";
///     record.name = "teapotShape";
///     record.text = "channel vertex\n...";
struct SceneRecord {
    enum class Kind { kStructure, kAssociations };

    Kind kind = Kind::kStructure;
    /// Names the serializer that reads the text.
    std::string format = {};
    /// Names the node; empty for the scene itself. Not used for a structure: its text names it.
    std::string name = {};
    /// The text has none of the file's escapes.
    std::string text = {};
    FilePlace place = {};
    /// Is false when the file holds more of the record than `SceneKind::format` would write. A
    /// careful write then refuses to change it.
    bool plain = true;
    /// Counts bytes that belong to the record and that nobody reads; `check` reports them.
    std::uint64_t leftover = 0;
};

/// Tells where a record lies in the file, with all that belongs to it.
struct SceneRecordRange {
    SceneRecord::Kind kind = SceneRecord::Kind::kStructure;
    /// Is the offset of the first byte.
    std::uint64_t begin = 0;
    /// Is the offset of the first byte behind it.
    std::uint64_t end = 0;
    /// Is false when the record lacks its end mark: it then reaches to the next record.
    bool closed = true;
    /// See `FilePlace`.
    std::string tag = {};
};

}  // namespace orbo::Data
