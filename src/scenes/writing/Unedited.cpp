// Tells whether the caller has edited what a read or write left in the model.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/Unedited.h"

#include <cstddef>
#include <cstring>

#include "core/Layout.h"
#include "scenes/writing/WrittenModel.h"

namespace orbo::Data {

namespace {

bool isTaken(const Structure& structure, const ReadSnapshot& snapshot) {
    const auto found = snapshot.structures.find(structure.name());
    return found != snapshot.structures.end() &&
           found->second->members() == Layout::of(structure).members();
}

// Structures that only streams have are compared as a part of their nodes.
bool structuresAreUnedited(const Accessor& accessor, const ReadSnapshot& snapshot) {
    const WrittenModel model(accessor, snapshot, accessor.writePolicy().addMissingStructures);
    std::size_t same = 0;
    const char* previous = nullptr;
    for (const auto& structure : model.structures()) {
        if (previous && std::strcmp(previous, structure->name()) == 0) return false;
        previous = structure->name();
        const auto own = accessor.structures().find(structure.get());
        if (isTaken(*structure, snapshot)) {
            ++same;
        } else if (snapshot.structures.count(previous) > 0 ||
                   (own != accessor.structures().end() && *own == structure.get())) {
            return false;
        }
    }
    return same == snapshot.structures.size();
}

bool nodesAreUnedited(const Accessor& accessor, const ReadSnapshot& snapshot,
                      ModelDigests& digests) {
    std::size_t found = 0;
    for (const auto& [name, associations] : accessor.associations()) {
        const auto node = snapshot.associations.find(name);
        if (const auto part = snapshot.partialNodes.find(name);
            part != snapshot.partialNodes.end()) {
            if (part->second != digests.of(associations).value) return false;
            ++found;
        } else if (node != snapshot.associations.end()) {
            if (!node->second || *node->second != digests.of(associations).value) return false;
            ++found;
        } else if (!associations.empty()) {
            return false;
        }
    }
    return found == snapshot.associations.size() + snapshot.partialNodes.size();
}

}  // namespace

bool isUnedited(const Accessor& accessor, const ReadSnapshot& snapshot, ModelDigests& digests) {
    return structuresAreUnedited(accessor, snapshot) &&
           nodesAreUnedited(accessor, snapshot, digests);
}

}  // namespace orbo::Data
