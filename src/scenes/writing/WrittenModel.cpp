// What a write stores of an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/WrittenModel.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>

#include "core/Layout.h"

namespace orbo::Data {

namespace {

bool nameIsLess(const RefPtr<const Structure>& structure, const char* name) {
    return std::strcmp(structure->name(), name) < 0;
}

void sortByName(std::vector<RefPtr<const Structure>>& structures) {
    std::stable_sort(structures.begin(), structures.end(), [](const auto& left, const auto& right) {
        return nameIsLess(left, right->name());
    });
}

}  // namespace

WrittenModel::WrittenModel(const Accessor& accessor, const ReadSnapshot& snapshot,
                           bool addMissingStructures)
    : fEntries(accessor.associations()), fPartialNodes(snapshot.partialNodes) {
    for (const Structure* structure : accessor.structures()) fStructures.emplace_back(structure);
    // Structures may have been renamed since the set sorted them.
    sortByName(fStructures);
    for (const auto& entry : accessor.associations()) {
        const bool isPart = snapshot.partialNodes.count(entry.first) > 0;
        if (!isPart && !entry.second.empty()) fNodes.push_back({&entry.first, &entry.second});
    }
    if (addMissingStructures) addStructuresOfStreams();
}

void WrittenModel::addStructuresOfStreams() {
    std::map<std::string_view, const Structure*> missing;
    for (const Node& node : fNodes) {
        forEachStream(*node.associations, [&](const Channel&, const Stream& stream) {
            const Structure& needed = stream.structure();
            if (!structure(needed.name())) missing.emplace(needed.name(), &needed);
            return true;
        });
    }
    for (const auto& [name, structure] : missing) fStructures.emplace_back(structure);
    sortByName(fStructures);
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

std::vector<std::string> WrittenModel::entryNames() const {
    std::vector<std::string> names;
    for (const auto& entry : fEntries) {
        if (fPartialNodes.count(entry.first) == 0) names.push_back(entry.first);
    }
    return names;
}

bool WrittenModel::hasNode(const std::string& name) const {
    const auto place = std::lower_bound(
        fNodes.begin(), fNodes.end(), name,
        [](const Node& node, const std::string& wanted) { return *node.name < wanted; });
    return place != fNodes.end() && *place->name == name;
}

ReadSnapshot WrittenModel::snapshot() const {
    ReadSnapshot snapshot;
    for (const auto& structure : fStructures) {
        snapshot.structures.emplace(structure->name(),
                                    RefPtr<const Layout>(&Layout::of(*structure)));
    }
    for (const Node& node : fNodes) snapshot.associations.emplace(*node.name, std::nullopt);
    return snapshot;
}

}  // namespace orbo::Data
