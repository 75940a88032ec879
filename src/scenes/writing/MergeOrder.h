// Puts the records of a new section in their order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "scenes/writing/MergeFacts.h"
#include "scenes/writing/MergeNodes.h"
#include "scenes/writing/MergeStructures.h"

namespace orbo::Data::Merge {

/// All records that stay or are written, in the order in which they will stand, and behind them
/// those that go.
std::vector<Item> itemsInOrder(const Facts& facts, const Fates& fates,
                               const StructureDecision& structures, const NodeDecision& nodes);

}  // namespace orbo::Data::Merge
