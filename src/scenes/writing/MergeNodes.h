// Decides what becomes of the associations of a scene when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "scenes/writing/MergeFacts.h"
#include "scenes/writing/MergeStructures.h"

namespace orbo::Data::Merge {

/// All readable records of one node share a fate; readers find the first in the file. The facts
/// outlive the decision.
class NodeDecision {
  public:
    /// Compares the nodes with the model, and asks which of them are unedited. The rest is meant
    /// for after the answers.
    NodeDecision(const Facts& facts, std::vector<Question>& questions);

    /// The record keeps its bytes, and not because the model has the same.
    [[nodiscard]] bool staysByItself(std::size_t record) const;
    /// What only a careful write refuses.
    [[nodiscard]] std::optional<Finding> carefulRefusal() const;
    /// Finds the nodes to write anew, because nobody could read their old text any more. Asks for
    /// the names in the texts.
    void settle(const StructureDecision& structures, std::vector<Question>& questions);

    /// The numbers of the node's readable records.
    [[nodiscard]] const std::vector<std::size_t>& recordsOf(const std::string& node) const;
    /// Call it after `settle`.
    void decide(Fates& fates) const;
    void addFindings(Findings& findings) const;

  private:
    struct Group {
        std::vector<std::size_t> records;
        /// The record with the model's content; none when the caller changed or removed the node.
        std::optional<std::size_t> same;
        bool isRewritten = false;  // the same content, from the model

        [[nodiscard]] bool dropsOthers() const { return !same && records.size() > 1; }
    };

    [[nodiscard]] std::optional<std::size_t> findSame(const std::string& name, const Group& group,
                                                      std::vector<Question>& questions) const;
    [[nodiscard]] Fate fateOf(std::size_t record, const std::string& name,
                              const Group& group) const;

    const Facts& fFacts;
    std::map<std::string, Group> fGroups;
};

}  // namespace orbo::Data::Merge
