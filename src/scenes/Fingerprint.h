// Tells two states of the records of a scene apart.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "core/ContentHash.h"

namespace orbo::Data {

/// Tells a text from others, within this process.
inline std::uint64_t digestOfText(std::string_view text) {
    ContentHash hash;
    hash.addBytes(text.data(), text.size());
    hash.add(std::uint64_t{text.size()});
    return hash.value();
}

/// Covers the bytes of records and their order, but not where in the file they are. Valid only
/// within this process.
class Fingerprint {
  public:
    /// What `add` takes of a record.
    static std::uint64_t of(std::string_view record) { return digestOfText(record); }
    void add(std::uint64_t record) { fRecords.push_back(record); }
    void add(std::string_view record) { add(of(record)); }
    /// The same for a record whose bytes are in the hash already, in pieces of which all but the
    /// last have a multiple of 8 bytes.
    void add(ContentHash& record, std::uint64_t size) {
        record.add(size);
        fRecords.push_back(record.value());
    }
    /// Call it when the records were added from the last in the file to the first.
    void reverse() { std::reverse(fRecords.begin(), fRecords.end()); }
    void clear() { fRecords.clear(); }

    [[nodiscard]] std::uint64_t value() const {
        ContentHash all;
        for (const std::uint64_t record : fRecords) all.add(record);
        return all.value();
    }

  private:
    std::vector<std::uint64_t> fRecords;
};

}  // namespace orbo::Data
