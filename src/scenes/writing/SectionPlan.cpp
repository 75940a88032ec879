// Decides what becomes of the records that a scene file holds when the model is written to it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/SectionPlan.h"

#include <utility>

#include "scenes/Messages.h"
#include "scenes/model/ModelText.h"

namespace orbo::Data {

SectionPlan::SectionPlan(const WrittenModel& model, const TakenNames& taken,
                         const ReadPolicy& policy, std::size_t records)
    : fFates(records, Fate::kAhead),
      fStructures(model, taken, fFates),
      fNodes(model, taken, fFates) {
    if (policy.unknownIndexTypesAsText) fUnknownAsText.emplace();
}

std::string SectionPlan::addStructure(std::size_t record, const SceneRecord& text) {
    return fStructures.add(record, text);
}

void SectionPlan::addAssociations(std::size_t record, const SceneRecord& text) {
    fNodes.add(record, text);
}

void SectionPlan::settle() {
    if (fSettled) return;
    fSettled = true;
    fStructures.settle();
    fNodes.settle();
}

bool SectionPlan::asksForUsers() {
    settle();
    return !fStructures.atStake().empty();
}

void SectionPlan::addUser(std::size_t record, const SceneRecord& text) {
    if (!fNodes.staysByItself(record) || fStructures.atStake().empty()) return;
    for (StructureUse& use : usesOf(text, fStructures.atStake())) {
        fStructures.addUse(std::move(use));
    }
}

void SectionPlan::addUser(std::string_view statement) {
    for (StructureUse& use : usesIn(statement, fStructures.atStake())) {
        fStructures.addUse(std::move(use));
    }
}

bool SectionPlan::decide(bool careful, std::string& errors) {
    settle();
    fStructures.settleUses();
    std::string refusal = fStructures.refusal();
    if (refusal.empty() && careful) refusal = fStructures.carefulRefusal();
    if (refusal.empty() && careful) refusal = fNodes.carefulRefusal();
    return refusal.empty() || fail(errors, refusal);
}

// Nobody could read the old text, what readers pass over included.
void SectionPlan::addUnchanged(std::size_t record, const SceneRecord& text) {
    if (fFates[record] != Fate::kUnchanged || fNodes.staysByItself(record)) return;
    for (const NamedStructure& named : structuresNamedIn(text.text)) {
        if (fStructures.isLost(named.structure)) return fNodes.rewrite(text.name);
    }
}

void SectionPlan::addNotes(Findings& findings) const {
    fStructures.addNotes(findings);
    fNodes.addNotes(findings);
}

}  // namespace orbo::Data
