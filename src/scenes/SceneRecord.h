// Structures and associations as scene files hold them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orbo::Data {

/// The four characters that say what a chunk of a binary scene is; zeros are none.
class ChunkTag {
  public:
    ChunkTag() = default;
    /// Of at most four characters.
    explicit ChunkTag(std::string_view tag) { tag.copy(fBytes.data(), fBytes.size()); }

    [[nodiscard]] std::string_view view() const {
        return {fBytes.data(), fBytes == std::array<char, 4>() ? 0 : fBytes.size()};
    }

  private:
    std::array<char, 4> fBytes{};
};

/// Where in a file something lies, as far as it is known.
struct FilePlace {
    std::optional<std::uint64_t> offset = {};
    ChunkTag tag = {};  // of the chunk in a binary scene
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
    /// False for a statement of a text scene that holds more than a write would say of the record.
    bool plain = true;
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
