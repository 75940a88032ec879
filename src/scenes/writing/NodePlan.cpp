// Decides what becomes of the associations that a scene file holds when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/NodePlan.h"

#include <data/Structure.h>
#include <debug/RefPtr.h>

#include "core/StructureRegistry.h"
#include "scenes/model/ModelCompare.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/reading/QuietRead.h"

namespace orbo::Data {

// What the last read or write left in the file may have lost its structures since.
std::unique_ptr<Associations> NodePlan::readWithStructuresOf(const Associations& entry,
                                                             const SceneRecord& text) const {
    const StructureRegistry::SetAside streamStructures;
    forEachStream(entry, [](const Channel&, const Stream& stream) {
        const Structure& structure = stream.structure();
        if (!Structure::structureByName(structure.name())) {
            Structure::registerStructure(*RefPtr<Structure>(new Structure(structure)));
        }
        return true;
    });
    return tryToReadAssociations(text);
}

// A filtered read may have taken another record than the first: as long as the caller leaves the
// node alone, all of them stay.
bool NodePlan::isSame(const std::string& name, Name& found, const Associations& read) const {
    const Associations* entry = fModel.entry(name);
    if (!entry) return false;
    if (found.records.size() > 1) {
        if (!found.isUnedited) {
            const auto taken = fTaken.associations.find(name);
            found.isUnedited = taken != fTaken.associations.end() && taken->second &&
                               *taken->second == digestOf(*entry);
        }
        if (!*found.isUnedited) return false;
    }
    return Data::isSame(*entry, read);
}

void NodePlan::add(std::size_t record, const SceneRecord& text) {
    const std::string& name = text.name;
    const bool isWritten = fModel.hasNode(name);
    const bool isTaken = fTaken.associations.count(name) > 0;
    const RecordFate kept = isWritten ? RecordFate::kBehind : RecordFate::kAhead;
    fFates[record] = kept;
    if (!isWritten && !isTaken) return;
    Name& found = fNames[name];
    const bool isKnown = fTaken.unreadable.has(text);
    auto read = isKnown ? nullptr : tryToReadAssociations(text);
    const Associations* entry = fModel.entry(name);
    if (!read && !isKnown && entry && isTaken && !found.hasAskedModel) {
        found.hasAskedModel = true;
        read = readWithStructuresOf(*entry, text);
        found.isHelped = read != nullptr;
    }
    if (!read) {
        fUnread.insert(record);
        fUnreadable.add(text);
        return;
    }
    if (!found.records.empty()) fHidden.insert(record);
    found.records.push_back(record);
    found.isSame = found.isSame || isSame(name, found, *read);
}

void NodePlan::settle() {
    for (auto& [name, found] : fNames) {
        const bool isWritten = fModel.hasNode(name);
        for (const std::size_t record : found.records) {
            fFates[record] = !found.isSame ? RecordFate::kDropped
                             : isWritten   ? RecordFate::kUnchanged
                                           : RecordFate::kAhead;
        }
        if (found.isSame && found.isHelped) rewrite(name);
    }
}

void NodePlan::rewrite(const std::string& name) {
    const Name& found = fNames.at(name);
    for (const std::size_t record : found.records) {
        if (fFates[record] != RecordFate::kUnchanged) return;
        fFates[record] =
            record == found.records.front() ? RecordFate::kDropped : RecordFate::kBehind;
    }
}

bool NodePlan::staysByItself(std::size_t record) const {
    const RecordFate fate = fFates[record];
    if (fate == RecordFate::kUnchanged) return fHidden.count(record) > 0;
    return fate != RecordFate::kDropped;
}

std::string NodePlan::carefulRefusal() const {
    for (const auto& [name, found] : fNames) {
        if (!dropsOthers(found)) continue;
        return ModelPlace::of(name) + " has " + std::to_string(found.records.size()) +
               " records in the file; a change would drop the others";
    }
    return {};
}

void NodePlan::addNotes(Findings& findings) const {
    for (const auto& [name, found] : fNames) {
        if (!dropsOthers(found)) continue;
        SceneRecord record;
        record.kind = SceneRecord::Kind::kAssociations;
        record.name = name;
        for (std::size_t other = 1; other < found.records.size(); ++other) {
            findings.add(Finding::Code::kRecordDropped,
                         "Another record of " + ModelPlace::of(name) + " goes from the file",
                         record);
        }
    }
}

}  // namespace orbo::Data
