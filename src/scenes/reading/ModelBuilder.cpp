// Builds the model from the records of a scene.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/ModelBuilder.h"

#include <data/AssociationsSerializerRaw.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

#include "formats/RawScan.h"
#include "formats/ReadContext.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/reading/RecordReader.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

namespace {

using Kind = SceneRecord::Kind;

Finding::Code codeOf(ReaderRemarks::Kind kind) {
    switch (kind) {
        case ReaderRemarks::Kind::kUnreadable:
            return Finding::Code::kValueUnreadable;
        case ReaderRemarks::Kind::kStructureMissing:
            return Finding::Code::kStructureMissing;
        case ReaderRemarks::Kind::kNotFinite:
            return Finding::Code::kNumberNotFinite;
        default:
            return Finding::Code::kTextPassedOver;
    }
}

// False when the text does not have each stream exactly once, as when one replaced another.
bool sortLikeModel(std::vector<StreamOutline>& outlines, const Associations& associations) {
    std::sort(outlines.begin(), outlines.end(), [](const auto& left, const auto& right) {
        return std::tie(left.channel, left.stream) < std::tie(right.channel, right.stream);
    });
    auto outline = outlines.begin();
    for (const Channel& channel : associations) {
        for (const Stream& stream : channel) {
            if (outline == outlines.end() || outline->channel != channel.name() ||
                outline->stream != stream.name()) {
                return false;
            }
            ++outline;
        }
    }
    return outline == outlines.end();
}

}  // namespace

