// Decides what becomes of the structures of a scene when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/MergeStructures.h"

#include <algorithm>
#include <utility>

#include "core/Excerpt.h"
#include "scenes/model/ModelPlace.h"

namespace orbo::Data::Merge {

namespace {

using Code = Finding::Code;
using Text = RecordFacts::Text;

bool haveSameMembers(const Layout* left, const Layout* right) {
    return left && right && left->members() == right->members();
}

bool beginsWith(const Layout& layout, const Layout& front) {
    return front.memberCount() > 0 && layout.memberCount() >= front.memberCount() &&
           std::equal(front.members().begin(), front.members().end(), layout.members().begin());
}

}  // namespace

StructureDecision::StructureDecision(const Facts& facts) : fFacts(facts) {
    for (std::size_t number = 0; number < facts.records.size(); ++number) {
        const RecordFacts& record = facts.records[number];
        if (record.kind != Kind::kStructure || !facts.isReadable(number)) continue;
        fGroups[record.name].records.push_back(number);
    }
    for (auto& [name, group] : fGroups) group.change = changeOf(name, group);
}

// A filtered read may have taken another record than the one that counts. As long as the caller
// leaves the structure alone, all of them stay.
StructureDecision::Change StructureDecision::changeOf(const std::string& name,
                                                      const Group& group) const {
    const Layout* const model = fFacts.modelMembers(name);
    const Layout* const read = fFacts.readMembers(name);
    const auto isInFile = [&](const Layout* members) {
        return std::any_of(group.records.begin(), group.records.end(), [&](std::size_t record) {
            return haveSameMembers(fFacts.records[record].members, members);
        });
    };
    const bool fileHasRead = isInFile(read);
    if (!model) return fileHasRead ? Change::kErased : Change::kNone;
    const Layout* const counting = fFacts.records[group.records.front()].members;
    if (haveSameMembers(model, counting)) return Change::kNone;
    if (haveSameMembers(model, read) && fileHasRead) return Change::kNone;
    return read && !fileHasRead ? Change::kConflict : Change::kChanged;
}

std::vector<std::string> StructureDecision::atStake() const {
    std::vector<std::string> names;
    for (const auto& [name, group] : fGroups) {
        if (group.change != Change::kNone) names.push_back(name);
    }
    return names;
}

void StructureDecision::settle(const std::vector<const StructureUse*>& uses) {
    for (const StructureUse* const use : uses) {
        const auto found = fGroups.find(use->structure);
        if (found == fGroups.end()) continue;
        Group& group = found->second;
        if (group.change != Change::kNone && !group.use) group.use = use;
    }
    for (auto& [name, group] : fGroups) {
        const bool isErased = group.change == Change::kErased;
        if (isErased && group.use && !newNameOf(name)) group.change = Change::kNeeded;
    }
}

// A new name is one that neither the file nor the last read had. Members may have been added too.
const std::string* StructureDecision::newNameOf(const std::string& name) const {
    const Layout* const read = fFacts.readMembers(name);
    for (const auto& [other, members] : fFacts.model.structures) {
        if (fGroups.count(other) > 0 || fFacts.readMembers(other)) continue;
        if (beginsWith(*members, *read)) return &other;
    }
    return nullptr;
}

bool StructureDecision::isLost(const std::string& structure) const {
    const auto found = fGroups.find(structure);
    return found != fGroups.end() && found->second.isLost();
}

bool StructureDecision::losesAny() const {
    return std::any_of(fGroups.begin(), fGroups.end(),
                       [](const auto& each) { return each.second.isLost(); });
}

std::map<std::string, std::size_t> StructureDecision::structuresOfTheFile() const {
    std::map<std::string, std::size_t> records;
    for (const auto& [name, group] : fGroups) {
        if (!group.isLost()) records.emplace(name, group.records.front());
    }
    return records;
}

const std::vector<std::size_t>& StructureDecision::recordsOf(const std::string& name) const {
    return recordsIn(fGroups, name);
}

void StructureDecision::decide(Fates& fates) const {
    for (std::size_t number = 0; number < fates.size(); ++number) {
        const RecordFacts& record = fFacts.records[number];
        if (record.kind != Kind::kStructure || record.text != Text::kUnreadable) continue;
        const bool hasNamesake = fFacts.modelMembers(record.name) != nullptr;
        fates[number] = {hasNamesake ? Place::kBehind : Place::kAhead,
                         Reason::kStructureUnreadable};
    }
    for (const auto& [name, group] : fGroups) {
        for (const std::size_t record : group.records) fates[record] = fateOf(name, group);
    }
}

Fate StructureDecision::fateOf(const std::string& name, const Group& group) const {
    switch (group.change) {
        case Change::kErased:
            return {Place::kGone, Reason::kStructureErased};
        case Change::kNeeded:
            return {Place::kAhead, Reason::kStructureNeeded};
        case Change::kChanged:
            return {Place::kGone, Reason::kStructureChanged};
        case Change::kConflict:
            return {Place::kBehind, Reason::kStructureConflict};
        case Change::kNone:
            break;
    }
    if (!fFacts.modelMembers(name)) return {Place::kAhead, Reason::kStructureOfOthers};
    return {Place::kInPlace, Reason::kStructureSame};
}

Finding StructureDecision::refusalAt(std::size_t number, std::string message) const {
    const RecordFacts& record = fFacts.records[number];
    Finding refusal = refusalOf(std::move(message), record.place);
    refusal.structure = record.name;
    return refusal;
}

std::optional<Finding> StructureDecision::refusal() const {
    for (const auto& [name, group] : fGroups) {
        if (!group.use || group.change == Change::kNeeded) continue;
        const std::string* const newName =
            group.change == Change::kErased ? newNameOf(name) : nullptr;
        Finding refusal =
            refusalAt(group.records.front(),
                      ModelPlace::ofStructure(name) + " cannot be " +
                          (newName ? "renamed to " + inQuotes(*newName) : std::string("changed")) +
                          ": " + group.use->words + " stays as it is in the file and needs it");
        refusal.node = group.use->node;
        refusal.channel = group.use->where.channel;
        refusal.stream = group.use->where.stream;
        return refusal;
    }
    return std::nullopt;
}

std::optional<Finding> StructureDecision::carefulRefusal() const {
    for (const auto& [name, group] : fGroups) {
        if (group.change == Change::kConflict) {
            return refusalAt(
                group.records.front(),
                ModelPlace::ofStructure(name) + " in the file is another one than was read");
        }
        if (group.isErasedOrChanged() && group.records.size() > 1) {
            return refusalAt(group.records[1], ModelPlace::ofStructure(name) + " is in the file " +
                                                   std::to_string(group.records.size()) +
                                                   " times; a change would drop the others");
        }
    }
    return std::nullopt;
}

void StructureDecision::addFindings(Findings& findings) const {
    const auto add = [&](std::size_t number, Code code, std::string message) {
        const RecordFacts& record = fFacts.records[number];
        findings.addAbout(record.name, code, std::move(message), record.place);
    };
    for (const auto& [name, group] : fGroups) {
        if (group.change == Change::kNeeded) {
            add(group.records.front(), Code::kStructureKept,
                ModelPlace::ofStructure(name) + " stays in the file: " + group.use->words +
                    " needs it");
        }
        if (group.change == Change::kConflict) {
            add(group.records.front(), Code::kStructureDiffers,
                ModelPlace::ofStructure(name) +
                    " in the file is another one than was read; it stays, behind the one that is "
                    "written");
        }
        if (!group.isErasedOrChanged()) continue;
        for (std::size_t other = 1; other < group.records.size(); ++other) {
            add(group.records[other], Code::kRecordDropped,
                "Another record of structure " + inQuotes(name) + " goes from the file");
        }
    }
}

}  // namespace orbo::Data::Merge
