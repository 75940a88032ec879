// Tells two states of the records of a scene apart.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "core/KeyedHash.h"

namespace orbo::Data {

/// Covers the bytes of records and their order, but not where in the file they are. Valid only
/// within this process.
class Fingerprint {
  public:
    /// The hash of a record of so many bytes, to which its bytes are then added. If they come in
    /// pieces, all but the last have a multiple of 8 bytes.
    static KeyedHash begin(std::uint64_t size) {
        KeyedHash hash;
        hash.add(size);
        return hash;
    }
    void add(const KeyedHash& record) { fRecords.push_back(record.value()); }
    void add(std::string_view record) {
        KeyedHash hash = begin(record.size());
        hash.addBytes(record.data(), record.size());
        add(hash);
    }
    /// Call it when the records were added from the last in the file to the first.
    void reverse() { std::reverse(fRecords.begin(), fRecords.end()); }
    void clear() { fRecords.clear(); }

    [[nodiscard]] std::uint64_t value() const {
        KeyedHash all;
        for (const std::uint64_t record : fRecords) all.add(record);
        return all.value();
    }

  private:
    std::vector<std::uint64_t> fRecords;
};

}  // namespace orbo::Data
