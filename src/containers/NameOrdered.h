// Entries in byte-wise order of names that may change behind the container's back.
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

/// Each entry is filed under the name it had when it was last sorted, so the tree stays sound
/// whatever happens to the names, and two entries may come to share one. `NameOf` gives the present
/// name of an entry. Entries never move in memory.
///
/// `renames` is everywhere a number that the owner of the entries raises when one of them may have
/// got another name: as long as it stays the same, nothing is searched for.
///
/// Readers may come from any number of threads while nobody changes entries or names. They call
/// `sort` first: where names changed before they came, the first of them files the entries and the
/// others wait for it.
template <typename Entry, typename NameOf>
class NameOrdered {
    using Map = std::multimap<std::string, Entry>;

  public:
    /// Its `second` is the entry.
    using iterator = typename Map::iterator;
    class Position;

    iterator begin() { return fEntries.begin(); }
    iterator end() { return fEntries.end(); }
    /// Needs no order: sorting takes entries out of the map for a moment, and is not seen here.
    [[nodiscard]] unsigned int size() const { return fSize; }

    /// The end when there are fewer entries.
    iterator at(unsigned int position) {
        return position < size() ? std::next(begin(), position) : end();
    }

    /// An entry that has this name now.
    iterator find(const std::string& name, std::uint64_t renames) {
        sort(renames);
        return findFiled(name);
    }
    /// The same for one who changes the entries, and so is alone: what is found needs no order,
    /// only a miss does.
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
        // An entry may come to lie ahead and be met a second time, then in its place.
        for (iterator next = begin(); next != end();) file(next++);
        markSorted(renames);
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
    void markSorted(std::uint64_t renames) {
        fRenamesSeen.store(renames, std::memory_order_release);
    }

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
    unsigned int fSize = 0;
    std::atomic<std::uint64_t> fRenamesSeen{0};

    // Names seldom change where readers could notice: one for all is enough.
    inline static std::mutex fSorting;
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
