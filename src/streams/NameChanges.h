// Counts how often a stream came to have another name.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace orbo::Data {

class NameChanges {
  public:
    static void note() noexcept;
    static std::uint64_t count() noexcept;
};

}  // namespace orbo::Data
