// Finds which structures a kept record needs.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/StructureUse.h"

#include <data/AssociationsSerializer.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <map>
#include <memory>
#include <utility>

#include "core/Excerpt.h"
#include "formats/RawScan.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/reading/QuietRead.h"
#include "scenes/writing/ModelCompare.h"
#include "scenes/writing/WrittenModel.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

namespace {

/// The first use of each structure.
using Uses = std::map<std::string, StructureUse>;

void add(Uses& uses, const std::string& structure, const std::optional<std::string>& node,
         std::string words, TextPlace where = {}) {
    uses.emplace(structure, StructureUse{structure, node, std::move(where), std::move(words)});
}

std::vector<StructureUse> listOf(const Uses& uses) {
    std::vector<StructureUse> list;
    list.reserve(uses.size());
    for (const auto& use : uses) list.push_back(use.second);
    return list;
}

Uses allAt(const std::set<std::string>& names, const std::string& node, const std::string& words) {
    Uses uses;
    for (const std::string& name : names) add(uses, name, node, words);
    return uses;
}

// Finds more than the text needs where values look like the line of a structure.
Uses namedIn(const std::string& text, const std::optional<std::string>& node,
             const std::string& words, const std::set<std::string>& names) {
    Uses uses;
    for (const RawScan::NamedStructure& named : RawScan::structuresNamedIn(text)) {
        if (names.count(named.structure) == 0) continue;
        TextPlace where;
        where.channel = named.channel;
        where.stream = named.stream;
        add(uses, named.structure, node,
            words + ", channel " + inQuotes(named.channel) + ", stream " + inQuotes(named.stream),
            where);
    }
    return uses;
}

Uses usedBy(const Associations& associations, const std::string& node,
            const std::set<std::string>& names) {
    Uses uses;
    forEachStream(associations, [&](const Channel& channel, const Stream& stream) {
        const char* const structure = stream.structure().name();
        if (names.count(structure) == 0) return true;
        TextPlace where;
        where.channel = channel.name();
        where.stream = stream.name();
        add(uses, structure, node, ModelPlace::of(node, channel, stream), where);
        return true;
    });
    return uses;
}

/// Takes structures out of this thread's registry for a while.
class Withheld {
  public:
    explicit Withheld(const Uses& names) {
        for (const auto& name : names) {
            Structure* const structure = Structure::structureByName(name.first.c_str());
            if (!structure) continue;
            fStructures.emplace_back(structure);
            Structure::deregisterStructure(*structure);
        }
    }
    Withheld(const Withheld&) = delete;
    Withheld& operator=(const Withheld&) = delete;
    ~Withheld() {
        for (const auto& structure : fStructures) Structure::registerStructure(*structure);
    }

  private:
    std::vector<RefPtr<Structure>> fStructures;
};

// A reader may need a structure for a part of the text that it then ignores.
bool readsTheSameWithout(const Uses& structures, const SceneRecord& record,
                         const Associations& associations) {
    const Withheld withheld(structures);
    const auto again = tryToReadAssociations(record, IndexTypes::Unknown::kAsText);
    return again && isSame(associations, *again);
}

// Some structures that the text names are not used by what was read. Withholding them one by one
// shows which are needed; if only several together are, all of them count.
Uses neededOf(const Uses& named, const SceneRecord& record, const Associations& associations) {
    if (named.empty() || readsTheSameWithout(named, record, associations)) return {};
    Uses needed;
    for (const auto& each : named) {
        if (!readsTheSameWithout({each}, record, associations)) needed.insert(each);
    }
    return needed.empty() ? named : needed;
}

}  // namespace

std::vector<StructureUse> usesOf(const SceneRecord& record, const std::set<std::string>& names) {
    const std::string& node = record.name;
    const std::string words = ModelPlace::of(node) + ", in format " + inQuotes(record.format);
    if (!AssociationsSerializer::formatByName(record.format)) {
        return listOf(allAt(names, node, words));
    }
    const bool isRaw = record.format == AssociationsSerializerRaw::theFormat().formatType();
    Uses named =
        isRaw ? namedIn(record.text, node, ModelPlace::of(node), names) : allAt(names, node, words);
    if (named.empty()) return {};
    const auto associations = tryToReadAssociations(record, IndexTypes::Unknown::kAsText);
    if (!associations) return listOf(named);
    Uses used = usedBy(*associations, node, names);
    for (const auto& use : used) named.erase(use.first);
    used.merge(neededOf(named, record, *associations));
    return listOf(used);
}

std::vector<StructureUse> usesIn(std::string_view statement, const std::set<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < statement.size(); ++i) {
        const bool isLineFeed = statement.substr(i, 2) == "\\n";
        text += isLineFeed ? '\n' : statement[i];
        if (isLineFeed) ++i;
    }
    return listOf(namedIn(text, std::nullopt, "A statement that was not understood", names));
}

}  // namespace orbo::Data
