// What a scan finds in a text scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <cstdint>
#include <optional>

#include "scenes/text/TextLinesAhead.h"

namespace orbo::Data {

/// The section runs from the first metadata statement, with the guard in front of it, to the
/// trailer. Statements that were not understood are lines like others in it.
struct TextLayout final : SceneLayout {
    /// Offset of the line "// End of"; empty in a scene that has none, which takes no section.
    std::optional<std::uint64_t> trailer;
    /// The lines in front of the first statement or, without any, of the trailer.
    TextLinesAhead linesAhead{0};
};

}  // namespace orbo::Data
