// Examines text sixteen bytes at a time.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace orbo::Data {

/// Sixteen bytes of text, looked at one by one: what `SixteenBytes` is where the processor has
/// nothing better.
class SixteenPlainBytes {
  public:
    static constexpr std::ptrdiff_t kSize = 16;

    explicit SixteenPlainBytes(const char* from) { std::memcpy(fBytes, from, kSize); }

    /// How many bytes stand in front of the first of these characters; 16 when none is there.
    template <typename... Characters>
    [[nodiscard]] int countBefore(Characters... characters) const {
        int count = 0;
        while (count < kSize && (... && (fBytes[count] != characters))) ++count;
        return count;
    }
    /// The same for these characters and for those below a blank.
    template <typename... Characters>
    [[nodiscard]] int countBeforeControlOr(Characters... characters) const {
        int count = 0;
        while (count < kSize && static_cast<unsigned char>(fBytes[count]) >= ' ' &&
               (... && (fBytes[count] != characters))) {
            ++count;
        }
        return count;
    }

    /// Has a bit for each byte that is the character, the lowest for the first.
    [[nodiscard]] unsigned marks(char character) const {
        unsigned marks = 0;
        for (int i = 0; i < kSize; ++i) marks |= (fBytes[i] == character ? 1U : 0U) << i;
        return marks;
    }

  private:
    char fBytes[kSize];
};

#ifdef __SSE2__

/// The same in a register.
class SixteenVectorBytes {
  public:
    static constexpr std::ptrdiff_t kSize = 16;

    explicit SixteenVectorBytes(const char* from)
        : fBytes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))) {}

    template <typename... Characters>
    [[nodiscard]] int countBefore(Characters... characters) const {
        return before((... | marks(characters)));
    }
    template <typename... Characters>
    [[nodiscard]] int countBeforeControlOr(Characters... characters) const {
        const __m128i lessThanBlank =
            _mm_cmpeq_epi8(_mm_min_epu8(fBytes, _mm_set1_epi8(' ' - 1)), fBytes);
        return before((bitsOf(lessThanBlank) | ... | marks(characters)));
    }
    [[nodiscard]] unsigned marks(char character) const {
        return bitsOf(_mm_cmpeq_epi8(fBytes, _mm_set1_epi8(character)));
    }

  private:
    static unsigned bitsOf(__m128i bytes) {
        return static_cast<unsigned>(_mm_movemask_epi8(bytes));
    }
    static int before(unsigned marks) { return __builtin_ctz(marks | 1U << kSize); }

    __m128i fBytes;
};

using SixteenBytes = SixteenVectorBytes;

#else

using SixteenBytes = SixteenPlainBytes;

#endif

/// Marks the places of the character in the 64 bytes, the first in the lowest bit.
template <typename Bytes = SixteenBytes>
std::uint64_t marksIn64(const char* from, char character) {
    std::uint64_t marks = 0;
    for (int i = 0; i < 4; ++i) {
        marks |= std::uint64_t{Bytes(from + i * Bytes::kSize).marks(character)} << (16 * i);
    }
    return marks;
}

/// Returns the first of the characters, or `last`.
template <typename Bytes = SixteenBytes, typename... Characters>
const char* findFirstOf(const char* at, const char* last, Characters... characters) {
    for (; last - at >= Bytes::kSize; at += Bytes::kSize) {
        const int count = Bytes(at).countBefore(characters...);
        if (count < Bytes::kSize) return at + count;
    }
    while (at != last && (... && (*at != characters))) ++at;
    return at;
}

}  // namespace orbo::Data
