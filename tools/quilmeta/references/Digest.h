// The SHA-256 of a file.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace orbo::Quilmeta {

struct Digest {
    std::uint64_t size = 0;
    std::string sha256;  ///< 64 hexadecimal digits, small letters
};

/// Reads all of the file. Throws `CommandError` without its name.
Digest digestOf(const std::string& file);

}  // namespace orbo::Quilmeta