/// Registers structures that associations need but nobody asked for, until the end of a read.
class ModelBuilder::Helpers {
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

ModelBuilder::ModelBuilder(const Request& request)
    : fRequest(request),
      fStructureNames(request.structureNames),
      fAssociationNames(request.associationNames) {}

bool ModelBuilder::wantsMore() const {
    return !fStructureNames.done() || wantsAssociations() || fNeedsOthers;
}

bool ModelBuilder::wants(const SceneRecord& record) const {
    return record.kind == Kind::kStructure || fAssociationNames.wants(record.name);
}

std::uint64_t ModelBuilder::nextRank() {
    const std::uint64_t number = fRecords++;
    return fRequest.lastFirst ? ~number : number;
}

template <typename Read>
auto ModelBuilder::read(const Read& reader, const SceneRecord& record, std::uint64_t rank,
                        TextOutline* outline) {
    using Code = Finding::Code;
    using Detail = ReaderRemarks::Detail;
    Findings findings;
    ReaderRemarks remarks(fRequest.isCheck ? Detail::kAll : Detail::kNormal);
    ReadContext context;
    context.remarks = &remarks;
    context.outline = outline;
    if (fRequest.policy.unknownIndexTypesAsText) {
        context.unknownIndexTypes = IndexTypes::Unknown::kAsText;
    }
    auto object = reader(record, context, findings);
    for (const ReaderRemarks::Remark& remark : remarks.all()) {
        findings.add(codeOf(remark.kind), remark.message(), record, remark.place, remark.structure);
    }
    findings.addLeftOut(Finding::isInErrors(Code::kTextPassedOver), remarks.leftOut());
    if (fRequest.isCheck && record.leftover > 0) {
        findings.add(Code::kLeftoverBytes,
                     "Of the chunk " + std::to_string(record.leftover) + " bytes are not read.",
                     record);
    }
    fFindings.add(rank, findings);
    return object;
}

void ModelBuilder::addRepeated(const UnreadAssociations& repeated) {
    Findings findings;
    findings.add(Finding::Code::kNodeRepeated,
                 lastCounts(fRequest.associationNames) ? "A later record of this node counts."
                                                       : "An earlier record of this node counts.",
                 repeated.record);
    fFindings.add(repeated.rank, findings);
    if (fRequest.isCheck) read(readAssociations, repeated.record, repeated.rank);
}

void ModelBuilder::add(SceneRecord record) {
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

void ModelBuilder::strikeOff(const SceneRecord& record) {
    if (!fRequest.strikesOff || !fAssociationNames.isLeft(record.name)) return;
    fAssociationNames.found(record.name);
    // A read ends early only if both sets were given.
    if (!fRequest.structureNames || !fRequest.associationNames) return;
    if (record.format != AssociationsSerializerRaw::theFormat().formatType()) fNeedsOthers = true;
    for (const RawScan::NamedStructure& needed : RawScan::structuresNamedIn(record.text)) {
        if (!fStructureNames.wants(needed.structure)) fNeedsOthers = true;
    }
}

void ModelBuilder::add(Finding finding) {
    Findings findings;
    findings.take(std::move(finding));
    fFindings.add(nextRank(), findings);
}

void ModelBuilder::discard() {
    fStructureNames = NameFilter(fRequest.structureNames);
    fAssociationNames = NameFilter(fRequest.associationNames);
    fNeedsOthers = false;
    fStructures.clear();
    fAssociations.clear();
    fFindings = RankedFindings();
}

void ModelBuilder::registerStructure(const ParsedStructure& parsed, ReadSnapshot& snapshot,
                                     Helpers& helpers) {
    using Code = Finding::Code;
    const Structure& structure = *parsed.structure;
    const std::string name = structure.name();
    const bool wanted = fStructureNames.wants(name);
    if (const Structure* earlier = Structure::structureByName(name.c_str())) {
        const bool differs = *earlier != structure;
        const std::string other =
            wanted && lastCounts(fRequest.structureNames) ? "a later" : "an earlier";
        Findings findings;
        findings.addAbout(name,
                          differs && wanted ? Code::kStructureDiffers : Code::kStructureRepeated,
                          ModelPlace::ofStructure(name) +
                              (differs ? " differs from " + other + " one of that name"
                                       : " is there again; " + other + " record of it counts"),
                          parsed.place);
        fFindings.add(parsed.rank, findings);
    } else if (wanted) {
        Structure::registerStructure(*parsed.structure);
        snapshot.structures.emplace(name, RefPtr<const Layout>(&Layout::of(structure)));
        if (fRequest.isCheck) snapshot.structurePlaces.emplace(name, parsed.place);
    } else {
        helpers.add(parsed.structure);
    }
}

// False when the record cannot be read.
bool ModelBuilder::build(const UnreadAssociations& unread, Accessor::AssociationsMap& map,
                         ReadSnapshot& snapshot) {
    const SceneRecord& record = unread.record;
    TextOutline outline{record.text.size()};
    TextOutline* const wanted = fRequest.keepsOutlines ? &outline : nullptr;
    if (map.count(record.name) > 0) {
        addRepeated(unread);
    } else if (const auto associations = read(readAssociations, record, unread.rank, wanted)) {
        map.emplace(record.name, *associations);
        if (wanted) snapshot.texts[record.name].streams = std::move(outline.streams);
        if (fRequest.isCheck) snapshot.associationPlaces.emplace(record.name, record.place);
    } else {
        snapshot.unreadable.add(record);
        return false;
    }
    return true;
}

// Does nothing if the node is in the map already, from a record that could be read as a whole or
// from an earlier part.
void ModelBuilder::buildPart(const UnreadAssociations& unread, Accessor::AssociationsMap& map,
                             ReadSnapshot& snapshot) {
    const SceneRecord& record = unread.record;
    if (map.count(record.name) > 0) return;
    ReadContext context;
    context.unknownIndexTypes = IndexTypes::Unknown::kAsText;
    context.partial = true;
    Findings known;  // from the attempt to read it as a whole
    const auto part = readAssociations(record, context, known);
    if (!part || part->empty()) return;
    map.emplace(record.name, *part);
    snapshot.partialNodes.emplace(record.name, digestOf(*part).value);
    Findings findings;
    findings.add(Finding::Code::kNodePartial,
                 "Only a part of this node was read; it cannot be changed.", record);
    fFindings.add(unread.rank, findings);
}

// Puts the records that count first. Structures that nobody asked for keep the order of the file:
// they must mean to a node what they mean to a reader of the whole file.
void ModelBuilder::sortByPrecedence() {
    if (!fRequest.lastFirst) return;
    std::reverse(fStructures.begin(), fStructures.end());
    if (lastCounts(fRequest.structureNames)) {
        const auto unasked = std::stable_partition(
            fStructures.begin(), fStructures.end(), [this](const ParsedStructure& parsed) {
                return fStructureNames.wants(parsed.structure->name());
            });
        std::reverse(fStructures.begin(), unasked);
    }
    if (!lastCounts(fRequest.associationNames)) {
        std::reverse(fAssociations.begin(), fAssociations.end());
    }
}

ReadSnapshot ModelBuilder::build(Accessor::AssociationsMap& map, Findings& findings) {
    sortByPrecedence();
    ReadSnapshot snapshot;
    Helpers helpers;
    // Frees each record as soon as it is in the model.
    for (; !fStructures.empty(); fStructures.pop_front()) {
        registerStructure(fStructures.front(), snapshot, helpers);
    }
    if (fRequest.leavesNodes) {
        for (Structure* structure : Structure::allStructures()) {
            snapshot.unloaded.structures.push_back(
                {RefPtr<Structure>(structure), RefPtr<const Layout>(&Layout::of(*structure))});
        }
    }
    for (; !fAssociations.empty(); fAssociations.pop_front()) {
        const bool isRead = build(fAssociations.front(), map, snapshot);
        if (!isRead && fRequest.policy.partialNodes) {
            fUnreadable.push_back(std::move(fAssociations.front()));
        }
    }
    for (const auto& [name, associations] : map) {
        NodeDigest digest = digestOf(associations);
        snapshot.associations.emplace(name, digest.value);
        const auto text = snapshot.texts.find(name);
        if (text == snapshot.texts.end()) continue;
        if (sortLikeModel(text->second.streams, associations)) {
            text->second.digests = std::move(digest.streams);
        } else {
            snapshot.texts.erase(text);
        }
    }
    for (; !fUnreadable.empty(); fUnreadable.pop_front()) {
        buildPart(fUnreadable.front(), map, snapshot);
    }
    fFindings.moveTo(findings);
    return snapshot;
}

}  // namespace orbo::Data
