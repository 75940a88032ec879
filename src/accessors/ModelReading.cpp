// Builds the model from the records of a scene file of either kind.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/ModelReading.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "accessors/ModelText.h"
#include "accessors/RecordReader.h"
#include "formats/ReaderRemarks.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

namespace {

using Kind = SceneRecord::Kind;

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
      fStructureNames(structureNames),
      fAssociationNames(associationNames) {}

bool ModelReading::wantsMore() const { return !fStructureNames.done() || wantsAssociations(); }

template <typename Read>
auto ModelReading::read(const Read& reader, Item& item) const {
    if (!fThorough) return reader(item.record, item.findings);
    using Code = Finding::Code;
    const ReaderRemarks::Collector collector;
    auto object = reader(item.record, item.findings);
    for (const ReaderRemarks::Remark& remark : collector.remarks()) {
        const bool isNumber = remark.kind == ReaderRemarks::Kind::kNotFinite;
        item.findings.add(isNumber ? Code::kNumberNotFinite : Code::kTextPassedOver,
                          remark.message(), item.record);
    }
    if (item.record.leftover > 0) {
        item.findings.add(
            Code::kLeftoverBytes,
            "Of the chunk " + std::to_string(item.record.leftover) + " bytes are not read.",
            item.record);
    }
    return object;
}

void ModelReading::readRepeated(Item& item) const {
    item.findings.add(Finding::Code::kNodeRepeated, "An earlier record of this node counts.",
                      item.record);
    read(readAssociations, item);
}

void ModelReading::add(SceneRecord record) {
    Item item;
    if (record.kind == Kind::kStructure) {
        item.record = std::move(record);
        item.structure = read(readStructure, item);
        std::string().swap(item.record.text);
        if (!item.structure) return addMistake(std::move(item));
        fStructureNames.found(item.structure->name());
    } else if (!fAssociationNames.wants(record.name)) {
        return;
    } else {
        item.record = std::move(record);
    }
    fItems.push_back(std::move(item));
}

void ModelReading::add(Finding::Code code, std::string message, const FilePlace& place) {
    Item item;
    item.findings.add(code, std::move(message), place);
    addMistake(std::move(item));
}

// As many as can be told of.
void ModelReading::addMistake(Item item) {
    if (++fMistakes <= Findings::kMost) fItems.push_back(std::move(item));
}

void ModelReading::discard() {
    fStructureNames = NameFilter(fStructureNamesGiven);
    fItems.clear();
    fMistakes = 0;
}

void ModelReading::registerStructure(Item& item, TakenNames& taken, Helpers& helpers) {
    Structure& structure = *item.structure;
    const std::string name = structure.name();
    const bool wanted = fStructureNames.wants(name);
    if (const Structure* earlier = Structure::structureByName(name.c_str())) {
        if (wanted && *earlier != structure) {
            item.findings.add(Finding::Code::kStructureDiffers,
                              "Structure '" + name + "' differs from an earlier one of that name",
                              item.record);
        }
    } else if (wanted) {
        Structure::registerStructure(structure);
        taken.structures.emplace(name, textOf(structure));
        if (fThorough) taken.structurePlaces.emplace(name, item.record.place);
    } else {
        helpers.add(item.structure);
    }
    item.structure = {};
}

void ModelReading::buildAssociations(Accessor::AssociationsMap& map, TakenNames& taken) {
    for (Item& item : fItems) {
        SceneRecord& record = item.record;
        if (record.kind != Kind::kAssociations) continue;
        if (map.count(record.name) > 0) {
            if (fThorough) readRepeated(item);
        } else {
            if (const auto associations = read(readAssociations, item)) {
                map.emplace(record.name, *associations);
                if (fThorough) taken.associationPlaces.emplace(record.name, record.place);
            } else {
                taken.unreadable.add(record);
            }
        }
        std::string().swap(record.text);
    }
}

TakenNames ModelReading::build(Accessor::AssociationsMap& map, const ReadPolicy& policy,
                               Findings& findings) {
    if (fOrder == Order::kLastToFirst) std::reverse(fItems.begin(), fItems.end());
    std::optional<IndexTypes::KeepUnknown> unknownAsText;
    if (policy.unknownIndexTypesAsText) unknownAsText.emplace();

    TakenNames taken;
    Helpers helpers;
    for (Item& item : fItems) {
        if (item.structure) registerStructure(item, taken, helpers);
    }
    buildAssociations(map, taken);
    for (const auto& entry : map) taken.associations.insert(entry.first);
    for (Item& item : fItems) findings.add(std::move(item.findings));
    findings.addLeftOut(fMistakes - std::min(fMistakes, Findings::kMost));
    return taken;
}

}  // namespace orbo::Data
