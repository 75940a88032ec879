// Plans what a copy of metadata changes in the target, and what forbids it.
// SPDX-License-Identifier: Apache-2.0
#include "scene/CopyPlan.h"

#include "scene/Difference.h"
#include "scene/Losses.h"
#include "selection/SceneView.h"
#include "values/SafeText.h"

#include <data/Channel.h>
#include <data/Stream.h>
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace orbo::Quilmeta {

namespace {

using Fate = CopyPlan::Fate;
using StructuresByName = std::map<std::string, const Data::Structure*>;

/// Returns the structures that the file defines and those that its streams use.
StructuresByName structuresOf(const Data::Accessor& scene) {
    StructuresByName structures;
    for (const Data::Structure* structure : select(scene, {}).structures)
        structures.emplace(structure->name(), structure);
    return structures;
}

/// Compares a structure with its namesake in the target.
CopyPlan::StructureCopy copyOf(const Data::Structure& structure, const StructuresByName& target) {
    const auto namesake = target.find(structure.name());
    if (namesake == target.end()) return {RefPtr(&structure), Fate::kAdded, {}, {}};
    if (*namesake->second == structure) return {RefPtr(&structure), Fate::kUnchanged, {}, {}};
    return {RefPtr(&structure), Fate::kReplaced, differenceOf(*namesake->second, structure),
            lossesOf(*namesake->second, structure)};
}

/// A scene file does not keep channels without streams.
bool holdsStreams(const Data::Associations& associations) {
    return std::any_of(associations.begin(), associations.end(),
                       [](const Data::Channel& channel) { return !channel.empty(); });
}

/// Compares a node with its namesake in the target. A node without streams is not in the file, so a
/// copy adds it.
CopyPlan::NodeCopy copyOf(const std::string& name, const Data::Associations& associations,
                          const Data::Accessor& target) {
    const auto namesake = target.associations().find(name);
    if (namesake == target.associations().end() || !holdsStreams(namesake->second))
        return {name, associations, Fate::kAdded, {}, {}};
    std::string difference = differenceOf(namesake->second, associations);
    if (difference.empty()) return {name, associations, Fate::kUnchanged, {}, {}};
    return {name, associations, Fate::kReplaced, std::move(difference),
            lossesOf(namesake->second, associations)};
}

/// The first stream that uses the structure; empty when there is none.
std::string placeOfUse(const Data::Associations& associations, const std::string& structure) {
    for (const Data::Channel& channel : associations)
        for (const Data::Stream& stream : channel)
            if (stream.structure().name() == structure)
                return fmt::format("channel {}, stream {}", inQuotes(channel.name()),
                                   inQuotes(stream.name()));
    return {};
}

}  // namespace

CopyPlan::CopyPlan(const Data::Accessor& source, const Data::Accessor& target,
                   const std::vector<std::string>& nodes)
    : fSource(source.fileName()) {
    Selection selection;
    for (const std::string& node : nodes) selection.nodes.add(node, NamePatterns::As::kLiteral);
    const SceneView view = select(source, selection);
    const StructuresByName structures = structuresOf(target);
    for (const Data::Structure* structure : view.structures)
        fStructures.push_back(copyOf(*structure, structures));
    for (const NodeView& node : view.nodes) {
        const Data::Associations& associations = source.associations().at(node.name);
        if (holdsStreams(associations)) fNodes.push_back(copyOf(node.name, associations, target));
    }
}

std::vector<std::string> CopyPlan::differences() const {
    std::vector<std::string> lines;
    const auto add = [&](const std::string& what, const std::string& difference) {
        lines.push_back(fmt::format("{} is not as in {}: {}", what, inQuotes(fSource), difference));
    };
    for (const StructureCopy& copy : fStructures)
        if (copy.fate == Fate::kReplaced)
            add("structure " + inQuotes(copy.structure->name()), copy.difference);
    for (const NodeCopy& copy : fNodes)
        if (copy.fate == Fate::kReplaced) add("node " + shownNode(copy.name), copy.difference);
    return lines;
}

// Metadata that could not be read may use any structure.
std::vector<std::string> CopyPlan::obstacles(const Data::Accessor& target, bool complete) const {
    std::vector<std::string> lines;
    for (const StructureCopy& copy : fStructures) {
        if (copy.fate != Fate::kReplaced) continue;
        const std::string user = userThatStays(target, copy.structure->name());
        if (user.empty() && complete) continue;
        lines.push_back(fmt::format(
            "structure {} cannot be replaced ({}): {}", inQuotes(copy.structure->name()),
            copy.difference,
            user.empty() ? "metadata that cannot be read may use it" : user + " uses it"));
    }
    return lines;
}

std::string CopyPlan::userThatStays(const Data::Accessor& target,
                                    const std::string& structure) const {
    std::set<std::string> copied;
    for (const NodeCopy& copy : fNodes) copied.insert(copy.name);
    for (const auto& [name, associations] : target.associations()) {
        if (copied.count(name) > 0) continue;
        const std::string place = placeOfUse(associations, structure);
        if (!place.empty()) return fmt::format("node {}, {}", shownNode(name), place);
    }
    return {};
}

bool CopyPlan::changes() const {
    const auto isChange = [](const auto& copy) { return copy.fate != Fate::kUnchanged; };
    return std::any_of(fStructures.begin(), fStructures.end(), isChange) ||
           std::any_of(fNodes.begin(), fNodes.end(), isChange);
}

void CopyPlan::apply(Data::Accessor& target) const {
    Data::Accessor::StructureSet structures = target.structures();
    for (const StructureCopy& copy : fStructures) {
        if (copy.fate == Fate::kUnchanged) continue;
        // The set compares names, so this removes the namesake.
        structures.erase(copy.structure.get());
        structures.insert(copy.structure.get());
    }
    target.setStructures(structures);
    for (const NodeCopy& copy : fNodes)
        if (copy.fate != Fate::kUnchanged)
            target.associations().insert_or_assign(copy.name, copy.associations);
}

}  // namespace orbo::Quilmeta
