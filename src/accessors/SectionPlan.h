// Decides what becomes of the records that a scene file holds when the model is written to it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ReadPolicy.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <optional>
#include <string>
#include <unordered_map>

#include "accessors/ModelReading.h"
#include "accessors/SceneRecord.h"
#include "accessors/WrittenModel.h"
#include "core/StructureRegistry.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

/// Nothing goes that was not understood or that the caller has not seen: a record is dropped only
/// if it could be read and the model has something of its name to write, or the caller removed what
/// the last read had found under that name.
///
/// Ask for all structures first, in file order, then for the associations: whether these can be
/// read depends on the structures. While the plan lives, this thread's structure registry is set
/// aside.
class SectionPlan {
  public:
    enum class Fate {
        kAhead,   ///< kept, in front of what is written
        kBehind,  ///< kept, behind the namesake that is written, which must be found first
        kDropped
    };

    /// All three outlive the plan.
    SectionPlan(const WrittenModel& model, const TakenNames& taken, const ReadPolicy& policy);

    /// `isWritten`: the very same bytes are about to be written.
    Fate ofStructure(const SceneRecord& record, bool isWritten);
    Fate ofAssociations(const SceneRecord& record, bool isWritten);

  private:
    /// The structure that counts, of all in the file with its name.
    struct Winner {
        RefPtr<Structure> structure;
        Fate fate = Fate::kAhead;
    };

    Fate ofLoser(const Structure& loser, const Winner& winner) const;

    const StructureRegistry::SetAside fFileStructures;
    const WrittenModel& fModel;
    const TakenNames& fTaken;
    std::optional<IndexTypes::KeepUnknown> fUnknownAsText;
    std::unordered_map<std::string, Winner> fWinners;
};

}  // namespace orbo::Data
