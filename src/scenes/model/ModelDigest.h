// A digest of associations, to tell two states of them apart.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>

#include <cstdint>

namespace orbo::Data {

/// Equal for equal content, as far as scene files can tell: a null string equals the empty string,
/// empty channels and the kind of storage are ignored, numbers are compared bit by bit. Different
/// content has equal digests with a probability of 2^-64. Valid only within this process.
std::uint64_t digestOf(const Associations& associations);

}  // namespace orbo::Data
