// What copying metadata into a scene changes there, and what stands against it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Shares the content of nodes with the source.
class CopyPlan {
  public:
    enum class Fate { kUnchanged, kAdded, kReplaced };

    struct StructureCopy {
        RefPtr<const Data::Structure> structure;
        Fate fate;
        std::string difference;           ///< from what is replaced
        std::vector<std::string> losses;  ///< what of that goes, a line each
    };
    struct NodeCopy {
        std::string name;
        Data::Associations associations;
        Fate fate;
        std::string difference;
        std::vector<std::string> losses;
    };

    /// Without names all nodes that have something to write, and all structures; else the nodes of
    /// these names and the structures that they use.
    CopyPlan(const Data::Accessor& source, const Data::Accessor& target,
             const std::vector<std::string>& nodes);

    /// A line for each structure and node that has another namesake in the target.
    [[nodiscard]] std::vector<std::string> differences() const;
    /// A line for each structure that cannot give way, as something that stays in the target needs
    /// it. `complete` says that all of the target's metadata could be read.
    [[nodiscard]] std::vector<std::string> obstacles(const Data::Accessor& target,
                                                     bool complete) const;

    [[nodiscard]] const std::vector<StructureCopy>& structures() const { return fStructures; }
    [[nodiscard]] const std::vector<NodeCopy>& nodes() const { return fNodes; }
    /// The target would not be as it is.
    [[nodiscard]] bool changes() const;
    void apply(Data::Accessor& target) const;

  private:
    /// A stream of a node that is not copied; empty when none uses the structure of that name.
    [[nodiscard]] std::string userThatStays(const Data::Accessor& target,
                                            const std::string& structure) const;

    std::string fSource;
    std::vector<StructureCopy> fStructures;
    std::vector<NodeCopy> fNodes;
};

}  // namespace orbo::Quilmeta
