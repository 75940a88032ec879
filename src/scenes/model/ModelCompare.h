// Compares what was read back with what was to be written.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include <string>

#include "scenes/model/WrittenModel.h"

namespace orbo::Data {

/// The same content, as far as the texts of scene files can tell; see below.
bool isSame(const Associations& left, const Associations& right);

/// False, with a message that names the first place that differs. Structures are looked up in this
/// thread's registry; both sides may have more than `model` asks for. Null and the empty string are
/// the same, empty channels and the kind of storage do not count, numbers are compared bit by bit.
bool readBackIsSame(const WrittenModel& model, const Accessor::AssociationsMap& readBack,
                    std::string& errors);

}  // namespace orbo::Data
