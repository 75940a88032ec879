// Tells damaged bytes from whole ones.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

namespace orbo::Files {

class File;

/// CRC-64/XZ: the reflected ECMA-182 polynomial, with all bits inverted before and after. The
/// checksum of "123456789" is 0x995DC9BBDF1939FA.
class Checksum {
  public:
    void add(std::string_view bytes);
    /// Adds a range of a file, block by block; returns false when it cannot be read.
    [[nodiscard]] bool add(File& file, std::uint64_t at, std::uint64_t size);
    [[nodiscard]] std::uint64_t value() const { return ~fState; }

  private:
    std::uint64_t fState = ~std::uint64_t{0};
};

}  // namespace orbo::Files
