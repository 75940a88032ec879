// The set of registered structures, with look-up by name.
// SPDX-License-Identifier: Apache-2.0
#include "core/StructureRegistry.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "core/StructureImpl.h"

namespace orbo::Data {

namespace {

constexpr std::uint64_t kTableStale = ~std::uint64_t{0};

std::atomic<std::uint64_t> renames{0};
// Plain pointer: a thread-local with a destructor would keep the library from being unloaded.
thread_local StructureRegistry* registryOfThisThread = nullptr;

}  // namespace

StructureRegistry& StructureRegistry::current() {
    static StructureRegistry global;
    return registryOfThisThread ? *registryOfThisThread : global;
}

void StructureRegistry::noteRename() noexcept { ++renames; }

// Names of registered structures can change, and everybody's do together with one counter: the
// table is made again only then.
StructureRegistry::NameIndex& StructureRegistry::byName() {
    const std::uint64_t now = renames;
    if (fRenamesSeen != now) {
        fByName.clear();
        for (Structure* structure : fStructures) fByName[structure->name()].insert(structure);
        fRenamesSeen = now;
    }
    return fByName;
}

bool StructureRegistry::add(Structure& structure) {
    auto& namesakes = byName()[structure.name()];
    const bool known = std::any_of(namesakes.begin(), namesakes.end(),
                                   [&](const Structure* other) { return *other == structure; });
    if (known) return false;
    // If memory runs out between the two, the table is made again.
    const std::uint64_t seen = std::exchange(fRenamesSeen, kTableStale);
    namesakes.insert(&structure);
    fStructures.insert(&structure);
    fRenamesSeen = seen;
    structure.ref();
    ++structure.fImpl->registrations;
    return true;
}

bool StructureRegistry::remove(Structure& structure) {
    if (fStructures.count(&structure) == 0) return false;
    NameIndex& index = byName();
    const auto namesakes = index.find(structure.name());
    namesakes->second.erase(&structure);
    if (namesakes->second.empty()) index.erase(namesakes);
    fStructures.erase(&structure);
    --structure.fImpl->registrations;
    structure.unref();
    return true;
}

void StructureRegistry::clear() {
    fByName.clear();
    while (!fStructures.empty()) {
        Structure* first = *fStructures.begin();
        fStructures.erase(fStructures.begin());
        --first->fImpl->registrations;
        first->unref();
    }
}

Structure* StructureRegistry::find(const std::string& name) {
    const NameIndex& index = byName();
    const auto namesakes = index.find(name);
    return namesakes == index.end() || namesakes->second.empty() ? nullptr
                                                                 : *namesakes->second.begin();
}

StructureRegistry::SetAside::SetAside() : fPrevious(registryOfThisThread) {
    registryOfThisThread = &fOwn;
}

StructureRegistry::SetAside::~SetAside() {
    fOwn.clear();
    registryOfThisThread = fPrevious;
}

}  // namespace orbo::Data
