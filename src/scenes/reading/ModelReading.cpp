// Builds the model from the records of a scene file of either kind.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/ModelReading.h"

#include <data/AssociationsSerializerRaw.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "formats/PartialReading.h"
#include "formats/ReaderRemarks.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/model/ModelText.h"
#include "scenes/reading/RecordReader.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

namespace {

using Kind = SceneRecord::Kind;

Finding::Code codeOf(ReaderRemarks::Kind kind) {
    switch (kind) {
        case ReaderRemarks::Kind::kUnreadable:
            return Finding::Code::kValueUnreadable;
        case ReaderRemarks::Kind::kNotFinite:
            return Finding::Code::kNumberNotFinite;
        default:
            return Finding::Code::kTextPassedOver;
    }
}

}  // namespace

/// Structures that associations need but nobody asked for: registered for a while.
class ModelReading::Helpers {
  public:
    Helpers() = default;
    Helpers(const Helpers&) = delete;
    Helpers& operator=(const Helpers&) = delete;
    ~Helpers() {
        for (const RefPtr<Structure>& helper : fHelpers) Structure::deregisterStructure(*helper);
    }
    void add(RefPtr<Structure> structure) {
        fHelpers.push_back(std::move(structure));
        Structure::registerStructure(*fHelpers.back());
    }

  private:
    std::vector<RefPtr<Structure>> fHelpers;
};

ModelReading::ModelReading(const std::set<std::string>* structureNames,
                           const std::set<std::string>* associationNames)
    : fStructureNamesGiven(structureNames),
      fAssociationNamesGiven(associationNames),
      fStructureNames(structureNames),
      fAssociationNames(associationNames) {}

bool ModelReading::wantsMore() const {
    return !fStructureNames.done() || wantsAssociations() || fNeedsOthers;
}

bool ModelReading::wants(const SceneRecord& record) const {
    return record.kind == Kind::kStructure || fAssociationNames.wants(record.name);
}

std::uint64_t ModelReading::nextRank() {
    const std::uint64_t number = fRecords++;
    return fOrder == Order::kFirstToLast ? number : ~number;
}

template <typename Read>
auto ModelReading::read(const Read& reader, const SceneRecord& record, std::uint64_t rank) {
    using Code = Finding::Code;
    using Detail = ReaderRemarks::Detail;
    Findings findings;
    const ReaderRemarks::Collector collector(fThorough ? Detail::kAll : Detail::kNormal);
    auto object = reader(record, findings);
    for (const ReaderRemarks::Remark& remark : collector.remarks()) {
        findings.add(codeOf(remark.kind), remark.message(), record, remark.place);
    }
    findings.addLeftOut(Finding::isInErrors(Code::kTextPassedOver), collector.leftOut());
    if (fThorough && record.leftover > 0) {
        findings.add(Code::kLeftoverBytes,
                     "Of the chunk " + std::to_string(record.leftover) + " bytes are not read.",
                     record);
    }
    fFindings.add(rank, findings);
    return object;
}

void ModelReading::addRepeated(const UnreadAssociations& repeated) {
    Findings findings;
    findings.add(Finding::Code::kNodeRepeated,
                 lastCounts(fAssociationNamesGiven) ? "A later record of this node counts."
                                                    : "An earlier record of this node counts.",
                 repeated.record);
    fFindings.add(repeated.rank, findings);
    if (fThorough) read(readAssociations, repeated.record, repeated.rank);
}

void ModelReading::add(SceneRecord record) {
    const std::uint64_t rank = nextRank();
    if (record.kind == Kind::kStructure) {
        auto structure = read(readStructure, record, rank);
        if (!structure) return;
        fStructureNames.found(structure->name());
        fStructures.push_back({std::move(structure), record.place, rank});
    } else if (wants(record)) {
        strikeOff(record);
        fAssociations.push_back({std::move(record), rank});
    }
}

void ModelReading::strikeOff(const SceneRecord& record) {
    if (!fStrikesOff || !fAssociationNames.isLeft(record.name)) return;
    fAssociationNames.found(record.name);
    // Without both sets, the reading does not end early.
    if (!fStructureNamesGiven || !fAssociationNamesGiven) return;
    if (record.format != AssociationsSerializerRaw::theFormat().formatType()) fNeedsOthers = true;
    for (const NamedStructure& needed : structuresNamedIn(record.text)) {
        if (!fStructureNames.wants(needed.structure)) fNeedsOthers = true;
    }
}

void ModelReading::add(Finding::Code code, std::string message, const FilePlace& place) {
    Findings findings;
    findings.add(code, std::move(message), place);
    fFindings.add(nextRank(), findings);
}

void ModelReading::add(Finding::Code code, std::string message, const SceneRecord& record) {
    Findings findings;
    findings.add(code, std::move(message), record);
    fFindings.add(nextRank(), findings);
}

