// The set of registered structures, with look-up by name.
// SPDX-License-Identifier: Apache-2.0
#include "core/StructureRegistry.h"

#include <algorithm>
#include <utility>

#include "core/StructureImpl.h"
#include "debug/NeverDestroyed.h"

namespace orbo::Data {

namespace {

// Plain pointer: a thread-local with a destructor would keep the library from being unloaded.
thread_local StructureRegistry* registryOfThisThread = nullptr;

}  // namespace

StructureRegistry& StructureRegistry::global() {
    static const NeverDestroyed<StructureRegistry> registry(
        [](void* place) { return new (place) StructureRegistry; });
    return *registry;
}

StructureRegistry& StructureRegistry::current() {
    return registryOfThisThread ? *registryOfThisThread : global();
}

void StructureRegistry::noteRename(Structure& structure, const std::string& oldName) {
    for (StructureRegistry* registry = &current(); registry; registry = registry->fOuter) {
        if (registry->fStructures.count(&structure) == 0) continue;
        registry->fTableIsStale = true;
        registry->unfile(structure, oldName);
        registry->fByName[structure.name()].insert(&structure);
        registry->fTableIsStale = false;
    }
}

StructureRegistry::NameIndex& StructureRegistry::byName() {
    if (fTableIsStale) {
        fByName.clear();
        for (Structure* structure : fStructures) fByName[structure->name()].insert(structure);
        fTableIsStale = false;
    }
    return fByName;
}

void StructureRegistry::unfile(Structure& structure, const std::string& name) {
    const auto namesakes = fByName.find(name);
    if (namesakes == fByName.end()) return;
    namesakes->second.erase(&structure);
    if (namesakes->second.empty()) fByName.erase(namesakes);
}

bool StructureRegistry::add(Structure& structure) {
    auto& namesakes = byName()[structure.name()];
    const bool known = std::any_of(namesakes.begin(), namesakes.end(),
                                   [&](const Structure* other) { return *other == structure; });
    if (known) return false;
    fTableIsStale = true;
    namesakes.insert(&structure);
    fStructures.insert(&structure);
    fTableIsStale = false;
    structure.ref();
    ++structure.fImpl->registrations;
    return true;
}

bool StructureRegistry::remove(Structure& structure) {
    if (fStructures.count(&structure) == 0) return false;
    byName();
    unfile(structure, structure.name());
    fStructures.erase(&structure);
    --structure.fImpl->registrations;
    structure.unref();
    return true;
}

void StructureRegistry::clear() {
    NameIndex().swap(fByName);
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

StructureRegistry::SetAside::SetAside() {
    fOwn.fOuter = &current();
    registryOfThisThread = &fOwn;
}

StructureRegistry::SetAside::~SetAside() {
    fOwn.clear();
    StructureRegistry* outer = fOwn.fOuter;
    registryOfThisThread = outer == &global() ? nullptr : outer;
}

}  // namespace orbo::Data
