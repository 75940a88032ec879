// Tells which nodes need no trial to be known to read back as they are.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>

namespace orbo::Data {

/// True when the raw format gives back the associations that it wrote with exact numbers, provided
/// that `notCarriedOf` finds nothing wrong with them. False also where that would take a trial: for
/// index types and formats of plug-ins, and for odd structures and names.
bool readsBackForCertain(const Associations& associations);

}  // namespace orbo::Data
