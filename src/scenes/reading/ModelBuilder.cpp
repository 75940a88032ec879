// Builds the model from the records of a scene.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/ModelBuilder.h"

#include <data/AssociationsSerializerRaw.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "core/ShareOut.h"
#include "core/StructureRegistry.h"
#include "formats/RawScan.h"
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

// A plug-in may have registered a format of its own by our name.
bool isOwnFormat(const SceneRecord& record) {
    return AssociationsSerializer::formatByName(record.format) ==
           &AssociationsSerializerRaw::theFormat();
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

// Several threads may call it at once.
template <typename Read>
auto ModelBuilder::read(const Read& reader, const SceneRecord& record, ReadContext context,
                        Findings& findings) const {
    using Code = Finding::Code;
    using Detail = ReaderRemarks::Detail;
    ReaderRemarks remarks(fRequest.isCheck ? Detail::kAll : Detail::kNormal);
    context.remarks = &remarks;
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
    return object;
}

ModelBuilder::ReadNode ModelBuilder::readNode(const SceneRecord& record, unsigned threads) const {
    ReadNode node;
    node.outline.size = record.text.size();
    ReadContext context;
    context.ownIndexTypesOnly = threads > 0;
    context.threads = std::max(threads, 1U);
    if (fRequest.keepsOutlines) context.outline = &node.outline;
    node.associations = read(readAssociations, record, context, node.findings);
    return node;
}

// Leaves to the calling thread what gives findings or throws: that has an order. So it does with
// index types of others.
void ModelBuilder::readAhead(UnreadAssociations& unread, unsigned threads) const noexcept {
    try {
        ReadNode node = readNode(unread.record, threads);
        const bool isClean = node.associations && node.findings.isEmpty();
        if (!isClean) return;
        if (fRequest.policy.preparesEdits) node.digest = digestOf(*node.associations);
        std::string().swap(unread.record.text);
        unread.ahead = std::move(node);
    } catch (...) {
    }
}

// Reads the nodes side by side that will be needed, if that is asked for and worth it.
void ModelBuilder::readAhead() {
    std::vector<UnreadAssociations*> own;
    std::set<std::string> names;
    std::size_t size = 0;
    for (UnreadAssociations& unread : fAssociations) {
        const SceneRecord& record = unread.record;
        if (!isOwnFormat(record)) continue;
        if (!names.insert(record.name).second) continue;
        own.push_back(&unread);
        size += record.text.size();
    }
    const unsigned threads = fRequest.threads;
    if (threads < 2 || size < kWorthThreads) return;
    // The last ones to be taken decide how long all take.
    std::stable_sort(own.begin(), own.end(), [](const auto* left, const auto* right) {
        return left->record.text.size() > right->record.text.size();
    });
    // What is more than a thread's share is read in pieces, by all of them.
    std::size_t large = 0;
    for (; large < own.size(); ++large) {
        const std::size_t text = own[large]->record.text.size();
        if (text * threads <= size) break;
        size -= text;
        readAhead(*own[large], threads);
    }
    StructureRegistry& structures = StructureRegistry::current();
    structures.prepareForLending();
    shareOut(threads, own.size() - large, [&](std::size_t number) {
        const StructureRegistry::Borrowed borrowed(structures);
        readAhead(*own[large + number], 1);
    });
}

void ModelBuilder::addRepeated(const UnreadAssociations& repeated) {
    Findings findings;
    findings.add(Finding::Code::kNodeRepeated,
                 lastCounts(fRequest.associationNames) ? "A later record of this node counts."
                                                       : "An earlier record of this node counts.",
                 repeated.record);
    fFindings.add(repeated.rank, findings);
    if (fRequest.isCheck) fFindings.add(repeated.rank, readNode(repeated.record).findings);
}

void ModelBuilder::add(SceneRecord record) {
    const std::uint64_t rank = nextRank();
    if (record.kind == Kind::kStructure) {
        Findings findings;
        auto structure = read(readStructure, record, {}, findings);
        fFindings.add(rank, findings);
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
    if (!isOwnFormat(record)) fNeedsOthers = true;
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
bool ModelBuilder::build(UnreadAssociations& unread, Accessor::AssociationsMap& map,
                         ReadSnapshot& snapshot) {
    const SceneRecord& record = unread.record;
    if (map.count(record.name) > 0) {
        addRepeated(unread);
        return true;
    }
    const bool isAhead = unread.ahead.has_value();
    ReadNode node = isAhead ? std::move(*unread.ahead) : readNode(record);
    fFindings.add(unread.rank, node.findings);
    if (!node.associations) {
        snapshot.unreadable.add(record);
        return false;
    }
    map.emplace(record.name, *node.associations);
    if (node.digest) fDigests.emplace(record.name, std::move(*node.digest));
    if (fRequest.keepsOutlines) {
        snapshot.texts[record.name].streams = std::move(node.outline.streams);
    }
    if (fRequest.isCheck) snapshot.associationPlaces.emplace(record.name, record.place);
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
    readAhead();
    for (; !fAssociations.empty(); fAssociations.pop_front()) {
        const bool isRead = build(fAssociations.front(), map, snapshot);
        if (!isRead && fRequest.policy.partialNodes) {
            fUnreadable.push_back(std::move(fAssociations.front()));
        }
    }
    for (const auto& [name, associations] : map) {
        const auto known = fDigests.find(name);
        if (known != fDigests.end()) {
            snapshot.add(name, associations, std::move(known->second));
        } else if (fRequest.policy.preparesEdits) {
            snapshot.add(name, associations, digestOf(associations));
        } else {
            snapshot.undigested.insert(name);
        }
    }
    for (; !fUnreadable.empty(); fUnreadable.pop_front()) {
        buildPart(fUnreadable.front(), map, snapshot);
    }
    fFindings.moveTo(findings);
    return snapshot;
}

}  // namespace orbo::Data
