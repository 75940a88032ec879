// Keeps entries in byte-wise order of names that may change outside the container.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <iterator>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace orbo::Data {

/// Each entry is stored under the name it had when it was last sorted, so the tree stays valid
/// whatever happens to the names, and two entries may come to share one. `NameOf` gives the present
/// name of an entry. Entries never move in memory.
///
/// The owner of the entries passes `renames`, a number that it raises when an entry may have got
/// another name: while it stays the same, the order is known to be right.
///
/// Any number of threads may read while nobody changes entries or names. They call `sort` first: if
/// names have changed before, the first thread sorts the entries and the others wait.
template <typename Entry, typename NameOf>
class NameOrdered {
    using Map = std::multimap<std::string, Entry>;

  public:
    /// Its `second` is the entry.
    using iterator = typename Map::iterator;
    class Position;

    iterator begin() { return fEntries.begin(); }
    iterator end() { return fEntries.end(); }
    /// Works without sorting, and while another reader sorts, which takes entries out of the map
    /// for a moment.
    [[nodiscard]] unsigned int size() const { return fSize; }

    /// The end when there are fewer entries.
    iterator at(unsigned int position) {
        return position < size() ? std::next(begin(), position) : end();
    }

    /// Finds an entry that has this name now.
    iterator find(const std::string& name, std::uint64_t renames) {
        sort(renames);
        return findFiled(name);
    }
    /// Does the same for a caller that changes the entries, and so is alone: only a miss needs the
    /// entries sorted.
    iterator findToChange(const std::string& name, std::uint64_t renames) {
        const iterator found = findFiled(name);
        if (found != end() || isSorted(renames)) return found;
        sort(renames);
        return findFiled(name);
    }

    iterator insert(Entry entry) {
        std::string name = NameOf()(entry);
        const iterator inserted = fEntries.emplace(std::move(name), std::move(entry));
        ++fSize;
        return inserted;
    }
    void erase(iterator entry) {
        fEntries.erase(entry);
        --fSize;
    }
    void swap(NameOrdered& other) noexcept {
        fEntries.swap(other.fEntries);
        std::swap(fSize, other.fSize);
        const std::uint64_t seen = fRenamesSeen.load(std::memory_order_relaxed);
        markSorted(other.fRenamesSeen.load(std::memory_order_relaxed));
        other.markSorted(seen);
    }

    [[nodiscard]] bool isSorted(std::uint64_t renames) const {
        return renames == fRenamesSeen.load(std::memory_order_acquire);
    }
    void sort(std::uint64_t renames) {
        if (isSorted(renames)) return;
        const std::lock_guard<std::mutex> lock(fSorting);
        if (isSorted(renames)) return;
        // An entry may move ahead and be met a second time; it is then in its place.
        for (iterator next = begin(); next != end();) file(next++);
        markSorted(renames);
    }

    /// Moves the entry to the place of its present name.
    void file(iterator entry) {
        const std::string& present = NameOf()(entry->second);
        if (entry->first == present) return;
        std::string name = present;  // made before the entry is extracted, as memory may run out
        auto node = fEntries.extract(entry);
        node.key() = std::move(name);
        fEntries.insert(std::move(node));
    }
    /// Tells that the owner has moved all renamed entries to their places.
    void markSorted(std::uint64_t renames) {
        fRenamesSeen.store(renames, std::memory_order_release);
    }

    /// Whether another entry is stored under the same name.
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
    unsigned int fSize = 0;
    std::atomic<std::uint64_t> fRenamesSeen{0};

    // Sorting while others read is rare, so one mutex serves all containers.
    inline static std::mutex fSorting;
};

/// The position of an iterator; a default one has no container.
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
