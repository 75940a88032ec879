// Finds the texts of a node that need not be formatted anew.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>

#include <map>
#include <string_view>

#include "formats/WriteContext.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/reading/ReadSnapshot.h"

namespace orbo::Data {

/// Gives what the text of a node's record still says of the model, by stream. `text` is the one
/// that was read; the result has views of it. Values decide, not flags: pointers into elements
/// leave none.
KeptTexts keptTexts(const Associations& node, const NodeDigest& now,
                    const ReadSnapshot::NodeText& read, std::string_view text);

}  // namespace orbo::Data
