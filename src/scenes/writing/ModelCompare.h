// Compares what was read back with what was to be written.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/Finding.h>

#include <optional>
#include <set>
#include <string>

#include "formats/WriteContext.h"
#include "scenes/writing/WrittenModel.h"

namespace orbo::Data {

/// Whether both have the same content, as far as scene files can tell; see `differenceOf`.
bool isSame(const Associations& left, const Associations& right);

/// The first place where what was read back differs from the model, as a finding without code;
/// empty when there is none. Structures are looked up in this thread's registry; both sides may
/// have more than `model` asks for. A null string equals the empty string, empty channels and the
/// kind of storage are ignored, numbers are compared bit by bit. Nodes in `leftOut` read back
/// empty.
std::optional<Finding> differenceOf(const WrittenModel& model,
                                    const Accessor::AssociationsMap& readBack,
                                    const std::set<std::string>& leftOut = {});
/// The same for one node, of which everything was read back but the elements that `kept` has.
std::optional<Finding> differenceOf(const WrittenModel::Node& node, const KeptTexts& kept,
                                    const Associations& readBack);

}  // namespace orbo::Data
