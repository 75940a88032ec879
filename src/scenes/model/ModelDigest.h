// A digest of associations, to tell two states of them apart.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>

#include <cstdint>
#include <map>
#include <vector>

namespace orbo::Data {

struct StreamDigest {
    std::uint64_t header = 0;  // of the name, the type of the indices and the structure
    /// Has one digest for each `StreamOutline::kBlock` elements, in order.
    std::vector<std::uint64_t> blocks = {};
};

struct NodeDigest {
    std::uint64_t value = 0;
    /// Has the streams in order, without those of empty channels.
    std::vector<StreamDigest> streams = {};
};

/// Equal for equal content, as far as scene files can tell: a null string equals the empty string,
/// empty channels and the kind of storage are ignored, numbers are compared bit by bit. Different
/// content has equal digests with a probability of 2^-64. Valid only within this process.
NodeDigest digestOf(const Associations& associations);

/// Remembers digests, as long as nobody changes the model.
class ModelDigests {
  public:
    const NodeDigest& of(const Associations& associations);

  private:
    std::map<const Associations*, NodeDigest> fKnown;
};

}  // namespace orbo::Data
