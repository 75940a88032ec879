// Lets a kind of scene keep the bytes of what stays in a record.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneRecord.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "scenes/PieceList.h"

namespace orbo::Data {

/// A kind of scene may derive from this, too. Like its other functions these depend on their
/// arguments alone. Such a kind gives back every text without zero bytes that `format` was given.
class SceneSplicing {
  public:
    /// Bytes of another record, which are to stand at an offset of a text.
    struct Splice {
        std::size_t at;
        std::string_view bytes;
    };

    SceneSplicing() = default;
    SceneSplicing(const SceneSplicing&) = delete;
    SceneSplicing& operator=(const SceneSplicing&) = delete;
    virtual ~SceneSplicing() = default;

    /// Returns where in the bytes of a record these offsets of its text stand, which ascend.
    /// Returns nothing if bytes from between two of them might mean something else elsewhere.
    [[nodiscard]] virtual std::vector<std::size_t> placesOf(
        std::string_view bytes, const std::vector<std::size_t>& offsets) const = 0;
    /// Returns the text for which the bytes between two such places stand.
    [[nodiscard]] virtual std::string textOf(std::string_view bytes) const = 0;
    /// Does what `SceneKind::format` does for the record with the splices in its text, which are in
    /// order. Their bytes outlive the pieces.
    [[nodiscard]] virtual bool format(const SceneRecord& record, const std::vector<Splice>& splices,
                                      PieceList& pieces) const = 0;
    /// Does what `SceneKind::parse` does with what `format` made, but leaves the kept bytes out of
    /// the text.
    [[nodiscard]] virtual std::optional<SceneRecord> parse(
        const std::vector<SceneChange::Piece>& pieces) const = 0;
};

}  // namespace orbo::Data
