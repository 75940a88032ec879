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

    /// The registry of the process. It is never destroyed; unloading the library clears it.
    static StructureRegistry& global();
    /// The registry that the static operations of `Structure` use in this thread.
    static StructureRegistry& current();

    /// Returns false when the structure or an equal one is registered.
    bool add(Structure& structure);
    bool remove(Structure& structure);
    void clear();
    [[nodiscard]] Structure* find(std::string_view name);
    [[nodiscard]] const std::set<Structure*>& all() const { return fStructures; }

    /// While it lives, this thread uses a registry of its own, empty at first, so that the
    /// structures of a file never meet the caller's. The destructor releases what is left in it.
    class SetAside;

    /// While it lives, this thread uses the registry of another thread, which changes it as little
    /// as this one does, and whose `prepareForLending` was called.
    class Borrowed;
    void prepareForLending() { byName(); }

    /// Tells the registries of this thread that a registered structure had another name until now.
    static void noteRename(Structure& structure, const std::string& oldName);

  private:
    /// Structures by the hash of their names.
    using NameIndex = std::unordered_multimap<std::uint64_t, Structure*>;
    void addEntry(Structure& structure);
    NameIndex& byName();
    void eraseEntry(const Structure& structure, std::string_view name);

    std::set<Structure*> fStructures;
    NameIndex fByName;
    bool fTableIsStale = false;           // a change of the table ran out of memory
    StructureRegistry* fOuter = nullptr;  // the registry that this one hides
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

class StructureRegistry::Borrowed {
  public:
    explicit Borrowed(StructureRegistry& other);
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;
    ~Borrowed();

  private:
    StructureRegistry* const fBefore;
};

}  // namespace orbo::Data
