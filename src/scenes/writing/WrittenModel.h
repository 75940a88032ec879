// What a write stores of an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/Channel.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <string>
#include <vector>

#include "scenes/reading/ReadSnapshot.h"

namespace orbo::Data {

/// Holds references on the structures, and refers to the accessor's associations.
class WrittenModel {
  public:
    struct Node {
        const std::string* name;  // empty for the scene
        const Associations* associations;
    };

    /// Leaves out the nodes that were read in part. The accessor outlives the model.
    WrittenModel(const Accessor& accessor, const ReadSnapshot& snapshot, bool addMissingStructures);

    /// Sorted by name, byte by byte. Includes structures that only streams have, if asked for.
    [[nodiscard]] const std::vector<RefPtr<const Structure>>& structures() const {
        return fStructures;
    }
    /// Sorted by name, without nodes that have no channels: these are not written.
    [[nodiscard]] const std::vector<Node>& nodes() const { return fNodes; }

    /// Null when no structure of that name is written.
    [[nodiscard]] const Structure* structure(const std::string& name) const;
    [[nodiscard]] bool hasNode(const std::string& name) const;
    /// The accessor's entry, also if it is empty; null without one.
    [[nodiscard]] const Associations* entry(const std::string& node) const;
    /// The names of all entries, in order; nodes that were read in part are not among them.
    [[nodiscard]] std::vector<std::string> entryNames() const;
    /// What the file holds of the model once it is written; digests of the nodes are missing.
    [[nodiscard]] ReadSnapshot snapshot() const;

  private:
    void addStructuresOfStreams();

    const Accessor::AssociationsMap& fEntries;
    const std::map<std::string, std::uint64_t>& fPartialNodes;
    std::vector<RefPtr<const Structure>> fStructures;
    std::vector<Node> fNodes;
};

/// Calls `visit(channel, stream)` for each stream there is, in order, until it returns false;
/// returns whether all were visited.
template <typename Visit>
bool forEachStream(const Associations& associations, const Visit& visit) {
    for (const Channel& channel : associations) {
        for (const Stream& stream : channel) {
            if (!visit(channel, stream)) return false;
        }
    }
    return true;
}

}  // namespace orbo::Data
