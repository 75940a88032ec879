// Converts numbers to bytes and back, highest byte first.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orbo::Files {

inline std::string bigEndian(std::uint64_t value, std::size_t bytes) {
    std::string result(bytes, '\0');
    for (std::size_t i = bytes; i-- > 0; value >>= 8) result[i] = static_cast<char>(value & 0xFF);
    return result;
}

inline std::uint64_t fromBigEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

}  // namespace orbo::Files
