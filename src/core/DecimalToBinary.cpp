// Converts decimal numbers of up to 19 digits to float and double.
// SPDX-License-Identifier: Apache-2.0
#include "core/DecimalToBinary.h"

#ifdef METADATA_FAST_FLOAT
#include <fast_float/fast_float.h>

#include <cstring>
#include <type_traits>
#endif

namespace orbo::Data {

#ifdef METADATA_FAST_FLOAT

namespace {

template <typename T>
bool convert(std::uint64_t digits, int power, T& value) {
    using Format = fast_float::binary_format<T>;
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    const fast_float::adjusted_mantissa near = fast_float::compute_float<Format>(power, digits);
    const bool isNormal = near.power2 > 0 && near.power2 < Format::infinite_power();
    const auto bits = static_cast<Bits>(near.mantissa | static_cast<std::uint64_t>(near.power2)
                                                            << Format::mantissa_explicit_bits());
    if (isNormal) std::memcpy(&value, &bits, sizeof value);
    return isNormal;
}

}  // namespace

bool decimalToBinary(std::uint64_t digits, int power, float& value) {
    return convert(digits, power, value);
}
bool decimalToBinary(std::uint64_t digits, int power, double& value) {
    return convert(digits, power, value);
}

#else

bool decimalToBinary(std::uint64_t, int, float&) { return false; }
bool decimalToBinary(std::uint64_t, int, double&) { return false; }

#endif

}  // namespace orbo::Data
