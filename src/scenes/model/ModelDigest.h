// Tells whether the caller has edited what a read or write left in the model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include <cstdint>

#include "scenes/reading/ModelReading.h"

namespace orbo::Data {

/// The same for the same content, as far as the texts of scene files can tell: null is the empty
/// string, empty channels and the kind of storage do not count, numbers count bit by bit. Equal
/// digests of other content are as unlikely as any 64 random bits. Good within this process.
std::uint64_t digestOf(const Associations& associations);

/// Whether a write of the model would store what was taken from the file and nothing else. False
/// also when that cannot be told for some node.
bool isUnedited(const Accessor& accessor, const TakenNames& taken);

}  // namespace orbo::Data
