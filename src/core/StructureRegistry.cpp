// The set of registered structures, with look-up by name.
// SPDX-License-Identifier: Apache-2.0
#include "core/StructureRegistry.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "core/KeyedHash.h"
#include "core/StructureImpl.h"
#include "debug/NeverDestroyed.h"

namespace orbo::Data {

namespace {

// This is a plain pointer because a thread-local with a destructor would keep the library from
// being unloaded.
thread_local StructureRegistry* registryOfThisThread = nullptr;

}  // namespace

StructureRegistry& StructureRegistry::global() {
    return neverDestroyed<StructureRegistry>(
        [](void* place) { return new (place) StructureRegistry; });
}

StructureRegistry& StructureRegistry::current() {
    return registryOfThisThread ? *registryOfThisThread : global();
}

void StructureRegistry::noteRename(Structure& structure, const std::string& oldName) {
    for (StructureRegistry* registry = &current(); registry; registry = registry->fOuter) {
        if (registry->fStructures.count(&structure) == 0) continue;
        registry->fTableIsStale = true;
        registry->eraseEntry(structure, oldName);
        registry->addEntry(structure);
        registry->fTableIsStale = false;
    }
}

void StructureRegistry::addEntry(Structure& structure) {
    fByName.emplace(KeyedHash::of(structure.name()), &structure);
}

StructureRegistry::NameIndex& StructureRegistry::byName() {
    if (fTableIsStale) {
        fByName.clear();
        for (Structure* structure : fStructures) addEntry(*structure);
        fTableIsStale = false;
    }
    return fByName;
}

void StructureRegistry::eraseEntry(const Structure& structure, std::string_view name) {
    const auto [first, last] = fByName.equal_range(KeyedHash::of(name));
    const auto entry = std::find_if(first, last, [&](const NameIndex::value_type& other) {
        return other.second == &structure;
    });
    if (entry != last) fByName.erase(entry);
}

bool StructureRegistry::add(Structure& structure) {
    const auto [first, last] = byName().equal_range(KeyedHash::of(structure.name()));
    const bool known = std::any_of(first, last, [&](const NameIndex::value_type& other) {
        return *other.second == structure;
    });
    if (known) return false;
    fTableIsStale = true;
    addEntry(structure);
    fStructures.insert(&structure);
    fTableIsStale = false;
    structure.ref();
    ++structure.fImpl->registrations;
    return true;
}

bool StructureRegistry::remove(Structure& structure) {
    if (fStructures.count(&structure) == 0) return false;
    byName();
    eraseEntry(structure, structure.name());
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

Structure* StructureRegistry::find(std::string_view name) {
    const auto [first, last] = byName().equal_range(KeyedHash::of(name));
    Structure* found = nullptr;
    for (auto entry = first; entry != last; ++entry) {
        if (entry->second->name() != name) continue;
        if (!found || std::less<>()(entry->second, found)) found = entry->second;
    }
    return found;
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

StructureRegistry::Borrowed::Borrowed(StructureRegistry& other)
    : fBefore(std::exchange(registryOfThisThread, &other)) {}

StructureRegistry::Borrowed::~Borrowed() { registryOfThisThread = fBefore; }

}  // namespace orbo::Data
