// Compares elements of one structure bit by bit.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ConstHandle.h>
#include <data/Structure.h>

#include <cstddef>
#include <vector>

namespace orbo::Quilmeta {

/// Compares elements whose structures are equal, though they need not be the same object. A null
/// string is the same as an empty one: no scene file can tell them apart.
class ElementBits {
  public:
    explicit ElementBits(const Data::Structure& structure);

    [[nodiscard]] bool areSame(Data::ConstHandle left, Data::ConstHandle right) const;
    /// Compares the values of one member, which lie side by side.
    static bool areSame(const Data::Member& member, const void* left, const void* right);
    /// Exchanges them; strings change their owners.
    static void swap(const Data::Member& member, void* left, void* right);

  private:
    struct Range {
        size_t offset, size;
    };
    struct Strings {
        size_t offset, count;
    };

    /// Where an element begins in memory.
    [[nodiscard]] const char* begin(Data::ConstHandle& element) const;

    const Data::Member* fFirst = nullptr;
    std::vector<Range> fPlain;  // members side by side are one range
    std::vector<Strings> fStrings;
};

}  // namespace orbo::Quilmeta
