// Loads nodes that a read left in the file.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/NodeLoader.h"

#include <data/Structure.h>

#include <optional>
#include <set>
#include <utility>

#include "core/Layout.h"
#include "core/StructureRegistry.h"
#include "files/ReadAhead.h"
#include "scenes/SceneInputs.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/reading/SceneReader.h"

namespace orbo::Data {

namespace {

using Code = Finding::Code;

const char* const kFileChanged = "The metadata in the file is no longer what was read.";

}  // namespace

bool NodeLoader::isLoaded(const std::string& node) const {
    return fSnapshot.unloaded.places.count(node) == 0 && fAccessor.associations().count(node) > 0;
}

bool NodeLoader::mayLoad(const std::string& node, Findings& findings) const {
    if (fSnapshot.unloaded.places.count(node) == 0) {
        return isLoaded(node) ||
               findings.fail(Code::kFileUnreadable,
                             ModelPlace::of(node) + " is not among what was read.");
    }
    const auto added = fAccessor.associations().find(node);
    if (added != fAccessor.associations().end() && !added->second.empty()) {
        return findings.fail(Code::kFileUnreadable,
                             ModelPlace::of(node) + " was added: the file's cannot be loaded.");
    }
    for (const auto& [structure, members] : fSnapshot.unloaded.structures) {
        if (Layout::of(*structure).members() == members->members()) continue;
        return findings.fail(Code::kFileUnreadable,
                             ModelPlace::ofStructure(structure->name()) +
                                 " was changed: the file's nodes cannot be loaded any more.");
    }
    return true;
}

bool NodeLoader::load(const std::string& node, Files::File& file, Findings& findings) {
    const bool isAsRead = hasStatusOfRead(file);
    const bool hasPlaces = isAsRead && !fSnapshot.unloaded.places.at(node).empty();
    return (hasPlaces || findPlaces(file, isAsRead, findings)) && read(node, file, findings);
}

bool NodeLoader::hasStatusOfRead(Files::File& file) const {
    const auto status = file.status();
    return status && fSnapshot.status && status->hasSameBytes(*fSnapshot.status);
}

// Looks for all places again. In a file that was written since the read, only the same metadata
// will do.
bool NodeLoader::findPlaces(Files::File& file, bool isAsRead, Findings& findings) {
    const auto status = file.status();
    Files::ReadAhead ahead(file);
    InputOfFile input(ahead);
    const StructureRegistry::SetAside otherStructures;
    ModelBuilder::Request request;
    request.leavesNodes = true;
    const bool hasFingerprint = fSnapshot.fingerprint.has_value();
    Accessor::AssociationsMap none;
    Findings known;  // all but failures
    auto found = readScene(fKind, input, request, none, known, hasFingerprint);
    const bool isSame =
        found && (hasFingerprint ? found->fingerprint == fSnapshot.fingerprint : isAsRead);
    if (!isSame || !status) return findings.fail(Code::kFileUnreadable, kFileChanged);
    for (auto& [name, places] : fSnapshot.unloaded.places) {
        places = std::move(found->unloaded.places[name]);
    }
    fSnapshot.begin = found->begin;
    fSnapshot.status = status;
    return true;
}

bool NodeLoader::read(const std::string& node, Files::File& file, Findings& findings) {
    const StructureRegistry::SetAside callersStructures;
    for (const auto& known : fSnapshot.unloaded.structures) {
        Structure::registerStructure(*known.structure);
    }
    const std::set<std::string> names = {node};
    ModelBuilder::Request request;
    if (fSnapshot.unloaded.areNamed) request.associationNames = &names;
    request.strikesOff = fKind.traits().lastFirst;
    request.policy = fAccessor.readPolicy();
    request.keepsOutlines = fSnapshot.fingerprint.has_value();
    Files::ReadAhead ahead(file);
    InputOfFile input(ahead);
    Accessor::AssociationsMap map;
    auto found =
        readLeftNode(fKind, input, fSnapshot.unloaded.places.at(node), request, map, findings);
    if (!found) return false;
    // Without locks, or within one step of the clock, a writer may have been at work.
    const bool isOther = map.count(node) == 0 && (!map.empty() || findings.all().empty());
    if (isOther || !hasStatusOfRead(file)) {
        return findings.fail(Code::kFileUnreadable, kFileChanged);
    }
    if (map.empty()) return false;
    fAccessor.associations()[node] = map.at(node);
    fSnapshot.add(std::move(*found));
    fSnapshot.unloaded.places.erase(node);
    return true;
}

}  // namespace orbo::Data
