// New names for what a scene holds: all that a pattern fits, at once.
// SPDX-License-Identifier: Apache-2.0
#include "editing/Rename.h"

#include "editing/Structures.h"
#include "process/CommandError.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <data/Channel.h>
#include <data/ExternalContent.h>
#include <data/Structure.h>
#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

namespace Table = Data::AccessorQuil::ExternalContent;

namespace {

Glob globOf(const std::string& text, NamePatterns::As as) {
    return as == NamePatterns::As::kGlob ? Glob(text) : Glob::literal(text);
}

void refuse(const std::string& collisions) {
    if (!collisions.empty()) throw CommandError(collisions + "nothing was renamed");
}

template <typename Container>
std::set<std::string> namesIn(const Container& container) {
    std::set<std::string> names;
    for (const auto& item : container) names.insert(item.name());
    return names;
}

/// Calls `use` with each thing that is to have another name, once all of them are out of the way.
/// So names can be exchanged.
template <typename Item, typename Take, typename Put>
void moveAll(const std::map<std::string, std::string>& pairs, Take&& take, Put&& put) {
    std::vector<std::pair<std::string, Item>> items;
    items.reserve(pairs.size());
    for (const auto& [from, to] : pairs) items.emplace_back(to, take(from));
    for (auto& [to, item] : items) put(to, std::move(item));
}

void renameNodes(Data::Accessor& scene, const Renames& renames) {
    auto& nodes = scene.associations();
    moveAll<Data::Associations>(
        renames.pairs,
        [&](const std::string& from) {
            auto node = nodes.extract(from);
            return Data::Associations(node.mapped());
        },
        [&](const std::string& to, Data::Associations&& node) { nodes.emplace(to, node); });
}

void renameChannels(Data::Associations& node, const Renames& renames) {
    moveAll<Data::Channel>(
        renames.pairs,
        [&](const std::string& from) {
            Data::Channel channel = *node.findChannel(from);
            node.removeChannel(from);
            return channel;
        },
        [&](const std::string& to, Data::Channel&& channel) {
            Data::Channel renamed(to);
            for (const Data::Stream& stream : channel) renamed.setDataStream(stream);
            node.setChannel(renamed);
        });
}

/// Renames in two steps, the first of which goes to names too long to be there.
void renameStreams(Data::Channel& channel, const Renames& renames) {
    const auto rename = [&](const std::string& from, const std::string& to) {
        if (const auto done = channel.tryRenameDataStream(from, to); !done)
            throw CommandError(done.reason());
    };
    size_t longest = 0;
    for (const Data::Stream& stream : channel) longest = std::max(longest, stream.name().size());
    const std::string unused(longest + 1, '.');
    for (const auto& [from, to] : renames.pairs) rename(from, unused + to);
    for (const auto& [from, to] : renames.pairs) rename(unused + to, to);
}

/// Where names are unique, and the plan for them.
struct PlannedPlace {
    StreamAddress place;
    Renames renames;
};

/// The containers of the selected parts: each node for channels, each channel for streams.
std::map<std::pair<std::string, std::string>, std::set<std::string>> selectedByContainer(
    const std::vector<StreamAddress>& parts, Level level) {
    std::map<std::pair<std::string, std::string>, std::set<std::string>> groups;
    for (const StreamAddress& part : parts) {
        const bool isStream = level == Level::kStream;
        const std::string& name = isStream                   ? part.stream
                                  : level == Level::kChannel ? part.channel
                                                             : part.node;
        groups[{level == Level::kNode ? "" : part.node, isStream ? part.channel : ""}].insert(name);
    }
    return groups;
}

std::set<std::string> namesBeside(const Data::Accessor& scene, Level level,
                                  const std::pair<std::string, std::string>& container) {
    std::set<std::string> names;
    if (level == Level::kNode) {
        for (const auto& entry : scene.associations()) names.insert(entry.first);
        return names;
    }
    const Data::Associations& node = scene.associations().at(container.first);
    if (level == Level::kChannel) return namesIn(node);
    return namesIn(*node.findChannel(container.second));
}

std::string placeOf(Level level, const std::pair<std::string, std::string>& container) {
    if (level == Level::kNode) return "node";
    const std::string node = "node " + shownNode(container.first);
    if (level == Level::kChannel) return node + ", channel";
    return fmt::format("{}, channel {}, stream", node, inQuotes(container.second));
}

void apply(Data::Accessor& scene, Level level, const PlannedPlace& plan) {
    if (level == Level::kNode) return renameNodes(scene, plan.renames);
    Data::Associations& node = scene.associations().at(plan.place.node);
    if (level == Level::kChannel) return renameChannels(node, plan.renames);
    renameStreams(*node.findChannel(plan.place.channel), plan.renames);
}

/// The structure with some members under other names.
RefPtr<const Data::Structure> withNames(const Data::Structure& structure,
                                        const std::map<std::string, std::string>& pairs) {
    RefPtr<Data::Structure> result(new Data::Structure(structure.name()));
    for (const Data::Member& member : structure) {
        const auto renamed = pairs.find(member.name());
        const std::string name = renamed == pairs.end() ? member.name() : renamed->second;
        if (const auto added = result->tryAddMember(member.type(), member.length(), name.c_str());
            !added)
            throw CommandError(fmt::format("structure {}, member {}: {}",
                                           inQuotes(structure.name()), inQuotes(name),
                                           added.reason()));
    }
    return RefPtr<const Data::Structure>(result.get());
}

}  // namespace

