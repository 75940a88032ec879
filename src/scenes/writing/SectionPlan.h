// Decides what becomes of the records that a scene file holds when the model is written to it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ReadPolicy.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/StructureRegistry.h"
#include "scenes/SceneRecord.h"
#include "scenes/model/WrittenModel.h"
#include "scenes/reading/ModelReading.h"
#include "scenes/writing/NodePlan.h"
#include "scenes/writing/RecordFate.h"
#include "scenes/writing/StructurePlan.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

/// Nothing goes that was not understood or that the caller has not seen: a record is dropped only
/// if it could be read and the caller changed or removed what the last read gave under its name.
/// And what stays keeps its meaning: no structure that it needs goes or changes.
///
/// Call, each for all records in file order: `addStructure`; `addAssociations`; `addUser` for those
/// that stay, if `asksForUsers`; `decide`; `addUnchanged` for the rest, if `asksForUnchanged`.
/// While the plan lives, this thread's structure registry is set aside.
class SectionPlan {
  public:
    using Fate = RecordFate;

    /// All but the policy outlive the plan.
    SectionPlan(const WrittenModel& model, const TakenNames& taken, const ReadPolicy& policy,
                std::size_t records);

    /// Gives the structure's name; none when the text cannot be read.
    std::string addStructure(std::size_t record, const SceneRecord& text);
    void addAssociations(std::size_t record, const SceneRecord& text);

    /// Whether some structure goes or changes, so that it matters who needs it.
    [[nodiscard]] bool asksForUsers();
    /// Ignores records that the model gives anew.
    void addUser(std::size_t record, const SceneRecord& text);
    /// A statement that could not be taken apart.
    void addUser(std::string_view statement);

    /// False, with a message, when nothing may be written.
    bool decide(bool careful, std::string& errors);

    /// Whether there are records the text of which the model would serve for, but for a structure
    /// that goes.
    [[nodiscard]] bool asksForUnchanged() const { return fStructures.losesAny(); }
    void addUnchanged(std::size_t record, const SceneRecord& text);

    [[nodiscard]] Fate fate(std::size_t record) const { return fFates[record]; }
    [[nodiscard]] bool isUnreadable(std::size_t record) const {
        return fStructures.isUnreadable(record) || fNodes.isUnreadable(record);
    }
    [[nodiscard]] const StructurePlan& structures() const { return fStructures; }
    void addNotes(Findings& findings) const;
    /// Associations that are kept because they cannot, or could not, be read.
    UnreadableRecords& unreadable() { return fNodes.unreadable(); }

  private:
    void settle();

    const StructureRegistry::SetAside fFileStructures;
    std::optional<IndexTypes::KeepUnknown> fUnknownAsText;
    RecordFates fFates;
    StructurePlan fStructures;
    NodePlan fNodes;
    bool fSettled = false;
};

}  // namespace orbo::Data
