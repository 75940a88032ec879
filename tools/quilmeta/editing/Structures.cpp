// The structures of a scene, who uses them, and what may be changed about them.
// SPDX-License-Identifier: Apache-2.0
#include "editing/Structures.h"

#include "editing/Parts.h"
#include "process/CommandError.h"
#include "scene/Difference.h"
#include "values/ClosestName.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/Channel.h>
#include <data/Stream.h>
#include <data/StructureSerializerRaw.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sstream>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orbo::Quilmeta {

namespace {

/// Calls `use` for each stream with its address. It must not add or remove streams.
template <typename Use>
void forEachStream(const Data::Accessor& scene, Use&& use) {
    for (const auto& [node, associations] : scene.associations())
        for (const Data::Channel& channel : associations)
            for (const Data::Stream& stream : channel)
                use(StreamAddress{node, channel.name(), stream.name()}, stream);
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Counts the fields of a structure's text that are not blank, and those of them that name it.
struct FieldCount {
    explicit FieldCount(std::string_view text) {
        while (!text.empty()) {
            const size_t end = std::min(text.find_first_of(":\n"), text.size());
            const std::string_view field = trimmed(text.substr(0, end));
            all += field.empty() ? 0 : 1;
            names += trimmed(field.substr(0, field.find('='))) == "name" ? 1 : 0;
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }

    size_t all = 0;
    size_t names = 0;
};

/// A string of its own for the slot that takes it; null stays null.
Text copyOf(const char* text) {
    if (!text) return nullptr;
    char* copy = ::strdup(text);
    if (!copy) throw std::bad_alloc();
    return copy;
}

/// Gives the members of `to`, which has default values, the values of the members of `from`, which
/// come first in it.
void copyValues(Data::Handle& from, const Data::Structure& structure, Data::Handle& to) {
    for (auto member = structure.begin(); member.valid(); ++member) {
        from.setPositionByMemberIndex(member.index());
        to.setPositionByMemberIndex(member.index());
        withParts(from, *member, [&](const auto* values) {
            using Part = std::remove_const_t<std::remove_pointer_t<decltype(values)>>;
            Part* target = static_cast<Part*>(to.asType(member->type()));
            if constexpr (std::is_same_v<Part, Text>)
                std::transform(values, values + partsOf(*member), target, copyOf);
            else
                std::copy_n(values, partsOf(*member), target);
        });
    }
}

/// The stream with another structure. Its name and its index type, which need not be registered,
/// stay.
Data::Stream withStructure(const Data::Stream& stream, const Data::Structure& structure) {
    Data::Stream result = stream;
    result.makeUnique();
    result.useDenseStorage(false);
    result.clear();
    if (const auto set = result.trySetStructure(structure); !set) throw CommandError(set.reason());
    for (auto element = stream.cbegin(); element.valid(); ++element) {
        Data::Handle fresh = result.emplaceElement(element.index());
        if (!fresh.hasData()) throw std::bad_alloc();
        copyValues(*element, stream.structure(), fresh);
    }
    result.useDenseStorage(stream.isDense());
    result.setUseDefaults(stream.useDefaults());
    return result;
}

/// Says which type was perhaps meant by the first word that is none, or lists the types; empty when
/// all words are types.
std::string hintAtType(std::string_view text) {
    std::vector<std::string> types;
    types.reserve(Data::Member::kInvalid);
    for (int type = 0; type < Data::Member::kInvalid; ++type)
        types.emplace_back(Data::Member::typeName(static_cast<Data::Member::eDataType>(type)));
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of(":\n"), text.size());
        const std::string_view field = trimmed(text.substr(0, end));
        const std::string_view word = trimmed(field.substr(0, field.find_first_of("[=")));
        text.remove_prefix(std::min(end + 1, text.size()));
        const bool isKnown = std::find(types.begin(), types.end(), word) != types.end();
        if (field.empty() || word == "name" || isKnown) continue;
        ClosestName closest(word);
        for (const std::string& type : types) closest.offer(type);
        return closest.found().empty() ? fmt::format("; the types are {}", fmt::join(types, ", "))
                                       : closest.question();
    }
    return {};
}

/// Makes a structure of its text. `subject` is what messages call the text.
RefPtr<const Data::Structure> parse(const std::string& text, const std::string& subject) {
    std::istringstream in(text);
    std::string errors;
    RefPtr<const Data::Structure> structure(
        Data::StructureSerializerRaw::theFormat().read(in, errors));
    const FieldCount fields(text);
    if (!structure) {
        const bool isOfType = errors.find("not recognized") != errors.npos;
        throw CommandError(subject + ": " + errors + (isOfType ? hintAtType(text) : ""));
    }
    if (fields.names > 1) throw CommandError(subject + " has a name too many");
    if (*structure->name() == '\0') throw CommandError(subject + " has an empty name");
    // The format leaves such members out without a word, for the sake of old files.
    if (structure->memberCount() + fields.names != fields.all)
        throw CommandError(subject + " has a member twice, or one of a length that cannot be");
    return structure;
}

/// Makes a structure, of some name, of the text of its members.
RefPtr<const Data::Structure> parseMembers(const std::string& text) {
    return parse("name=members:" + text, inQuotes(text));
}

/// Says why the structure must stay; empty when nobody uses it.
std::string reasonToKeep(const std::string& name, const std::vector<std::string>& users) {
    if (users.empty()) return {};
    return fmt::format("structure {} is in use: {}", inQuotes(name), fmt::join(users, "; "));
}

}  // namespace

