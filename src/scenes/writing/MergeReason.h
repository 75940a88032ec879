// Names the rules by which `Merge::merge` decides about a record.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace orbo::Data::Merge {

/// One for each row of the table "What becomes of a record" in docs/architecture.md.
enum class Reason {
    kNotUnderstood,
    kStructureUnreadable,
    kStructureOfOthers,
    kStructureErased,
    kStructureNeeded,
    kStructureSame,
    kStructureChanged,
    kStructureConflict,
    kStructureNew,
    kNodeOfOthers,
    kNodeInPart,
    kNodeUnreadable,
    kNodeSame,
    kNodeEmpty,
    kNodeInOtherWords,
    kNodeRemoved,
    kNodeChanged,
    kNodeNew,
    kHoldsMore,
    kRepeatsTheModel,
};

struct NamedReason {
    Reason reason;
    std::string_view name;
};

/// The names of the rows, in the order of the enumeration.
inline constexpr std::array<NamedReason, 20> kReasons{{
    {Reason::kNotUnderstood, "not-understood"},
    {Reason::kStructureUnreadable, "structure-unreadable"},
    {Reason::kStructureOfOthers, "structure-of-others"},
    {Reason::kStructureErased, "structure-erased"},
    {Reason::kStructureNeeded, "structure-needed"},
    {Reason::kStructureSame, "structure-same"},
    {Reason::kStructureChanged, "structure-changed"},
    {Reason::kStructureConflict, "structure-conflict"},
    {Reason::kStructureNew, "structure-new"},
    {Reason::kNodeOfOthers, "node-of-others"},
    {Reason::kNodeInPart, "node-in-part"},
    {Reason::kNodeUnreadable, "node-unreadable"},
    {Reason::kNodeSame, "node-same"},
    {Reason::kNodeEmpty, "node-empty"},
    {Reason::kNodeInOtherWords, "node-in-other-words"},
    {Reason::kNodeRemoved, "node-removed"},
    {Reason::kNodeChanged, "node-changed"},
    {Reason::kNodeNew, "node-new"},
    {Reason::kHoldsMore, "holds-more"},
    {Reason::kRepeatsTheModel, "repeats-the-model"},
}};

constexpr std::string_view nameOf(Reason reason) {
    return kReasons.at(static_cast<std::size_t>(reason)).name;
}

}  // namespace orbo::Data::Merge