void ModelReading::discard() {
    fStructureNames = NameFilter(fStructureNamesGiven);
    fAssociationNames = NameFilter(fAssociationNamesGiven);
    fNeedsOthers = false;
    fStructures.clear();
    fAssociations.clear();
    fFindings = RankedFindings();
}

void ModelReading::registerStructure(const ParsedStructure& parsed, TakenNames& taken,
                                     Helpers& helpers) {
    using Code = Finding::Code;
    const Structure& structure = *parsed.structure;
    const std::string name = structure.name();
    const bool wanted = fStructureNames.wants(name);
    if (const Structure* earlier = Structure::structureByName(name.c_str())) {
        const bool differs = *earlier != structure;
        const std::string other =
            wanted && lastCounts(fStructureNamesGiven) ? "a later" : "an earlier";
        Findings findings;
        findings.add(differs && wanted ? Code::kStructureDiffers : Code::kStructureRepeated,
                     "Structure '" + name +
                         (differs ? "' differs from " + other + " one of that name"
                                  : "' is there again; " + other + " record of it counts"),
                     parsed.place);
        fFindings.add(parsed.rank, findings);
    } else if (wanted) {
        Structure::registerStructure(*parsed.structure);
        taken.structures.emplace(name, RefPtr<const Layout>(&Layout::of(structure)));
        if (fThorough) taken.structurePlaces.emplace(name, parsed.place);
    } else {
        helpers.add(parsed.structure);
    }
}

// False when the record cannot be read.
bool ModelReading::build(const UnreadAssociations& unread, Accessor::AssociationsMap& map,
                         TakenNames& taken) {
    const SceneRecord& record = unread.record;
    if (map.count(record.name) > 0) {
        addRepeated(unread);
    } else if (const auto associations = read(readAssociations, record, unread.rank)) {
        map.emplace(record.name, *associations);
        if (fThorough) taken.associationPlaces.emplace(record.name, record.place);
    } else {
        taken.unreadable.add(record);
        return false;
    }
    return true;
}

// A record of the node that can be read as a whole counts, and so does an earlier part.
void ModelReading::buildPart(const UnreadAssociations& unread, Accessor::AssociationsMap& map,
                             TakenNames& taken) {
    const SceneRecord& record = unread.record;
    if (map.count(record.name) > 0) return;
    const PartialReading partial;
    const IndexTypes::KeepUnknown unknownAsText;
    Findings known;  // from the attempt to read it as a whole
    const auto part = readAssociations(record, known);
    if (!part || part->empty()) return;
    map.emplace(record.name, *part);
    taken.partialNodes.emplace(record.name, digestOf(*part));
    Findings findings;
    findings.add(Finding::Code::kNodePartial,
                 "Only a part of this node was read; it cannot be changed.", record);
    fFindings.add(unread.rank, findings);
}

// Those first that count. Structures that nobody asked for mean to a node what they mean in the
// whole file.
void ModelReading::sortByPrecedence() {
    if (fOrder != Order::kLastToFirst) return;
    std::reverse(fStructures.begin(), fStructures.end());
    if (lastCounts(fStructureNamesGiven)) {
        const auto unasked = std::stable_partition(
            fStructures.begin(), fStructures.end(), [this](const ParsedStructure& parsed) {
                return fStructureNames.wants(parsed.structure->name());
            });
        std::reverse(fStructures.begin(), unasked);
    }
    if (!lastCounts(fAssociationNamesGiven)) {
        std::reverse(fAssociations.begin(), fAssociations.end());
    }
}

TakenNames ModelReading::build(Accessor::AssociationsMap& map, const ReadPolicy& policy,
                               Findings& findings) {
    sortByPrecedence();
    std::optional<IndexTypes::KeepUnknown> unknownAsText;
    if (policy.unknownIndexTypesAsText) unknownAsText.emplace();

    TakenNames taken;
    taken.metOnly = fMetOnly;
    Helpers helpers;
    // Each goes as soon as it is in the model.
    for (; !fStructures.empty(); fStructures.pop_front()) {
        registerStructure(fStructures.front(), taken, helpers);
    }
    for (; !fAssociations.empty(); fAssociations.pop_front()) {
        const bool isRead = build(fAssociations.front(), map, taken);
        if (!isRead && policy.partialNodes) {
            fUnreadable.push_back(std::move(fAssociations.front()));
        }
    }
    for (const auto& [name, associations] : map) {
        taken.associations.emplace(name, digestOf(associations));
    }
    for (; !fUnreadable.empty(); fUnreadable.pop_front()) {
        buildPart(fUnreadable.front(), map, taken);
    }
    fFindings.moveTo(findings);
    return taken;
}

}  // namespace orbo::Data