StructuresByName structuresOf(const Data::Accessor& scene) {
    StructuresByName structures;
    for (const Data::Structure* structure : scene.structures())
        structures.emplace(structure->name(), RefPtr(structure));
    forEachStream(scene, [&](const StreamAddress&, const Data::Stream& stream) {
        structures.emplace(stream.structure().name(), RefPtr(&stream.structure()));
    });
    return structures;
}

std::map<std::string, std::vector<std::string>> usersOfStructures(const Data::Accessor& scene) {
    std::map<std::string, std::vector<std::string>> users;
    forEachStream(scene, [&](const StreamAddress& address, const Data::Stream& stream) {
        users[stream.structure().name()].push_back(placeText(address, Level::kStream));
    });
    return users;
}

const Data::Structure& findStructure(const Data::Accessor& scene, const std::string& name) {
    const auto structures = structuresOf(scene);
    const auto found = structures.find(name);
    if (found != structures.end()) return *found->second;
    ClosestName closest(name);
    for (const auto& entry : structures) closest.offer(entry.first);
    throw CommandError(
        fmt::format("there is no structure {}{}{}", inQuotes(name), closest.question(),
                    nameList("structures", structures,
                             [](const auto& entry) { return shownName(entry.first); })));
}

RefPtr<const Data::Structure> parseStructure(const std::string& text) {
    return parse(text, inQuotes(text));
}

bool define(Data::Accessor& scene, const Data::Structure& structure) {
    const auto structures = structuresOf(scene);
    const auto found = structures.find(structure.name());
    if (found == structures.end()) {
        Data::Accessor::StructureSet set = scene.structures();
        set.insert(&structure);
        scene.setStructures(set);
        return true;
    }
    const std::string difference = differenceOf(*found->second, structure);
    if (difference.empty()) return false;
    throw CommandError(fmt::format("there is another structure {}: {}; \"add\" adds members",
                                   inQuotes(structure.name()), difference));
}

RefPtr<const Data::Structure> withMembers(const Data::Structure& structure,
                                          const std::vector<std::string>& members) {
    RefPtr<Data::Structure> result(new Data::Structure(structure));
    for (const std::string& text : members) {
        const RefPtr<const Data::Structure> given = parseMembers(text);
        for (const Data::Member& member : *given) {
            const Data::Member* present = result->member(member.name());
            if (present && typeText(*present) != typeText(member))
                throw CommandError(fmt::format("structure {} has a member {} of type {}",
                                               inQuotes(structure.name()), inQuotes(member.name()),
                                               typeText(*present)));
            if (present) continue;
            const auto added = result->tryAddMember(member.type(), member.length(), member.name());
            if (!added) throw CommandError(inQuotes(text) + ": " + added.reason());
        }
    }
    return RefPtr<const Data::Structure>(result.get());
}

void replaceStructures(Data::Accessor& scene, const Replacements& replacements) {
    std::vector<std::pair<StreamAddress, const Data::Structure*>> streams;
    forEachStream(scene, [&](const StreamAddress& address, const Data::Stream& stream) {
        const auto found = replacements.find(stream.structure().name());
        if (found != replacements.end()) streams.emplace_back(address, found->second.get());
    });
    for (const auto& [address, structure] : streams) {
        Data::Channel& channel =
            *scene.associations().at(address.node).findChannel(address.channel);
        channel.setDataStream(withStructure(*channel.findDataStream(address.stream), *structure));
    }
    Data::Accessor::StructureSet set;
    for (const Data::Structure* structure : scene.structures()) {
        const auto found = replacements.find(structure->name());
        set.insert(found == replacements.end() ? structure : found->second.get());
    }
    scene.setStructures(set);
}

size_t removeStructures(Data::Accessor& scene, const StructuresToRemove& wanted, bool complete) {
    const auto users = usersOfStructures(scene);
    Data::Accessor::StructureSet kept = scene.structures();
    std::string reasons;
    for (const Data::Structure* structure : scene.structures()) {
        const std::string name = structure->name();
        if (!wanted.names.want(name)) continue;
        const auto user = users.find(name);
        const bool used = user != users.end();
        if (used && wanted.unusedOnly) continue;
        if (used)
            reasons += reasonToKeep(name, user->second) + '\n';
        else if (!complete)
            reasons += fmt::format("structure {} may be in use: not all metadata can be read\n",
                                   inQuotes(name));
        else
            kept.erase(structure);
    }
    if (!reasons.empty()) throw CommandError(reasons + "nothing was removed");
    const size_t removed = scene.structures().size() - kept.size();
    if (removed > 0) scene.setStructures(kept);
    return removed;
}

}  // namespace orbo::Quilmeta
