// Decides what becomes of the records that a scene file holds when the model is written to it.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/SectionPlan.h"

#include <new>

#include "accessors/RecordReader.h"
#include "core/Ascii.h"

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

SectionPlan::Fate SectionPlan::ofStructure(const SceneRecord& record, bool isWritten) {
    std::string messages;  // the last read has given them
    const RefPtr<Structure> structure =
        tryToRead([&](const SceneRecord& r) { return readStructure(r, messages); }, record);
    const std::string name = structure ? structure->name() : nameFieldOf(record.text);
    const bool nameIsWritten = fModel.structure(name) != nullptr;
    if (!structure) {
        if (isWritten) return Fate::kDropped;
        return nameIsWritten ? Fate::kBehind : Fate::kAhead;
    }
    const auto [entry, first] = fWinners.try_emplace(name);
    Winner& winner = entry->second;
    if (!first) return isWritten ? Fate::kDropped : ofLoser(*structure, winner);
    const bool goes = isWritten || nameIsWritten || fTaken.structures.count(name) > 0;
    winner = {structure, goes ? Fate::kDropped : Fate::kAhead};
    Structure::registerStructure(*structure);
    return winner.fate;
}

// A repetition goes where the winner goes. What differs was never in the model: it stays, but
// behind a namesake that is written, because the first in the file is the one that counts.
SectionPlan::Fate SectionPlan::ofLoser(const Structure& loser, const Winner& winner) const {
    if (loser == *winner.structure) return winner.fate;
    const Structure* written = fModel.structure(loser.name());
    if (!written) return Fate::kAhead;
    return loser == *written ? Fate::kDropped : Fate::kBehind;
}

SectionPlan::Fate SectionPlan::ofAssociations(const SceneRecord& record, bool isWritten) {
    const bool nameIsWritten = fModel.hasNode(record.name);
    if (!nameIsWritten && fTaken.associations.count(record.name) == 0) return Fate::kAhead;
    std::string messages;
    if (isWritten ||
        tryToRead([&](const SceneRecord& r) { return readAssociations(r, messages); }, record)) {
        return Fate::kDropped;
    }
    return nameIsWritten ? Fate::kBehind : Fate::kAhead;
}

}  // namespace orbo::Data
