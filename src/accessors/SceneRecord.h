// Structures and associations as scene files hold them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace orbo::Data {

/// Where in a file something lies, as far as it is known.
struct FilePlace {
    std::optional<std::uint64_t> offset = {};
    std::string tag = {};  // of the chunk in a binary scene
};

/// The text of one of them.
struct SceneRecord {
    enum class Kind { kStructure, kAssociations };

    Kind kind = Kind::kStructure;
    /// Of the serializer that reads the text.
    std::string format;
    /// The node, empty for the scene itself. Of a structure only its text knows the name.
    std::string name;
    std::string text;
    FilePlace place = {};
    /// Bytes that belong to it and that nobody reads.
    std::uint64_t leftover = 0;
};

/// Where a record lies in the file, with all that belongs to it.
struct SceneRecordRange {
    SceneRecord::Kind kind = SceneRecord::Kind::kStructure;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    /// False for the statement of a text scene that lacks its ";": it ends where the next begins.
    bool closed = false;
};

}  // namespace orbo::Data
