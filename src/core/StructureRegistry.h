// The set of registered structures, with look-up by name.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Structure.h>

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace orbo::Data {

/// Holds a reference on every structure in it. Adding and finding take constant time on average.
class StructureRegistry {
  public:
    StructureRegistry() = default;
    StructureRegistry(const StructureRegistry&) = delete;
    StructureRegistry& operator=(const StructureRegistry&) = delete;
    ~StructureRegistry() { clear(); }

    /// Of all threads. Never destroyed; unloading the library clears it.
    static StructureRegistry& global();
    /// The one that the static operations of `Structure` work on in this thread.
    static StructureRegistry& current();

    /// False when the structure or an equal one is there.
    bool add(Structure& structure);
    bool remove(Structure& structure);
    void clear();
    [[nodiscard]] Structure* find(std::string_view name);
    [[nodiscard]] const std::set<Structure*>& all() const { return fStructures; }

    /// While it lives, this thread works on a registry of its own, at first empty, so that the
    /// structures of a file never meet the caller's. What is left in it is released in the end.
    class SetAside;

    /// A structure that is registered somewhere had another name until now. Looked for in the
    /// registries of this thread.
    static void noteRename(Structure& structure, const std::string& oldName);

  private:
    /// By the hash of their names.
    using NameIndex = std::unordered_multimap<std::uint64_t, Structure*>;
    void enter(Structure& structure);
    NameIndex& byName();
    void strike(const Structure& structure, std::string_view name);

    std::set<Structure*> fStructures;
    NameIndex fByName;
    bool fTableIsStale = false;           // memory ran out while it was changed
    StructureRegistry* fOuter = nullptr;  // the one that this one is worked on instead of
};

class StructureRegistry::SetAside {
  public:
    SetAside();
    SetAside(const SetAside&) = delete;
    SetAside& operator=(const SetAside&) = delete;
    ~SetAside();

  private:
    StructureRegistry fOwn;
};

}  // namespace orbo::Data
