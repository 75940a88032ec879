// What a write stores of an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/WrittenModel.h"

#include <algorithm>
#include <cstring>

#include "core/Layout.h"

namespace orbo::Data {

namespace {

bool nameIsLess(const RefPtr<const Structure>& structure, const char* name) {
    return std::strcmp(structure->name(), name) < 0;
}

}  // namespace

WrittenModel::WrittenModel(const Accessor& accessor, const TakenNames& taken)
    : fEntries(accessor.associations()) {
    for (const Structure* structure : accessor.structures()) fStructures.emplace_back(structure);
    // Names may have changed since the set put them in order.
    std::stable_sort(
        fStructures.begin(), fStructures.end(),
        [](const auto& left, const auto& right) { return nameIsLess(left, right->name()); });
    for (const auto& entry : accessor.associations()) {
        const bool isPart = taken.partialNodes.count(entry.first) > 0;
        if (!isPart && !entry.second.empty()) fNodes.push_back({&entry.first, &entry.second});
    }
    if (accessor.writePolicy().addMissingStructures) addMissingStructures();
}

void WrittenModel::addMissingStructures() {
    for (const Node& node : fNodes) {
        forEachStream(*node.associations, [&](const Channel&, const Stream& stream) {
            const Structure& needed = stream.structure();
            const auto place =
                std::lower_bound(fStructures.begin(), fStructures.end(), needed.name(), nameIsLess);
            if (place == fStructures.end() || std::strcmp((*place)->name(), needed.name()) != 0) {
                fStructures.emplace(place, &needed);
            }
            return true;
        });
    }
}

const Structure* WrittenModel::structure(const std::string& name) const {
    const auto place =
        std::lower_bound(fStructures.begin(), fStructures.end(), name.c_str(), nameIsLess);
    return place != fStructures.end() && (*place)->name() == name ? place->get() : nullptr;
}

const Associations* WrittenModel::entry(const std::string& node) const {
    const auto found = fEntries.find(node);
    return found == fEntries.end() ? nullptr : &found->second;
}

bool WrittenModel::hasNode(const std::string& name) const {
    const auto place = std::lower_bound(
        fNodes.begin(), fNodes.end(), name,
        [](const Node& node, const std::string& wanted) { return *node.name < wanted; });
    return place != fNodes.end() && *place->name == name;
}

TakenNames WrittenModel::names() const {
    TakenNames names;
    for (const auto& structure : fStructures) {
        names.structures.emplace(structure->name(), RefPtr<const Layout>(&Layout::of(*structure)));
    }
    for (const Node& node : fNodes) names.associations.emplace(*node.name, std::nullopt);
    return names;
}

}  // namespace orbo::Data
