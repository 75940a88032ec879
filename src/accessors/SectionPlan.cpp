// Decides what becomes of the records that a scene file holds when the model is written to it.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/SectionPlan.h"

#include <algorithm>
#include <new>

#include "accessors/ModelCompare.h"
#include "accessors/ModelText.h"
#include "accessors/RecordReader.h"
#include "core/Ascii.h"
#include "core/Layout.h"

namespace orbo::Data {

namespace {

// Null when the text cannot be read, for whatever reason.
template <typename Read>
auto tryToRead(const Read& read, const SceneRecord& record) -> decltype(read(record)) {
    try {
        return read(record);
    } catch (const std::bad_alloc&) {
        throw;  // says nothing about the text
    } catch (...) {
        return {};
    }
}

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

}  // namespace

SectionPlan::SectionPlan(const WrittenModel& model, const TakenNames& taken,
                         const ReadPolicy& policy)
    : fModel(model), fTaken(taken) {
    if (policy.unknownIndexTypesAsText) fUnknownAsText.emplace();
}

SectionPlan::Fate SectionPlan::ofStructure(const SceneRecord& record, std::string& name) {
    Findings known;  // from the last read
    const RefPtr<Structure> structure =
        tryToRead([&](const SceneRecord& r) { return readStructure(r, known); }, record);
    if (!structure) {
        return fModel.structure(nameFieldOf(record.text)) ? Fate::kBehind : Fate::kAhead;
    }
    name = structure->name();
    const auto [entry, first] = fWinners.try_emplace(name);
    Winner& winner = entry->second;
    if (!first) return ofLoser(*structure, winner);
    Structure::registerStructure(*structure);
    winner = {structure, ofWinner(*structure)};
    if (winner.fate == Fate::kDropped || winner.fate == Fate::kBehind) fLostStructures.insert(name);
    return winner.fate;
}

// What somebody else put in the place of what was read is not the caller's to replace or remove.
SectionPlan::Fate SectionPlan::ofWinner(const Structure& winner) {
    const Structure* written = fModel.structure(winner.name());
    if (written && *written == winner) return Fate::kUnchanged;
    const auto taken = fTaken.structures.find(winner.name());
    const bool wasTaken = taken != fTaken.structures.end();
    if (wasTaken && taken->second->members() != Layout::of(winner).members()) {
        if (!written) return Fate::kAhead;
        fConflict = winner.name();
        return Fate::kBehind;
    }
    return written || wasTaken ? Fate::kDropped : Fate::kAhead;
}

// A repetition goes where the winner goes. What differs was never in the model: it stays, but
// behind a namesake that is written, because the first in the file is the one that counts.
SectionPlan::Fate SectionPlan::ofLoser(const Structure& loser, const Winner& winner) const {
    const Structure* written = fModel.structure(loser.name());
    if (written && loser == *written) return Fate::kDropped;
    if (loser == *winner.structure) return winner.fate;
    return written ? Fate::kBehind : Fate::kAhead;
}

// What the last read or write left in the file can be read without the structures that it needs, if
// the model's streams still have them.
std::unique_ptr<Associations> SectionPlan::readSeen(const SceneRecord& record, bool& helped) {
    Findings ignored;
    const auto read = [&](const SceneRecord& r) { return readAssociations(r, ignored); };
    auto associations = tryToRead(read, record);
    const Associations* entry = fModel.entry(record.name);
    if (associations || !entry || fTaken.associations.count(record.name) == 0) return associations;
    if (!fHelpedNodes.insert(record.name).second) return nullptr;
    helped = true;
    const StructureRegistry::SetAside streamStructures;
    forEachStream(*entry, [](const Channel&, const Stream& stream) {
        const Structure& structure = stream.structure();
        if (!Structure::structureByName(structure.name())) {
            Structure::registerStructure(*RefPtr<Structure>(new Structure(structure)));
        }
        return true;
    });
    return tryToRead(read, record);
}

SectionPlan::Fate SectionPlan::ofAssociations(const SceneRecord& record) {
    const bool isWritten = fModel.hasNode(record.name);
    if (!isWritten && fTaken.associations.count(record.name) == 0) return Fate::kAhead;
    bool helped = false;
    const auto read = fTaken.unreadable.has(record) ? nullptr : readSeen(record, helped);
    if (!read) {
        fUnreadable.add(record);
        return isWritten ? Fate::kBehind : Fate::kAhead;
    }
    if (!fReadNodes.insert(record.name).second) return Fate::kDropped;
    const Associations* entry = fModel.entry(record.name);
    if (!entry || !isSame(*entry, *read)) return Fate::kDropped;
    if (!isWritten) return Fate::kAhead;
    return helped || needsLost(record) ? Fate::kDropped : Fate::kUnchanged;
}

// Also for what readers pass over.
bool SectionPlan::needsLost(const SceneRecord& record) const {
    if (fLostStructures.empty()) return false;
    const std::set<std::string> needed = structuresNamedIn(record.text);
    return std::any_of(needed.begin(), needed.end(),
                       [this](const std::string& name) { return fLostStructures.count(name) > 0; });
}

}  // namespace orbo::Data
