// Decides what becomes of the structures that a scene file holds when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "scenes/Findings.h"
#include "scenes/SceneRecord.h"
#include "scenes/model/StructureUse.h"
#include "scenes/model/WrittenModel.h"
#include "scenes/reading/ModelReading.h"
#include "scenes/writing/RecordFate.h"

namespace orbo::Data {

/// All records of one name share a fate. Of those in the file the first that can be read counts.
/// Call `add` for each, in file order, then `settle`; then tell who uses what is `atStake`, then
/// `settleUses`.
class StructurePlan {
  public:
    /// All outlive the plan, which sets the fates of the records that are added.
    StructurePlan(const WrittenModel& model, const TakenNames& taken, RecordFates& fates)
        : fModel(model), fTaken(taken), fFates(fates) {}

    /// Registers the structures that count in this thread's registry. Gives the name; none when the
    /// text cannot be read.
    std::string add(std::size_t record, const SceneRecord& text);
    /// Decides as far as that does not depend on associations that stay.
    void settle();

    /// Names whose structure goes, or gives way to another, and of which no use is known.
    [[nodiscard]] const std::set<std::string>& atStake() const { return fAtStake; }
    /// By associations that stay as they are.
    void addUse(StructureUse use);
    /// Keeps what the caller removed but others use.
    void settleUses();

    /// A record that stays, and that nobody could read.
    [[nodiscard]] bool isUnreadable(std::size_t record) const { return fUnread.count(record) > 0; }
    /// The text is read no more as it was: its structure goes, or another comes in its place.
    [[nodiscard]] bool isLost(const std::string& name) const;
    [[nodiscard]] bool losesAny() const;
    /// The structure that readers of the new file find; null when there is none.
    [[nodiscard]] const Structure* counting(const std::string& name) const;

    /// Why nothing may be written under any policy; empty when something may.
    [[nodiscard]] std::string refusal() const;
    /// The same for a careful write.
    [[nodiscard]] std::string carefulRefusal() const;
    /// What the caller might not expect of the write.
    void addNotes(Findings& findings) const;

  private:
    enum class Change {
        kNone,      ///< the model has the same, or nobody has anything to say about it
        kErased,    ///< the caller removed what the last read gave
        kChanged,   ///< the model has something else
        kConflict,  ///< the same, but others have changed what the last read gave
        kNeeded,    ///< erased, but others use it
    };
    struct Name {
        RefPtr<Structure> counting;
        std::vector<std::size_t> records;
        bool hasTaken = false;    // in some record
        bool hasWritten = false;  // in some record
        Change change = Change::kNone;
        std::optional<StructureUse> use;
    };

    [[nodiscard]] const Layout* takenLayout(const std::string& name) const;
    [[nodiscard]] Change changeOf(const std::string& name, const Name& found) const;
    [[nodiscard]] RecordFate fateOf(const std::string& name, const Name& found) const;
    [[nodiscard]] const char* newNameOf(const std::string& name) const;
    void setFate(const Name& found, RecordFate fate);

    const WrittenModel& fModel;
    const TakenNames& fTaken;
    RecordFates& fFates;
    std::map<std::string, Name> fNames;
    std::set<std::size_t> fUnread;
    std::set<std::string> fAtStake;
};

}  // namespace orbo::Data
