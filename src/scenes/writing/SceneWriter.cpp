// Replaces the metadata section of a scene by an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/SceneWriter.h"

#include <cstddef>
#include <set>
#include <string_view>
#include <utility>

#include "core/StructureRegistry.h"
#include "scenes/Messages.h"
#include "scenes/model/ModelCheck.h"
#include "scenes/model/ModelCompare.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/model/ModelText.h"

namespace orbo::Data {

namespace {

using Fate = SectionPlan::Fate;

// A format does not know what it is asked to write.
std::string at(const std::string& place, const std::string& messages) {
    return messages.empty() ? std::string() : place + ": " + messages;
}

}  // namespace

SceneWriter::SceneWriter(const Accessor& accessor, const TakenNames& taken, SceneSection& section)
    : fAccessor(accessor),
      fTaken(taken),
      fSection(section),
      fModel(accessor, taken),
      fWritten(fModel.names()) {
    fWritten.partialNodes = taken.partialNodes;
}

RewriteResult SceneWriter::write(Files::LockedFile& file, RewriteExtent extent,
                                 std::string& errors) {
    if (!compose(file.file(), errors)) return RewriteResult::kFailed;
    return rewrite(file, fSection.changes(), fAccessor.writePolicy(), extent, errors);
}

bool SceneWriter::rehearse(Files::File& file, std::string& errors) {
    fRehearses = true;
    return compose(file, errors);
}

bool SceneWriter::compose(Files::File& file, std::string& errors) {
    if (!checkPartialNodes(errors) || !checkNamesAreUnique(fModel, errors)) return false;
    if (!fSection.find(errors) || !fSection.load(errors)) return false;
    if (!checkUnchanged(file, errors)) return false;
    if (!decide(errors) || !checkChanges(errors)) return false;
    if (!fSection.checkEntries(errors) || !writeRecords(errors)) return false;
    dropRepeated();
    if (!fSection.compose(fNew, errors)) return false;
    if (fAccessor.writePolicy().verify && !verify(errors)) return false;
    noteDigests();
    return true;
}

// Six digits, for example, may read back as something else than the model has.
void SceneWriter::noteDigests() {
    for (const WrittenModel::Node& node : fModel.nodes()) {
        if (!fAccessor.writePolicy().verify && fUnchangedNodes.count(*node.name) == 0) continue;
        fWritten.associations[*node.name] = digestOf(*node.associations);
    }
}

// Their records stay as they are, so what the caller did to them would be lost.
bool SceneWriter::checkPartialNodes(std::string& errors) const {
    for (const auto& [name, digest] : fTaken.partialNodes) {
        const Associations* entry = fModel.entry(name);
        if (!entry || digestOf(*entry) != digest) {
            return fail(errors, ModelPlace::of(name) +
                                    " was read in part: it cannot be changed or removed.");
        }
    }
    return true;
}

bool SceneWriter::checkUnchanged(Files::File& file, std::string& errors) {
    if (!fAccessor.writePolicy().detectConflicts) return true;
    if (fTaken.fingerprint) {
        fMetConflict = fSection.fingerprint(fTaken.metOnly) != *fTaken.fingerprint;
    } else {
        const auto status = file.status();
        fMetConflict = !status || !fTaken.status || !status->hasSameBytes(*fTaken.status);
    }
    return !fMetConflict || fail(errors, "The metadata in the file is no longer what was read.");
}

// Structures first: what associations mean depends on them.
bool SceneWriter::decide(std::string& errors) {
    SectionPlan plan(fModel, fTaken, fAccessor.readPolicy(), fSection.entries().size());
    std::vector<std::string> names(fSection.entries().size());
    forEachRecord(Kind::kStructure, [&](std::size_t number, const SceneRecord& record) {
        names[number] = plan.addStructure(number, record);
    });
    forEachRecord(Kind::kAssociations, [&](std::size_t number, const SceneRecord& record) {
        names[number] = record.name;
        plan.addAssociations(number, record);
    });
    if (plan.asksForUsers()) addUsers(plan);
    if (!plan.decide(fAccessor.writePolicy().verify, errors)) return false;
    if (plan.asksForUnchanged()) {
        forEachRecord(Kind::kAssociations, [&](std::size_t number, const SceneRecord& record) {
            plan.addUnchanged(number, record);
        });
    }
    if (!noteLosses(plan, names, errors)) return false;
    apply(plan, names);
    plan.addNotes(fNotes);
    if (!fAccessor.writePolicy().verify) addRemarks(plan);
    fWritten.unreadable = std::move(plan.unreadable());
    return true;
}

// A careful write refuses them.
void SceneWriter::addRemarks(const SectionPlan& plan) {
    WriteRemarks remarks([&](const std::string& name) { return plan.structures().counting(name); },
                         fAccessor.readPolicy().unknownIndexTypesAsText, fNotes);
    for (const auto& structure : fModel.structures()) {
        if (fUnchangedStructures.count(structure->name()) == 0) remarks.addStructure(*structure);
    }
    for (const WrittenModel::Node& node : fModel.nodes()) {
        if (fUnchangedNodes.count(*node.name) == 0) {
            remarks.addNode(node);
        } else {
            remarks.addStructuresOf(node);
        }
    }
}

template <typename Visit>
void SceneWriter::forEachRecord(Kind kind, const Visit& visit) {
    std::size_t number = 0;
    for (Entry& entry : fSection.entries()) {
        const std::size_t current = number++;
        if (entry.where.kind != kind) continue;
        const auto record = fSection.parse(entry);
        if (!record) continue;
        entry.understood = true;
        entry.plain = record->plain;
        visit(current, *record);
    }
}

void SceneWriter::addUsers(SectionPlan& plan) {
    forEachRecord(Kind::kAssociations, [&](std::size_t number, const SceneRecord& record) {
        plan.addUser(number, record);
    });
    for (const Entry& entry : fSection.entries()) {
        const bool isUser = !entry.understood && entry.where.kind == Kind::kAssociations;
        if (isUser) plan.addUser(fSection.bytesOf(entry));
    }
}

// What the caller removed goes with all that its statement held.
bool SceneWriter::noteLosses(const SectionPlan& plan, const std::vector<std::string>& names,
                             std::string& errors) {
    std::size_t number = 0;
    for (const Entry& entry : fSection.entries()) {
        const std::size_t current = number++;
        if (!entry.understood || entry.plain || plan.fate(current) != Fate::kDropped) continue;
        const std::string& name = names[current];
        const bool isStructure = entry.where.kind == Kind::kStructure;
        if (isStructure ? !fModel.structure(name) : !fModel.hasNode(name)) continue;
        const std::string what = isStructure ? "Structure '" + name + "'" : ModelPlace::of(name);
        const std::string message = what + ": its statement holds more than is written of it";
        if (fAccessor.writePolicy().verify) return fail(errors, message);
        SceneRecord record{entry.where.kind, {}, name, {}};
        record.place.offset = entry.where.begin;
        fNotes.add(Finding::Code::kTextPassedOver, message, record);
    }
    return true;
}

void SceneWriter::apply(const SectionPlan& plan, const std::vector<std::string>& names) {
    std::size_t number = 0;
    for (Entry& entry : fSection.entries()) {
        const std::size_t current = number++;
        if (!entry.understood) continue;
        entry.fate = plan.fate(current);
        entry.isUnreadable = plan.isUnreadable(current);
        if (entry.fate != Fate::kUnchanged) continue;
        // Goes where it would have been written.
        entry.fate = Fate::kDropped;
        if (fRehearses) continue;
        const bool isStructure = entry.where.kind == Kind::kStructure;
        auto& unchanged = isStructure ? fUnchangedStructures : fUnchangedNodes;
        unchanged[names[current]] += fSection.unchanged(entry);
    }
}

// What is as the file has it came from there, and goes back the same way.
bool SceneWriter::checkChanges(std::string& errors) const {
    if (!fAccessor.writePolicy().verify) return true;
    for (const auto& structure : fModel.structures()) {
        if (fUnchangedStructures.count(structure->name()) > 0) continue;
        if (!checkFormatCanCarry(*structure, errors)) return false;
    }
    for (const WrittenModel::Node& node : fModel.nodes()) {
        if (fUnchangedNodes.count(*node.name) > 0) continue;
        if (!checkFormatCanCarry(fModel, node, errors)) return false;
    }
    return true;
}

bool SceneWriter::writeRecords(std::string& errors) {
    for (const auto& structure : fModel.structures()) {
        if (!writeStructure(*structure, errors)) return false;
    }
    for (const WrittenModel::Node& node : fModel.nodes()) {
        if (!writeNode(node, errors)) return false;
    }
    return true;
}

bool SceneWriter::writeStructure(const Structure& structure, std::string& errors) {
    std::string& bytes = fNew.structures.emplace_back();
    if (const auto unchanged = fUnchangedStructures.find(structure.name());
        unchanged != fUnchangedStructures.end()) {
        bytes = std::move(unchanged->second);
        return true;
    }
    std::string messages;
    if (const auto record = recordOf(structure, messages)) {
        if (fSection.append(bytes, *record)) return true;
        messages = "name cannot be written";
    }
    addMessage(errors, fSection.failureOf(Part::kStructures));
    return fail(errors, at(std::string("Structure '") + structure.name() + "'", messages));
}

bool SceneWriter::writeNode(const WrittenModel::Node& node, std::string& errors) {
    const bool isScene = node.name->empty();
    std::string& bytes = isScene ? fNew.scene : fNew.nodes.emplace_back();
    if (const auto unchanged = fUnchangedNodes.find(*node.name);
        unchanged != fUnchangedNodes.end()) {
        bytes = std::move(unchanged->second);
        return true;
    }
    std::string messages;
    const auto record =
        recordOf(*node.name, *node.associations, fAccessor.writePolicy().exactNumbers, messages);
    if (!record) {
        addMessage(errors, fSection.failureOf(isScene ? Part::kScene : Part::kNodes));
        return fail(errors, at(ModelPlace::of(*node.name), messages));
    }
    return fSection.append(bytes, *record) ||
           fail(errors, ModelPlace::of(*node.name) + ": name cannot be written");
}

// What was written before without what it needs to be read is replaced all the same.
void SceneWriter::dropRepeated() {
    std::set<std::string_view> written(fNew.structures.begin(), fNew.structures.end());
    written.insert(fNew.nodes.begin(), fNew.nodes.end());
    written.insert(fNew.scene);
    for (Entry& entry : fSection.entries()) {
        if (entry.isUnreadable && written.count(fSection.bytesOf(entry)) > 0) {
            entry.fate = Fate::kDropped;
        }
    }
}

bool SceneWriter::verify(std::string& errors) const {
    const StructureRegistry::SetAside fileStructures;
    std::set<std::string> nodes;
    for (const auto& node : fWritten.associations) nodes.insert(node.first);
    ModelReading reading(nullptr, &nodes);
    Accessor::AssociationsMap readBack;
    Findings findings;
    std::string messages;
    try {
        const bool done = fSection.readBack(reading, findings);
        if (done) reading.build(readBack, fAccessor.readPolicy(), findings);
        findings.appendTo(messages);
        if (!done) return fail(errors, messages);
    } catch (const Index::eCreationErrors&) {
        return fail(errors, "An index type of the new metadata is not registered.");
    }
    return readBackIsSame(fModel, readBack, errors) || fail(errors, messages);
}

}  // namespace orbo::Data
