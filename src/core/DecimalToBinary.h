// Converts decimal numbers of up to 19 digits to float and double.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace orbo::Data {

/// Gives the float or double nearest to `digits` times ten to the `power`, as `std::from_chars`
/// does. Returns false where that is not a normal number, where the approximation is too close to
/// call, and for all numbers where the library was built without `fast_float`.
bool decimalToBinary(std::uint64_t digits, int power, float& value);
bool decimalToBinary(std::uint64_t digits, int power, double& value);

}  // namespace orbo::Data
