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
    void store(char* to) const { std::memcpy(to, &fBits, sizeof fBits); }

    [[nodiscard]] std::uint64_t bits() const { return fBits; }

    /// How many bytes stand in front of the first of these characters; 8 when none is there.
    template <typename... Characters>
    [[nodiscard]] int countBefore(Characters... characters) const {
        return trailingZeros((... | marks(characters))) / 8;
    }
    /// The same for these characters and for those below a blank.
    template <typename... Characters>
    [[nodiscard]] int countBeforeControlOr(Characters... characters) const {
        return trailingZeros((marksBelow(' ') | ... | marks(characters))) / 8;
    }
    /// The number of zero bits below the lowest set bit; 64 for 0.
    static int trailingZeros(std::uint64_t bits) { return bits == 0 ? 64 : __builtin_ctzll(bits); }

  private:
    /// The lowest bit set is the top bit of the first byte that equals the character.
    [[nodiscard]] std::uint64_t marks(char c) const {
        const std::uint64_t difference = fBits ^ all(static_cast<unsigned char>(c));
        return (difference - all(1)) & ~difference & all(0x80);
    }
    /// The lowest bit set is the top bit of the first byte that is less; `limit` is at most 128.
    [[nodiscard]] std::uint64_t marksBelow(char limit) const {
        return (fBits - all(static_cast<unsigned char>(limit))) & ~fBits & all(0x80);
    }

    std::uint64_t fBits = 0;
};

/// The position of the first of these characters from `at` on; `end` when none is there.
template <typename... Characters>
const char* findAnyOf(const char* at, const char* end, Characters... characters) {
    while (EightBytes::kUsable && end - at >= EightBytes::kSize) {
        const int others = EightBytes(at).countBefore(characters...);
        at += others;
        if (others < EightBytes::kSize) return at;
    }
    while (at != end && (... && (*at != characters))) ++at;
    return at;
}

static_assert(EightBytes::all(0x80) == 0x8080808080808080);

}  // namespace orbo::Data
