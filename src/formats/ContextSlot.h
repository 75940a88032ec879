// The place where a stream carries a context.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ios>

namespace orbo::Data {

/// Returns the number for `std::ios_base::pword` that belongs to this type of context.
template <typename Context>
int contextSlot() {
    static const int number = std::ios_base::xalloc();
    return number;
}

}  // namespace orbo::Data
