// Examines text eight bytes at a time.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace orbo::Data {

/// Eight bytes as one number, the first byte lowest. Use it only where `kUsable` says that the
/// processor loads bytes in that order.
class EightBytes {
  public:
    static constexpr bool kUsable = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    static constexpr std::ptrdiff_t kSize = 8;
    /// A number with this value in each byte.
    static constexpr std::uint64_t all(unsigned char value) {
        return std::uint64_t{0x0101010101010101} * value;
    }

    explicit EightBytes(const char* from) { std::memcpy(&fBits, from, sizeof fBits); }

    [[nodiscard]] std::uint64_t bits() const { return fBits; }

    /// The number of zero bits below the lowest set bit; 64 for 0.
    static int trailingZeros(std::uint64_t bits) { return bits == 0 ? 64 : __builtin_ctzll(bits); }

  private:
    std::uint64_t fBits = 0;
};

static_assert(EightBytes::all(0x80) == 0x8080808080808080);

}  // namespace orbo::Data
