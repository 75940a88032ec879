// Decides what becomes of the records that a scene file holds when the model is written to it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ReadPolicy.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "accessors/ModelReading.h"
#include "accessors/SceneRecord.h"
#include "accessors/WrittenModel.h"
#include "core/StructureRegistry.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

/// Nothing goes that was not understood or that the caller has not seen: a record is dropped only
/// if it could be read and the model has something else of its name to write, or the caller removed
/// what the last read had found under that name.
///
/// Ask for all structures first, in file order, then for the associations: whether these can be
/// read depends on the structures. While the plan lives, this thread's structure registry is set
/// aside.
class SectionPlan {
  public:
    enum class Fate {
        kAhead,      ///< kept, in front of what is written
        kBehind,     ///< kept, behind the namesake that is written, which must be found first
        kUnchanged,  ///< what is to be written: its text serves, with all that a reader passes over
        kDropped
    };

    /// All three outlive the plan.
    SectionPlan(const WrittenModel& model, const TakenNames& taken, const ReadPolicy& policy);

    /// Gives the structure's name; none when the text cannot be read.
    Fate ofStructure(const SceneRecord& record, std::string& name);
    Fate ofAssociations(const SceneRecord& record);

    /// Of a structure that is written though the file has another one of the name than the last
    /// read took; empty when there is none.
    [[nodiscard]] const std::string& conflict() const { return fConflict; }
    /// Associations that are kept because they cannot, or could not, be read.
    UnreadableRecords& unreadable() { return fUnreadable; }

  private:
    /// The structure that counts, of all in the file with its name.
    struct Winner {
        RefPtr<Structure> structure;
        Fate fate = Fate::kAhead;
    };

    Fate ofWinner(const Structure& winner);
    Fate ofLoser(const Structure& loser, const Winner& winner) const;

    std::unique_ptr<Associations> readSeen(const SceneRecord& record, bool& helped);
    bool needsLost(const SceneRecord& record) const;

    const StructureRegistry::SetAside fFileStructures;
    const WrittenModel& fModel;
    const TakenNames& fTaken;
    std::optional<IndexTypes::KeepUnknown> fUnknownAsText;
    std::map<std::string, Winner> fWinners;
    std::set<std::string> fLostStructures;  // or others in their place
    std::set<std::string> fReadNodes;
    std::set<std::string> fHelpedNodes;
    std::string fConflict;
    UnreadableRecords fUnreadable;
};

}  // namespace orbo::Data
