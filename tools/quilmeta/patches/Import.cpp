// Puts the metadata of a document into a scene.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Import.h"

#include "scene/Difference.h"
#include "values/SafeText.h"

#include <data/Channel.h>
#include <data/Structure.h>
#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

using Structures = std::map<std::string, RefPtr<const Data::Structure>>;

Structures structuresOf(const Data::Accessor& scene) {
    Structures structures;
    for (const Data::Structure* structure : scene.structures())
        structures.emplace(structure->name(), RefPtr<const Data::Structure>(structure));
    return structures;
}

void setStructures(Data::Accessor& scene, const Structures& structures) {
    Data::Accessor::StructureSet set;
    for (const auto& [name, structure] : structures) set.insert(structure.get());
    scene.setStructures(set);
}

bool hasStream(const SceneModel& model, const std::string& node, const Data::Channel& channel,
               const Data::Stream& stream) {
    const auto found = model.nodes.find(node);
    if (found == model.nodes.end()) return false;
    const Data::Channel* namesake = found->second.findChannel(channel.name());
    return namesake && namesake->findDataStream(stream.name());
}

/// Calls `use` for each stream of the scene that the model does not replace.
template <typename Use>
void forStreamsThatStay(const Data::Accessor& scene, const SceneModel& model, Use&& use) {
    for (const auto& [name, node] : scene.associations())
        for (const Data::Channel& channel : node)
            for (const Data::Stream& stream : channel)
                if (!hasStream(model, name, channel, stream)) use(name, channel, stream);
}

/// Lists the structures of the model that streams which stay have in another form.
std::string structuresInTheWay(const SceneModel& model, const Data::Accessor& scene) {
    std::string lines;
    std::set<std::string> told;
    forStreamsThatStay(scene, model,
                       [&](const auto& node, const auto& channel, const auto& stream) {
                           const Data::Structure& ours = stream.structure();
                           const auto found = model.structures.find(ours.name());
                           if (found == model.structures.end() || *found->second == ours) return;
                           if (!told.insert(ours.name()).second) return;
                           lines += fmt::format(
                               "structure {} of the scene has {}, and stream {} of channel {} of "
                               "node {}, which the "
                               "document lacks, uses it\n",
                               inQuotes(ours.name()), differenceOf(ours, *found->second),
                               inQuotes(stream.name()), inQuotes(channel.name()), shownNode(node));
                       });
    return lines;
}

void merge(const SceneModel& model, Data::Accessor& scene) {
    Structures structures = structuresOf(scene);
    for (const auto& [name, structure] : model.structures) {
        const auto [there, isNew] = structures.emplace(name, structure);
        if (!isNew && *there->second != *structure) there->second = structure;
    }
    setStructures(scene, structures);
    for (const auto& [name, node] : model.nodes) {
        Data::Associations& target = scene.associations()[name];
        for (const Data::Channel& channel : node) {
            Data::Channel into = target.channel(channel.name());
            for (const Data::Stream& stream : channel) into.setDataStream(stream);
        }
    }
}

/// True when the last write of the scene was refused because of its metadata.
bool isRefusedForModel(const Data::Accessor& scene) {
    const auto& findings = scene.findings();
    return std::any_of(findings.begin(), findings.end(), [](const Data::Finding& finding) {
        return finding.code == Data::Finding::Code::kWriteFailed &&
               (finding.node || finding.structure);
    });
}

/// A node of the scene whose name the last write refused; null when it refused something else.
const std::string* refusedNode(const Data::Accessor& scene) {
    for (const Data::Finding& finding : scene.findings())
        if (finding.code == Data::Finding::Code::kWriteFailed && finding.node &&
            scene.associations().count(*finding.node) > 0)
            return &*finding.node;
    return nullptr;
}

/// Finds names of nodes that the kind of scene refuses, by trying to write nodes of these names
/// with next to nothing in them. The first few tell enough.
std::vector<std::string> refusedNodeNames(const SceneModel& model, Data::Accessor& scene) {
    constexpr size_t kMost = 100;
    const RefPtr<Data::Structure> probe(new Data::Structure("probe"));
    probe->addMember(Data::Member::kInt8, 1, "probe");
    scene.associations().clear();
    scene.setStructures({probe.get()});
    for (const auto& node : model.nodes)
        scene.associations()[node.first].channel("probe").setDataStream({*probe, "probe"});
    std::vector<std::string> names;
    std::string ignored;
    while (names.size() < kMost && !scene.rehearse(ignored)) {
        const std::string* const name = refusedNode(scene);
        if (!name) break;
        names.push_back(*name);
        scene.associations().erase(names.back());
    }
    return names;
}

}  // namespace

void demandReadable(const Data::Accessor& scene, bool isComplete,
                    const std::set<std::string>& nodes) {
    if (!isComplete && !isReadable(scene.fileName(), nodes))
        throw CommandError("metadata that would be replaced cannot be read");
}

void import(const SceneModel& model, Data::Accessor& scene, bool isComplete, ImportHow how) {
    std::set<std::string> nodes;
    for (const auto& node : model.nodes) nodes.insert(node.first);
    demandReadable(scene, isComplete, nodes);
    if (how == ImportHow::kReplace) {
        if (!isComplete)
            throw CommandError("not all metadata can be read, so it cannot be replaced");
        scene.associations() = model.nodes;
        setStructures(scene, model.structures);
        return;
    }
    const std::string inTheWay = structuresInTheWay(model, scene);
    if (!inTheWay.empty()) throw StructuresInTheWay(inTheWay + "nothing was imported");
    merge(model, scene);
}

JsonProblems refusedPartsOf(const SceneModel& model, Data::Accessor& scene) {
    if (!isRefusedForModel(scene)) return {};
    JsonProblems problems = model.doubts;
    for (const std::string& name : refusedNodeNames(model, scene)) {
        const SceneModel::Place& place = model.places.at(name);
        JsonPath path;
        path.enter("associations");
        path.enter(place.number);
        path.enter("name");
        problems.add(place.line, path,
                     "nodes of this kind of scene cannot have the name " + inQuotes(name));
    }
    return problems;
}

}  // namespace orbo::Quilmeta
