// Plans what a copy of metadata changes in the target, and what forbids it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Shares the content of nodes with the source, which may be closed meanwhile.
class CopyPlan {
  public:
    enum class Fate { kUnchanged, kAdded, kReplaced };

    struct StructureCopy {
        RefPtr<const Data::Structure> structure;
        Fate fate;
        std::string difference;           ///< from the namesake that it replaces
        std::vector<std::string> losses;  ///< what of the namesake is lost, a line each
    };
    struct NodeCopy {
        std::string name;
        Data::Associations associations;
        Fate fate;
        std::string difference;
        std::vector<std::string> losses;
    };

    /// Plans to copy the nodes with these names and the structures that they use. Without names it
    /// plans to copy all structures, and all nodes that have streams.
    CopyPlan(const Data::Accessor& source, const Data::Accessor& target,
             const std::vector<std::string>& nodes);

    /// A line for each structure and node that has a namesake with other content in the target.
    [[nodiscard]] std::vector<std::string> differences() const;
    /// A line for each structure that cannot be replaced, because metadata that stays in the target
    /// needs it. `complete` says that all of the target's metadata could be read.
    [[nodiscard]] std::vector<std::string> obstacles(const Data::Accessor& target,
                                                     bool complete) const;

    [[nodiscard]] const std::vector<StructureCopy>& structures() const { return fStructures; }
    [[nodiscard]] const std::vector<NodeCopy>& nodes() const { return fNodes; }
    /// False when the target has everything already.
    [[nodiscard]] bool changes() const;
    void apply(Data::Accessor& target) const;

  private:
    /// The place of a stream that uses the structure and is not replaced; empty when there is none.
    [[nodiscard]] std::string userThatStays(const Data::Accessor& target,
                                            const std::string& structure) const;

    std::string fSource;
    std::vector<StructureCopy> fStructures;
    std::vector<NodeCopy> fNodes;
};

}  // namespace orbo::Quilmeta
