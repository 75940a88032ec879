// Plans what a copy of metadata changes in the target, and what forbids it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "editing/Rename.h"
#include "scene/Address.h"
#include "selection/Selection.h"

#include <data/Accessor.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Shares the content of streams with the source, which may be closed meanwhile.
class CopyPlan {
  public:
    enum class Fate { kUnchanged, kAdded, kReplaced };

    struct StructureCopy {
        RefPtr<const Data::Structure> structure;
        Fate fate;
        std::string difference;           ///< from the namesake that it replaces
        std::vector<std::string> losses;  ///< what of the namesake is lost, a line each
    };
    struct StreamCopy {
        StreamAddress place;  ///< in the target
        Data::Stream stream;
        Fate fate;
        std::string difference;
        std::vector<std::string> losses;
    };

    /// Plans to copy the selected streams and the structures that they use; with an empty selection
    /// all structures. `newNames` says what nodes are called in the target. Throws `CommandError`
    /// when two streams would come to one place.
    CopyPlan(const Data::Accessor& source, const Data::Accessor& target, const Selection& selection,
             const std::optional<NewName>& newNames);

    /// A line for each structure and stream that has a namesake with other content in the target.
    [[nodiscard]] std::vector<std::string> differences() const;
    /// A line for each structure that cannot be replaced, because metadata that stays in the target
    /// needs it. `complete` says that all of the target's metadata could be read.
    [[nodiscard]] std::vector<std::string> obstacles(const Data::Accessor& target,
                                                     bool complete) const;

    [[nodiscard]] const std::vector<StructureCopy>& structures() const { return fStructures; }
    /// They stand in the order of their places.
    [[nodiscard]] const std::vector<StreamCopy>& streams() const { return fStreams; }
    /// The nodes that the target has no streams for yet.
    [[nodiscard]] const std::set<std::string>& newNodes() const { return fNewNodes; }
    /// False when the target has everything already.
    [[nodiscard]] bool changes() const;
    void apply(Data::Accessor& target) const;

  private:
    void planStructures(const Data::Accessor& source, const Data::Accessor& target, bool all);
    /// The place of a stream that uses the structure and is not replaced; empty when there is none.
    [[nodiscard]] std::string userThatStays(const Data::Accessor& target,
                                            const std::string& structure) const;

    std::string fSource;
    std::vector<StructureCopy> fStructures;
    std::vector<StreamCopy> fStreams;
    std::set<std::string> fNewNodes;
};

}  // namespace orbo::Quilmeta
