// Decides what becomes of the structures of a scene when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "scenes/writing/MergeFacts.h"

namespace orbo::Data::Merge {

/// All readable structures of one name share a fate; readers find the first in the file. The facts
/// outlive the decision.
class StructureDecision {
  public:
    /// Decides as if no record that stays used a structure.
    explicit StructureDecision(const Facts& facts);

    /// Structures of the file that go or change unless a record that stays uses them.
    [[nodiscard]] std::vector<std::string> atStake() const;
    /// Keeps what is used. Call it once, with the uses of all records that stay.
    void settle(const std::vector<const StructureUse*>& uses);

    /// The rest is meant for after `settle`.

    /// Readers of the new file will not find the structure as the file had it.
    [[nodiscard]] bool isLost(const std::string& structure) const;
    [[nodiscard]] bool losesAny() const;
    /// By name, the number of the record that counts, for structures that are not lost.
    [[nodiscard]] std::map<std::string, std::size_t> structuresOfTheFile() const;
    /// The numbers of the readable records of the name.
    [[nodiscard]] const std::vector<std::size_t>& recordsOf(const std::string& name) const;
    void decide(Fates& fates) const;
    /// Refuses under every policy to change what a record that stays uses.
    [[nodiscard]] std::optional<Finding> refusal() const;
    /// What only a careful write refuses.
    [[nodiscard]] std::optional<Finding> carefulRefusal() const;
    void addFindings(Findings& findings) const;

  private:
    enum class Change {
        kNone,      ///< the model has the same, or the caller has no say in it
        kErased,    ///< the caller removed what the last read took
        kNeeded,    ///< the caller removed it, but a record that stays uses it
        kChanged,   ///< the model has other members
        kConflict,  ///< the model has other members, and others have changed what was read
    };
    struct Group {
        std::vector<std::size_t> records;
        Change change = Change::kNone;
        const StructureUse* use = nullptr;  ///< by the first record that stays and uses it

        [[nodiscard]] bool isErasedOrChanged() const {
            return change == Change::kErased || change == Change::kChanged;
        }
        [[nodiscard]] bool isLost() const {
            return isErasedOrChanged() || change == Change::kConflict;
        }
    };

    [[nodiscard]] Change changeOf(const std::string& name, const Group& group) const;
    /// Null unless the caller seems to have renamed the structure.
    [[nodiscard]] const std::string* newNameOf(const std::string& name) const;
    [[nodiscard]] Fate fateOf(const std::string& name, const Group& group) const;
    [[nodiscard]] Finding refusalAt(std::size_t record, std::string message) const;

    const Facts& fFacts;
    std::map<std::string, Group> fGroups;
};

}  // namespace orbo::Data::Merge
