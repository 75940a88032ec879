// A hash that nobody outside the process can foresee.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orbo::Data {

/// SipHash-1-3 with a key that every process draws anew: whoever makes a file cannot choose texts
/// that have the same hash. The values mean nothing to another process.
class KeyedHash {
  public:
    KeyedHash();

    void add(std::uint64_t word);
    /// Two texts in a row hash otherwise than one text of both.
    void add(std::string_view text);
    /// Bytes of a known number.
    void addBytes(const char* bytes, std::size_t count);
    /// Nothing may be added afterwards.
    [[nodiscard]] std::uint64_t value();

  private:
    void round();

    std::array<std::uint64_t, 4> fState;
    std::uint64_t fWords = 0;
};

}  // namespace orbo::Data
