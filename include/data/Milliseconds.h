// A length of time.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Data {

/// Stands for `std::chrono::milliseconds` and is interchangeable with every duration of
/// `<chrono>`, a header that costs a compiler much. Times beyond 146 million years count as that.
///
///     accessor->setPatience(std::chrono::seconds(3));
///     accessor->setPatience(Milliseconds(3000));
///     std::chrono::milliseconds patience = accessor->patience();
class Milliseconds {
  public:
    constexpr explicit Milliseconds(long long count) : fCount(count) {}
    /// Takes any duration; what is below a millisecond is cut off.
    template <typename Duration, typename Period = typename Duration::period>
    // NOLINTNEXTLINE(google-explicit-constructor): it is the same time
    constexpr Milliseconds(const Duration& time) {
        const long double count = static_cast<long double>(time.count()) * 1000 *
                                  static_cast<long double>(Period::num) /
                                  static_cast<long double>(Period::den);
        fCount = count > kMost ? kMost : count < -kMost ? -kMost : static_cast<long long>(count);
    }
    /// Gives the time as any duration; coarser ones cut off. A time that the duration's number
    /// cannot hold is undefined, as in `<chrono>`.
    template <typename Duration, typename Period = typename Duration::period>
    constexpr operator Duration() const {  // NOLINT(google-explicit-constructor): as above
        return Duration(static_cast<typename Duration::rep>(
            static_cast<long double>(fCount) * static_cast<long double>(Period::den) /
            static_cast<long double>(Period::num) / 1000));
    }

    /// Gives the number of milliseconds.
    [[nodiscard]] constexpr long long count() const { return fCount; }

    friend constexpr bool operator==(Milliseconds a, Milliseconds b) {
        return a.fCount == b.fCount;
    }
    friend constexpr bool operator!=(Milliseconds a, Milliseconds b) {
        return a.fCount != b.fCount;
    }
    friend constexpr bool operator<(Milliseconds a, Milliseconds b) { return a.fCount < b.fCount; }

  private:
    static constexpr long long kMost = 1LL << 62;

    long long fCount = 0;
};

}  // namespace orbo::Data
