// A digest of associations, to tell two states of them apart.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>

#include <cstdint>

namespace orbo::Data {

/// The same for the same content, as far as the texts of scene files can tell: null is the empty
/// string, empty channels and the kind of storage do not count, numbers count bit by bit. Equal
/// digests of other content are as unlikely as any 64 random bits. Good within this process.
std::uint64_t digestOf(const Associations& associations);

}  // namespace orbo::Data
