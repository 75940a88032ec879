// Decides what becomes of the records of a scene when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/Merge.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "scenes/model/ModelPlace.h"
#include "scenes/writing/MergeFacts.h"
#include "scenes/writing/MergeNodes.h"
#include "scenes/writing/MergeOrder.h"
#include "scenes/writing/MergeStructures.h"

namespace orbo::Data::Merge {

namespace {

using Code = Finding::Code;
using Text = RecordFacts::Text;
using Fact = Question::Fact;
using Questions = std::vector<Question>;

// The place of the node's first record; empty when the file has none any more.
FilePlace placeOfNode(const Facts& facts, const std::string& name) {
    const auto& records = facts.records;
    const auto found = std::find_if(records.begin(), records.end(), [&](const RecordFacts& record) {
        return record.kind == Kind::kAssociations && record.name == name;
    });
    return found == records.end() ? FilePlace() : found->place;
}

// The records of such nodes stay as they are, so what the caller did to them would be lost.
std::optional<Finding> refusalOfPartialNodes(const Facts& facts) {
    for (const auto& [name, isEdited] : facts.read.partialNodes) {
        if (!isEdited) continue;
        Finding refusal =
            refusalOf(ModelPlace::of(name) + " was read in part: it cannot be changed or removed.",
                      placeOfNode(facts, name));
        refusal.node = name;
        return refusal;
    }
    return std::nullopt;
}

void askForTexts(const Facts& facts, Questions& questions) {
    for (std::size_t number = 0; number < facts.records.size(); ++number) {
        const RecordFacts& record = facts.records[number];
        if (record.text == Text::kNotTried && facts.concerns(record.name)) {
            questions.push_back({Fact::kText, number, {}});
        }
    }
}

// An earlier write stored these although nobody can read them.
bool mayRepeatTheModel(const Facts& facts, const RecordFacts& record) {
    if (record.text != Text::kUnreadable) return false;
    return record.kind == Kind::kStructure ? !facts.model.structures.empty()
                                           : facts.isWritten(record.name);
}

bool repeatsTheModel(const Facts& facts, const RecordFacts& record) {
    return mayRepeatTheModel(facts, record) && record.repeatsModel.value_or(false);
}

void askForRepeats(const Facts& facts, Questions& questions) {
    for (std::size_t number = 0; number < facts.records.size(); ++number) {
        const RecordFacts& record = facts.records[number];
        if (mayRepeatTheModel(facts, record) && !record.repeatsModel) {
            questions.push_back({Fact::kRepeatsModel, number, {}});
        }
    }
}

/// The uses of structures by all records that stay. Words about a record that was understood say
/// more, so those come first.
std::vector<const StructureUse*> usesIn(const Facts& facts, const NodeDecision& nodes,
                                        Questions& questions) {
    std::vector<const StructureUse*> uses;
    for (const bool isUnderstood : {true, false}) {
        for (std::size_t number = 0; number < facts.records.size(); ++number) {
            const RecordFacts& record = facts.records[number];
            if ((record.text != Text::kNotUnderstood) != isUnderstood) continue;
            if (!nodes.staysByItself(number) || repeatsTheModel(facts, record)) continue;
            if (!record.uses) {
                questions.push_back({Fact::kUses, number, {}});
                continue;
            }
            for (const StructureUse& use : *record.uses) uses.push_back(&use);
        }
    }
    return uses;
}

Fates fatesOf(const Facts& facts, const StructureDecision& structures, const NodeDecision& nodes) {
    Fates fates(facts.records.size());
    structures.decide(fates);
    nodes.decide(fates);
    for (std::size_t number = 0; number < fates.size(); ++number) {
        const RecordFacts& record = facts.records[number];
        if (record.text == Text::kNotUnderstood) {
            fates[number] = {Place::kForeign, Reason::kNotUnderstood};
        } else if (repeatsTheModel(facts, record)) {
            fates[number] = {Place::kGone, Reason::kRepeatsTheModel};
        }
    }
    return fates;
}

// What the caller removed goes with all that its statement held.
bool losesText(const Facts& facts, const RecordFacts& record, const Fate& fate) {
    if (record.plain || fate.place != Place::kGone) return false;
    if (fate.reason == Reason::kRepeatsTheModel) return false;
    return record.kind == Kind::kStructure ? facts.modelMembers(record.name) != nullptr
                                           : facts.isWritten(record.name);
}

/// Tells of statements that hold more than is written of them; a careful write refuses instead.
std::optional<Finding> noteLosses(const Facts& facts, Fates& fates, Findings& findings) {
    for (std::size_t number = 0; number < fates.size(); ++number) {
        const RecordFacts& record = facts.records[number];
        if (!losesText(facts, record, fates[number])) continue;
        fates[number].reason = Reason::kHoldsMore;
        SceneRecord subject;
        subject.kind = record.kind;
        subject.name = record.name;
        subject.place = record.place;
        const bool isStructure = record.kind == Kind::kStructure;
        const std::string message =
            (isStructure ? ModelPlace::ofStructure(record.name) : ModelPlace::of(record.name)) +
            ": its statement holds more than is written of it";
        findings.add(Code::kTextPassedOver, message, subject);
        if (!facts.policy.careful) continue;
        Finding refusal = refusalOf(message, record.place);
        if (!isStructure) refusal.node = record.name;
        return refusal;
    }
    return std::nullopt;
}

/// Decides as far as the facts go: leaves when it has questions, or refuses.
void decide(const Facts& facts, Plan& plan) {
    const auto refuses = [&plan](std::optional<Finding> refusal) {
        plan.refusal = std::move(refusal);
        return plan.refusal.has_value();
    };
    if (refuses(refusalOfPartialNodes(facts))) return;
    askForTexts(facts, plan.questions);
    if (!plan.questions.empty()) return;
    askForRepeats(facts, plan.questions);
    NodeDecision nodes(facts, plan.questions);
    if (!plan.questions.empty()) return;
    StructureDecision structures(facts);
    plan.structuresAtStake = structures.atStake();
    if (!plan.structuresAtStake.empty()) {
        const auto uses = usesIn(facts, nodes, plan.questions);
        if (!plan.questions.empty()) return;
        structures.settle(uses);
    }
    if (refuses(structures.refusal())) return;
    if (facts.policy.careful && refuses(structures.carefulRefusal())) return;
    if (facts.policy.careful && refuses(nodes.carefulRefusal())) return;
    nodes.settle(structures, plan.questions);
    if (!plan.questions.empty()) return;
    Fates fates = fatesOf(facts, structures, nodes);
    if (refuses(noteLosses(facts, fates, plan.findings))) return;
    structures.addFindings(plan.findings);
    nodes.addFindings(plan.findings);
    plan.structuresOfTheFile = structures.structuresOfTheFile();
    plan.items = itemsInOrder(facts, fates, structures, nodes);
}

}  // namespace

Plan merge(const std::vector<RecordFacts>& records, const ReadFacts& read, const ModelFacts& model,
           const Policy& policy) {
    Plan plan;
    decide({records, read, model, policy}, plan);
    return plan;
}

}  // namespace orbo::Data::Merge
