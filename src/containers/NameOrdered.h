// Entries in byte-wise order of names that may change behind the container's back.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <utility>

namespace orbo::Data {

/// Each entry is filed under the name it had when it was last sorted, so the tree stays sound
/// whatever happens to the names, and two entries may come to share one. `NameOf` gives the present
/// name of an entry. Entries never move in memory.
///
/// `renames` is everywhere a number that the owner of the entries raises when one of them may have
/// got another name: as long as it stays the same, nothing is searched for.
template <typename Entry, typename NameOf>
class NameOrdered {
    using Map = std::multimap<std::string, Entry>;

  public:
    /// Its `second` is the entry.
    using iterator = typename Map::iterator;
    class Position;

    iterator begin() { return fEntries.begin(); }
    iterator end() { return fEntries.end(); }
    [[nodiscard]] unsigned int size() const { return static_cast<unsigned int>(fEntries.size()); }

    /// The end when there are fewer entries.
    iterator at(unsigned int position) {
        return position < size() ? std::next(begin(), position) : end();
    }

    /// An entry that has this name now. What is found needs no order; only a miss does.
    iterator find(const std::string& name, std::uint64_t renames) {
        const iterator found = findFiled(name);
        if (found != end() || renames == fRenamesSeen) return found;
        sort(renames);
        return findFiled(name);
    }

    iterator insert(Entry entry) {
        std::string name = NameOf()(entry);
        return fEntries.emplace(std::move(name), std::move(entry));
    }
    void erase(iterator entry) { fEntries.erase(entry); }
    void swap(NameOrdered& other) noexcept {
        fEntries.swap(other.fEntries);
        std::swap(fRenamesSeen, other.fRenamesSeen);
    }

    [[nodiscard]] bool isSorted(std::uint64_t renames) const { return renames == fRenamesSeen; }
    void sort(std::uint64_t renames) {
        if (isSorted(renames)) return;
        // An entry may come to lie ahead and be met a second time, then in its place.
        for (iterator next = begin(); next != end();) file(next++);
        fRenamesSeen = renames;
    }

    /// Puts the entry in its place by its present name.
    void file(iterator entry) {
        const std::string& present = NameOf()(entry->second);
        if (entry->first == present) return;
        std::string name = present;  // before the entry leaves: memory may run out
        auto node = fEntries.extract(entry);
        node.key() = std::move(name);
        fEntries.insert(std::move(node));
    }
    /// For an owner that knows which entries were renamed, and filed them.
    void markSorted(std::uint64_t renames) { fRenamesSeen = renames; }

    /// Whether another entry is filed under the same name.
    [[nodiscard]] bool hasTwin(iterator entry) const { return fEntries.count(entry->first) > 1; }

  private:
    iterator findFiled(const std::string& name) {
        iterator entry = fEntries.lower_bound(name);
        for (; entry != end() && entry->first == name; ++entry) {
            if (NameOf()(entry->second) == name) return entry;
        }
        return end();
    }

    Map fEntries;
    std::uint64_t fRenamesSeen = 0;
};

/// Where an iterator stands; bound to nothing by default.
template <typename Entry, typename NameOf>
class NameOrdered<Entry, NameOf>::Position {
  public:
    Position() = default;
    Position(NameOrdered& entries, iterator place) : fEntries(&entries), fPlace(place) {}

    bool operator==(const Position& other) const {
        return fEntries == other.fEntries && (!fEntries || fPlace == other.fPlace);
    }
    [[nodiscard]] bool valid() const { return fEntries && fPlace != fEntries->end(); }
    Entry& operator*() const { return fPlace->second; }
    void step() {
        if (valid()) ++fPlace;
    }

  private:
    NameOrdered* fEntries = nullptr;
    iterator fPlace{};
};

}  // namespace orbo::Data
