// Decides what becomes of the associations of a scene when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/MergeNodes.h"

#include <algorithm>

#include "scenes/model/ModelPlace.h"

namespace orbo::Data::Merge {

namespace {

using Code = Finding::Code;
using Text = RecordFacts::Text;
using Fact = Question::Fact;

}  // namespace

NodeDecision::NodeDecision(const Facts& facts, std::vector<Question>& questions) : fFacts(facts) {
    for (std::size_t number = 0; number < facts.records.size(); ++number) {
        const RecordFacts& record = facts.records[number];
        if (record.kind != Kind::kAssociations || !facts.concerns(record.name)) continue;
        if (facts.isReadable(number)) fGroups[record.name].records.push_back(number);
    }
    for (auto& [name, group] : fGroups) group.same = findSame(name, group, questions);
}

// A filtered read may have taken another record than the first. As long as the caller leaves the
// node alone, all of them stay.
std::optional<std::size_t> NodeDecision::findSame(const std::string& name, const Group& group,
                                                  std::vector<Question>& questions) const {
    const auto same = std::find_if(group.records.begin(), group.records.end(), [this](auto record) {
        return fFacts.records[record].sameAsModel.value_or(false);
    });
    if (same == group.records.end()) return std::nullopt;
    if (same == group.records.begin()) return *same;
    const auto read = fFacts.read.nodes.find(name);
    if (read == fFacts.read.nodes.end()) return std::nullopt;
    const std::optional<bool>& unedited = read->second.unedited;
    if (!unedited) questions.push_back({Fact::kUnedited, 0, name});
    return unedited.value_or(false) ? std::optional<std::size_t>(*same) : std::nullopt;
}

bool NodeDecision::staysByItself(std::size_t record) const {
    const RecordFacts& facts = fFacts.records[record];
    if (facts.kind != Kind::kAssociations) return false;
    if (!fFacts.concerns(facts.name) || !fFacts.isReadable(record)) return true;
    const Group& group = fGroups.at(facts.name);
    return group.same && (group.same != record || !fFacts.isWritten(facts.name));
}

std::optional<Finding> NodeDecision::carefulRefusal() const {
    for (const auto& [name, group] : fGroups) {
        if (!group.dropsOthers()) continue;
        Finding refusal =
            refusalOf(ModelPlace::of(name) + " has " + std::to_string(group.records.size()) +
                          " records in the file; a change would drop the others",
                      fFacts.records[group.records[1]].place);
        refusal.node = name;
        return refusal;
    }
    return std::nullopt;
}

void NodeDecision::settle(const StructureDecision& structures, std::vector<Question>& questions) {
    const bool losesAny = structures.losesAny();
    for (auto& [name, group] : fGroups) {
        if (!group.same || !fFacts.isWritten(name)) continue;
        const RecordFacts& record = fFacts.records[*group.same];
        group.isRewritten = record.text == Text::kReadableWithModel;
        if (group.isRewritten || !losesAny) continue;
        if (!record.mentions) {
            questions.push_back({Fact::kMentions, *group.same, {}});
            continue;
        }
        group.isRewritten =
            std::any_of(record.mentions->begin(), record.mentions->end(),
                        [&](const std::string& each) { return structures.isLost(each); });
    }
}

const std::vector<std::size_t>& NodeDecision::recordsOf(const std::string& node) const {
    return recordsIn(fGroups, node);
}

void NodeDecision::decide(Fates& fates) const {
    for (std::size_t number = 0; number < fates.size(); ++number) {
        const RecordFacts& record = fFacts.records[number];
        if (record.kind != Kind::kAssociations) continue;
        if (fFacts.read.partialNodes.count(record.name) > 0) {
            fates[number] = {Place::kAhead, Reason::kNodeInPart};
        } else if (!fFacts.concerns(record.name)) {
            fates[number] = {Place::kAhead, Reason::kNodeOfOthers};
        } else {
            fates[number] = {fFacts.isWritten(record.name) ? Place::kBehind : Place::kAhead,
                             Reason::kNodeUnreadable};
        }
    }
    for (const auto& [name, group] : fGroups) {
        for (const std::size_t record : group.records) fates[record] = fateOf(record, name, group);
    }
}

Fate NodeDecision::fateOf(std::size_t record, const std::string& name, const Group& group) const {
    const bool isWritten = fFacts.isWritten(name);
    if (!group.same) return {Place::kGone, isWritten ? Reason::kNodeChanged : Reason::kNodeRemoved};
    if (!isWritten) return {Place::kAhead, Reason::kNodeEmpty};
    if (!group.isRewritten) return {Place::kInPlace, Reason::kNodeSame};
    return {record == *group.same ? Place::kGone : Place::kInPlace, Reason::kNodeInOtherWords};
}

void NodeDecision::addFindings(Findings& findings) const {
    for (const auto& [name, group] : fGroups) {
        if (!group.dropsOthers()) continue;
        SceneRecord subject;
        subject.kind = Kind::kAssociations;
        subject.name = name;
        for (std::size_t other = 1; other < group.records.size(); ++other) {
            subject.place = fFacts.records[group.records[other]].place;
            findings.add(Code::kRecordDropped,
                         "Another record of " + ModelPlace::of(name) + " goes from the file",
                         subject);
        }
    }
}

}  // namespace orbo::Data::Merge
