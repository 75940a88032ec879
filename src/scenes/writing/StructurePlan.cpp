// Decides what becomes of the structures that a scene file holds when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/StructurePlan.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "core/Ascii.h"
#include "core/Layout.h"
#include "scenes/reading/QuietRead.h"

namespace orbo::Data {

namespace {

// What the name field of a structure text names, though the text as a whole is none.
std::string nameFieldOf(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find_first_of(":\n");
        const std::string_view field = text.substr(0, end);
        const std::size_t equals = field.find('=');
        if (equals != std::string_view::npos && Ascii::trim(field.substr(0, equals)) == "name") {
            return std::string(Ascii::trim(field.substr(equals + 1)));
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return {};
}

bool beginsWith(const Structure& structure, const Layout& layout) {
    const std::vector<Member>& members = Layout::of(structure).members();
    return layout.memberCount() > 0 && members.size() >= layout.memberCount() &&
           std::equal(layout.members().begin(), layout.members().end(), members.begin());
}

std::string quoted(const std::string& name) { return "Structure '" + name + "'"; }

}  // namespace

const Layout* StructurePlan::takenLayout(const std::string& name) const {
    const auto found = fTaken.structures.find(name);
    return found == fTaken.structures.end() ? nullptr : found->second.get();
}

std::string StructurePlan::add(std::size_t record, const SceneRecord& text) {
    const RefPtr<Structure> structure = tryToReadStructure(text);
    if (!structure) {
        fUnread.insert(record);
        const bool isNamesake = fModel.structure(nameFieldOf(text.text)) != nullptr;
        fFates[record] = isNamesake ? RecordFate::kBehind : RecordFate::kAhead;
        return {};
    }
    std::string name = structure->name();
    Name& found = fNames[name];
    if (!found.counting) {
        found.counting = structure;
        Structure::registerStructure(*structure);
    }
    found.records.push_back(record);
    const Structure* written = fModel.structure(name);
    const Layout* taken = takenLayout(name);
    if (written && *written == *structure) found.hasWritten = true;
    if (taken && taken->members() == Layout::of(*structure).members()) found.hasTaken = true;
    return name;
}

// A filtered read may have taken another than the one that counts: as long as the caller leaves it
// alone, all of them stay.
StructurePlan::Change StructurePlan::changeOf(const std::string& name, const Name& found) const {
    const Structure* written = fModel.structure(name);
    const Layout* taken = takenLayout(name);
    if (!written) return taken && found.hasTaken ? Change::kErased : Change::kNone;
    if (*written == *found.counting) return Change::kNone;
    const bool unedited = taken && taken->members() == Layout::of(*written).members();
    if (unedited && found.hasWritten) return Change::kNone;
    return taken && !found.hasTaken ? Change::kConflict : Change::kChanged;
}

// What somebody else put in the place of what was read is not the caller's to remove.
RecordFate StructurePlan::fateOf(const std::string& name, const Name& found) const {
    switch (found.change) {
        case Change::kNone:
            return fModel.structure(name) ? RecordFate::kUnchanged : RecordFate::kAhead;
        case Change::kNeeded:
            return RecordFate::kAhead;
        case Change::kConflict:
            return RecordFate::kBehind;
        case Change::kErased:
        case Change::kChanged:
            break;
    }
    return RecordFate::kDropped;
}

void StructurePlan::setFate(const Name& found, RecordFate fate) {
    for (const std::size_t record : found.records) fFates[record] = fate;
}

void StructurePlan::settle() {
    for (auto& [name, found] : fNames) {
        found.change = changeOf(name, found);
        if (found.change != Change::kNone) fAtStake.insert(name);
        setFate(found, fateOf(name, found));
    }
}

void StructurePlan::addUse(StructureUse use) {
    if (fAtStake.erase(use.structure) > 0) fNames.at(use.structure).use = std::move(use);
}

// Null when no structure of the model looks like the one that is gone under another name.
const char* StructurePlan::newNameOf(const std::string& name) const {
    const Layout* taken = takenLayout(name);
    for (const auto& structure : fModel.structures()) {
        const char* const other = structure->name();
        if (fNames.count(other) > 0 || takenLayout(other)) continue;
        if (taken && beginsWith(*structure, *taken)) return other;
    }
    return nullptr;
}

void StructurePlan::settleUses() {
    for (auto& [name, found] : fNames) {
        if (!found.use || found.change != Change::kErased || newNameOf(name)) continue;
        found.change = Change::kNeeded;
        setFate(found, fateOf(name, found));
    }
}

bool StructurePlan::isLost(const std::string& name) const {
    const auto found = fNames.find(name);
    return found != fNames.end() && found->second.change != Change::kNone &&
           found->second.change != Change::kNeeded;
}

bool StructurePlan::losesAny() const {
    return std::any_of(fNames.begin(), fNames.end(),
                       [this](const auto& name) { return isLost(name.first); });
}

const Structure* StructurePlan::counting(const std::string& name) const {
    const auto found = fNames.find(name);
    if (found == fNames.end() || isLost(name)) return fModel.structure(name);
    return found->second.counting.get();
}

std::string StructurePlan::refusal() const {
    for (const auto& [name, found] : fNames) {
        if (!found.use || found.change == Change::kNeeded) continue;
        const char* const newName = found.change == Change::kErased ? newNameOf(name) : nullptr;
        return quoted(name) + " cannot be " +
               (newName ? std::string("renamed to '") + newName + "'" : std::string("changed")) +
               ": " + found.use->place + " stays as it is in the file and needs it";
    }
    return {};
}

std::string StructurePlan::carefulRefusal() const {
    for (const auto& [name, found] : fNames) {
        if (found.change == Change::kConflict) {
            return quoted(name) + " in the file is another one than was read";
        }
        const bool goes = found.change == Change::kErased || found.change == Change::kChanged;
        if (goes && found.records.size() > 1) {
            return quoted(name) + " is in the file " + std::to_string(found.records.size()) +
                   " times; a change would drop the others";
        }
    }
    return {};
}

void StructurePlan::addNotes(Findings& findings) const {
    using Code = Finding::Code;
    for (const auto& [name, found] : fNames) {
        const Change change = found.change;
        if (change == Change::kNeeded) {
            findings.add(Code::kStructureKept,
                         quoted(name) + " stays in the file: " + found.use->place + " needs it");
        }
        if (change == Change::kConflict) {
            findings.add(Code::kStructureDiffers,
                         quoted(name) +
                             " in the file is another one than was read; it stays, "
                             "behind the one that is written");
        }
        if (change != Change::kErased && change != Change::kChanged) continue;
        for (std::size_t other = 1; other < found.records.size(); ++other) {
            findings.add(Code::kRecordDropped,
                         "Another record of structure '" + name + "' goes from the file");
        }
    }
}

}  // namespace orbo::Data
