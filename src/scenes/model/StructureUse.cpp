// Which structures a record needs that a write leaves in the file.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/StructureUse.h"

#include <data/AssociationsSerializer.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <map>
#include <memory>
#include <utility>

#include "scenes/model/ModelCompare.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/model/ModelText.h"
#include "scenes/model/WrittenModel.h"
#include "scenes/reading/QuietRead.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

namespace {

/// The place of the first use of each structure.
using Places = std::map<std::string, std::string>;

std::vector<StructureUse> usesAt(const std::string& node, const Places& places) {
    std::vector<StructureUse> uses;
    for (const auto& [structure, place] : places) uses.push_back({structure, node, place});
    return uses;
}

Places allAt(const std::set<std::string>& names, const std::string& place) {
    Places places;
    for (const std::string& name : names) places.emplace(name, place);
    return places;
}

// More than the text needs where values look like the line of a structure.
Places namedIn(const std::string& text, const std::string& node,
               const std::set<std::string>& names) {
    Places places;
    for (const NamedStructure& named : structuresNamedIn(text)) {
        if (names.count(named.structure) == 0) continue;
        places.emplace(named.structure, ModelPlace::of(node) + ", channel '" + named.channel +
                                            "', stream '" + named.stream + "'");
    }
    return places;
}

Places usedBy(const Associations& associations, const std::string& node,
              const std::set<std::string>& names) {
    Places places;
    forEachStream(associations, [&](const Channel& channel, const Stream& stream) {
        const char* const structure = stream.structure().name();
        if (names.count(structure) > 0) {
            places.emplace(structure, ModelPlace::of(node, channel, stream));
        }
        return true;
    });
    return places;
}

/// Takes structures out of this thread's registry for a while.
class Withheld {
  public:
    explicit Withheld(const Places& names) {
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

// A reader may need a structure for what it passes over.
bool readsTheSameWithout(const Places& structures, const SceneRecord& record,
                         const Associations& associations) {
    const Withheld withheld(structures);
    const auto again = tryToReadAssociations(record);
    return again && isSame(associations, *again);
}

}  // namespace

std::vector<StructureUse> usesOf(const SceneRecord& record, const std::set<std::string>& names) {
    const std::string& node = record.name;
    const std::string place = ModelPlace::of(node) + ", in format '" + record.format + "'";
    if (!AssociationsSerializer::formatByName(record.format)) {
        return usesAt(node, allAt(names, place));
    }
    const bool isRaw = record.format == AssociationsSerializerRaw::theFormat().formatType();
    Places named = isRaw ? namedIn(record.text, node, names) : allAt(names, place);
    if (named.empty()) return {};
    const IndexTypes::KeepUnknown anyIndexType;
    const auto associations = tryToReadAssociations(record);
    if (!associations) return usesAt(node, named);
    Places used = usedBy(*associations, node, names);
    for (const auto& use : used) named.erase(use.first);
    if (!named.empty() && !readsTheSameWithout(named, record, *associations)) used.merge(named);
    return usesAt(node, used);
}

std::vector<StructureUse> usesIn(std::string_view statement, const std::set<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < statement.size(); ++i) {
        const bool isLineFeed = statement.substr(i, 2) == "\\n";
        text += isLineFeed ? '\n' : statement[i];
        if (isLineFeed) ++i;
    }
    std::vector<StructureUse> uses;
    for (const NamedStructure& named : structuresNamedIn(text)) {
        if (names.count(named.structure) == 0) continue;
        uses.push_back({named.structure,
                        {},
                        "A statement that was not understood, channel '" + named.channel +
                            "', stream '" + named.stream + "'"});
    }
    return uses;
}

}  // namespace orbo::Data