NewName::NewName(const std::vector<std::string>& from, const std::vector<std::string>& to,
                 NamePatterns::As as, const char* option) {
    if (to.size() != 1 && to.size() != from.size())
        throw UsageError(fmt::format("{} for {}: give one {} for each, or one for all",
                                     counted(to.size(), "new name"),
                                     counted(from.size(), "pattern"), option));
    for (size_t i = 0; i < from.size(); ++i) {
        const std::string& newName = to[to.size() == 1 ? 0 : i];
        fPairs.push_back({globOf(from[i], as), globOf(newName, as)});
        if (fPairs.back().from.wildcards() != fPairs.back().to.wildcards())
            throw UsageError(
                fmt::format("{} {} has other wildcards than {}: each stands for "
                            "what the one in its place stood for",
                            option, inQuotes(newName), inQuotes(from[i])));
    }
}

std::optional<std::string> NewName::of(const std::string& name) const {
    for (const Pair& pair : fPairs) {
        if (name.empty() && !pair.from.onlyText()) continue;
        if (const auto captures = pair.from.captures(name)) return pair.to.filledWith(*captures);
    }
    return {};
}

Renames planRenames(const std::set<std::string>& names, const std::set<std::string>& selected,
                    const NewName& newName, const std::string& place, std::string& collisions) {
    Renames renames;
    std::map<std::string, std::vector<std::string>> sources;
    for (const std::string& name : names) {
        const auto to = selected.count(name) > 0 ? newName.of(name) : std::nullopt;
        if (to) ++renames.selected;
        if (!to || *to == name) continue;
        renames.pairs.emplace(name, *to);
        sources[*to].push_back(name);
    }
    for (const auto& [to, from] : sources) {
        const bool stays = names.count(to) > 0 && renames.pairs.count(to) == 0;
        if (from.size() == 1 && !stays && !to.empty()) continue;
        collisions +=
            fmt::format("{} {} would be {}{}\n", place, shortList(from, inQuotes), inQuotes(to),
                        to.empty() ? ""
                        : stays    ? ", which is there"
                                   : "");
    }
    return renames;
}

Renamed renameParts(Data::Accessor& scene, const Selection& selection, const NewName& newName) {
    const Level level = deepestLevel(selection);
    std::vector<PlannedPlace> plans;
    std::string collisions;
    for (const auto& [container, selected] :
         selectedByContainer(partsOf(scene, selection, level), level)) {
        const std::set<std::string> names = namesBeside(scene, level, container);
        plans.push_back(
            {{container.first, container.second, {}},
             planRenames(names, selected, newName, placeOf(level, container), collisions)});
    }
    refuse(collisions);
    Renamed renamed;
    for (const PlannedPlace& plan : plans) {
        apply(scene, level, plan);
        renamed.selected += plan.renames.selected;
        renamed.changed += plan.renames.pairs.size();
    }
    return renamed;
}

Renamed renameStructures(Data::Accessor& scene, const NewName& newName) {
    const auto structures = structuresOf(scene);
    std::set<std::string> names;
    for (const auto& entry : structures) names.insert(entry.first);
    std::string collisions;
    const Renames renames = planRenames(names, names, newName, "structure", collisions);
    refuse(collisions);
    Replacements replacements;
    for (const auto& [from, to] : renames.pairs) {
        RefPtr<Data::Structure> renamed(new Data::Structure(*structures.at(from)));
        renamed->setName(to.c_str());
        replacements.emplace(from, RefPtr<const Data::Structure>(renamed.get()));
    }
    replaceStructures(scene, replacements);
    return {renames.selected, renames.pairs.size(), 0};
}

Renamed renameMembers(Data::Accessor& scene, const NamePatterns& structures,
                      const NewName& newName) {
    Replacements replacements;
    Renamed renamed;
    std::string collisions;
    for (const auto& [name, structure] : structuresOf(scene)) {
        if (!structures.want(name)) continue;
        const std::set<std::string> names = namesIn(*structure);
        const std::string place = fmt::format("structure {}, member", inQuotes(name));
        const Renames renames = planRenames(names, names, newName, place, collisions);
        renamed.selected += renames.selected;
        renamed.changed += renames.pairs.size();
        // Where names collide, the structure could not hold them.
        if (!renames.pairs.empty() && collisions.empty())
            replacements.emplace(name, withNames(*structure, renames.pairs));
    }
    refuse(collisions);
    replaceStructures(scene, replacements);
    return renamed;
}

Renamed renameElements(Data::Accessor& scene, const Selection& selection, const std::string& from,
                       const std::string& to) {
    Renamed renamed;
    std::string refused;
    for (const StreamAddress& address : partsOf(scene, selection, Level::kStream)) {
        Data::Stream& stream = findStream(scene, address);
        const auto index = findIndex(stream, from);
        if (!index) continue;
        ++renamed.selected;
        const Data::Index target = indexOf(stream, to);
        if (target == *index) continue;
        ++renamed.changed;
        if (stream.hasElement(target))
            refused += fmt::format("{} has an index {} already\n",
                                   placeText(address, Level::kStream), inQuotes(to));
        else if (const auto done = stream.tryReindexElement(*index, target); !done)
            refused += placeText(address, Level::kStream) + ": " + done.reason() + '\n';
    }
    refuse(refused);
    return renamed;
}

size_t renameReferences(Data::Stream& table, const NewName& newName) {
    size_t changed = 0;
    for (auto row = table.begin(); row.valid(); ++row) {
        const std::string node = row->get<std::string>(Table::getNodeMemberName());
        const auto to = newName.of(node);
        if (!to || *to == node) continue;
        row->set(Table::getNodeMemberName(), *to);
        ++changed;
    }
    return changed;
}

}  // namespace orbo::Quilmeta
