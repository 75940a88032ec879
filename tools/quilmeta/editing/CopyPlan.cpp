// Plans what a copy of metadata changes in the target, and what forbids it.
// SPDX-License-Identifier: Apache-2.0
#include "editing/CopyPlan.h"

#include "editing/Parts.h"
#include "editing/Structures.h"
#include "process/CommandError.h"
#include "scene/Difference.h"
#include "scene/Losses.h"
#include "values/SafeText.h"

#include <data/Channel.h>
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace orbo::Quilmeta {

namespace {

using Fate = CopyPlan::Fate;
using Place = std::tuple<std::string, std::string, std::string>;

Place placeOf(const StreamAddress& address) {
    return {address.node, address.channel, address.stream};
}

/// Compares a structure with its namesake in the target.
CopyPlan::StructureCopy copyOf(const RefPtr<const Data::Structure>& structure,
                               const StructuresByName& target) {
    const auto namesake = target.find(structure->name());
    if (namesake == target.end()) return {structure, Fate::kAdded, {}, {}};
    if (*namesake->second == *structure) return {structure, Fate::kUnchanged, {}, {}};
    return {structure, Fate::kReplaced, differenceOf(*namesake->second, *structure),
            lossesOf(*namesake->second, *structure)};
}

/// Compares a stream with its namesake in the target.
CopyPlan::StreamCopy copyOf(const Data::Stream& stream, const StreamAddress& place,
                            const Data::Accessor& target) {
    const Data::Stream* namesake = findStreamOrNull(target, place);
    if (!namesake) return {place, stream, Fate::kAdded, {}, {}};
    std::string difference = differenceOf(*namesake, stream);
    if (difference.empty()) return {place, stream, Fate::kUnchanged, {}, {}};
    return {place, stream, Fate::kReplaced, std::move(difference), lossesOf(*namesake, stream)};
}

/// The name of the node in the target.
std::string targetNode(const std::string& node, const std::optional<NewName>& newNames) {
    if (!newNames) return node;
    // A selection by the same patterns has found the node, so one of them fits.
    return newNames->of(node).value_or(node);
}

/// A scene file does not keep channels without streams.
bool holdsStreams(const Data::Accessor& scene, const std::string& node) {
    const auto found = scene.associations().find(node);
    return found != scene.associations().end() &&
           std::any_of(found->second.begin(), found->second.end(),
                       [](const Data::Channel& channel) { return !channel.empty(); });
}

}  // namespace

CopyPlan::CopyPlan(const Data::Accessor& source, const Data::Accessor& target,
                   const Selection& selection, const std::optional<NewName>& newNames)
    : fSource(source.fileName()) {
    std::map<Place, StreamAddress> sources;
    std::string collisions;
    for (const StreamAddress& address : partsOf(source, selection, Level::kStream)) {
        StreamAddress place = address;
        place.node = targetNode(address.node, newNames);
        const auto [first, isNew] = sources.emplace(placeOf(place), address);
        if (!isNew)
            collisions += fmt::format(
                "{} and {} would both be {}\n", placeText(first->second, Level::kStream),
                placeText(address, Level::kStream), placeText(place, Level::kStream));
        fStreams.push_back(copyOf(*findStreamOrNull(source, address), place, target));
        if (!holdsStreams(target, place.node)) fNewNodes.insert(place.node);
    }
    if (!collisions.empty()) throw CommandError(collisions + "nothing was copied");
    std::sort(fStreams.begin(), fStreams.end(), [](const auto& one, const auto& other) {
        return placeOf(one.place) < placeOf(other.place);
    });
    planStructures(source, target, selection.everything());
}

void CopyPlan::planStructures(const Data::Accessor& source, const Data::Accessor& target,
                              bool all) {
    StructuresByName wanted;
    if (all) wanted = structuresOf(source);
    for (const StreamCopy& copy : fStreams)
        wanted.emplace(copy.stream.structure().name(), RefPtr(&copy.stream.structure()));
    const StructuresByName present = structuresOf(target);
    for (const auto& entry : wanted) fStructures.push_back(copyOf(entry.second, present));
}

std::vector<std::string> CopyPlan::differences() const {
    std::vector<std::string> lines;
    const auto add = [&](const std::string& what, const std::string& difference) {
        lines.push_back(fmt::format("{} is not as in {}: {}", what, inQuotes(fSource), difference));
    };
    for (const StructureCopy& copy : fStructures)
        if (copy.fate == Fate::kReplaced)
            add("structure " + inQuotes(copy.structure->name()), copy.difference);
    for (const StreamCopy& copy : fStreams)
        if (copy.fate == Fate::kReplaced)
            add(placeText(copy.place, Level::kStream), copy.difference);
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
    std::set<Place> copied;
    for (const StreamCopy& copy : fStreams) copied.insert(placeOf(copy.place));
    for (const StreamAddress& address : partsOf(target, {}, Level::kStream))
        if (copied.count(placeOf(address)) == 0 &&
            findStreamOrNull(target, address)->structure().name() == structure)
            return placeText(address, Level::kStream);
    return {};
}

bool CopyPlan::changes() const {
    const auto isChange = [](const auto& copy) { return copy.fate != Fate::kUnchanged; };
    return std::any_of(fStructures.begin(), fStructures.end(), isChange) ||
           std::any_of(fStreams.begin(), fStreams.end(), isChange);
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
    for (const StreamCopy& copy : fStreams)
        if (copy.fate != Fate::kUnchanged)
            target.associations()[copy.place.node]
                .channel(copy.place.channel)
                .setDataStream(copy.stream);
}

}  // namespace orbo::Quilmeta
