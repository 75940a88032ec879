// Examines text sixteen bytes at a time.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
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
        return before((_mm_movemask_epi8(lessThanBlank) | ... | marks(characters)));
    }

  private:
    [[nodiscard]] int marks(char c) const {
        return _mm_movemask_epi8(_mm_cmpeq_epi8(fBytes, _mm_set1_epi8(c)));
    }
    static int before(int marks) {
        return __builtin_ctz(static_cast<unsigned>(marks) | 1U << kSize);
    }

    __m128i fBytes;
};

using SixteenBytes = SixteenVectorBytes;

#else

using SixteenBytes = SixteenPlainBytes;

#endif

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
