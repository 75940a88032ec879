// Loads nodes that a read left in the file.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/SceneKind.h>

#include <string>

#include "files/File.h"
#include "scenes/Findings.h"
#include "scenes/reading/ReadSnapshot.h"

namespace orbo::Data {

/// Works for the accessor whose last read, or write, left the snapshot; all outlive it.
class NodeLoader {
  public:
    NodeLoader(const SceneKind& kind, Accessor& accessor, ReadSnapshot& snapshot)
        : fKind(kind), fAccessor(accessor), fSnapshot(snapshot) {}

    [[nodiscard]] bool isLoaded(const std::string& node) const;
    /// False, with a finding, for a node that can neither be loaded nor is loaded.
    bool mayLoad(const std::string& node, Findings& findings) const;
    /// Adds a node that is not loaded to the accessor and to the snapshot. False, with findings and
    /// both as they were, when it cannot be read as the read would have done.
    bool load(const std::string& node, Files::File& file, Findings& findings);

  private:
    [[nodiscard]] bool hasStatusOfRead(Files::File& file) const;
    bool findPlaces(Files::File& file, bool isAsRead, Findings& findings);
    bool read(const std::string& node, Files::File& file, Findings& findings);

    const SceneKind& fKind;
    Accessor& fAccessor;
    ReadSnapshot& fSnapshot;
};

}  // namespace orbo::Data
