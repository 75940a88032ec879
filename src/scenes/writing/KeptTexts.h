// Finds the texts of a node that need not be formatted anew.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "formats/WriteContext.h"
#include "scenes/SceneSplicing.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/reading/ReadSnapshot.h"

namespace orbo::Data {

/// The bytes of a record, by the offsets in its text that an outline has.
class RecordBytes {
  public:
    /// `bytes` outlive this. Nothing if the parts of such a record cannot be put elsewhere.
    static std::optional<RecordBytes> of(const SceneSplicing& splicing, std::string_view bytes,
                                         const std::vector<StreamOutline>& outlines);

    /// The bytes that stand for a range of the text, whose ends the outlines have.
    [[nodiscard]] std::string_view bytes(const KeptText::Range& range) const;
    [[nodiscard]] std::string text(const KeptText::Range& range) const;

  private:
    RecordBytes(const SceneSplicing& splicing, std::string_view bytes)
        : fSplicing(&splicing), fBytes(bytes) {}
    [[nodiscard]] std::size_t placeOf(std::size_t offset) const;

    const SceneSplicing* fSplicing;
    std::string_view fBytes;
    std::vector<std::size_t> fOffsets;
    std::vector<std::size_t> fPlaces;
};

/// Gives what the text of a node's record still says of the model, by stream. `record` is the one
/// that was read. Values decide, not flags: pointers into elements leave none.
KeptTexts keptTexts(const Associations& node, const NodeDigest& now,
                    const ReadSnapshot::NodeText& read, const RecordBytes& record);

}  // namespace orbo::Data
