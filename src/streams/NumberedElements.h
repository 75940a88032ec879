// Chunks by number, in pages that lie in order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace orbo::Data {

/// Up to 64 neighbours share a page, however far apart their numbers are, and up to 512 pages a
/// group: few enough to be searched quickly, and to make room among. Numbers that come in order, up
/// or down, fill their pages.
class NumberedElements {
  public:
    struct Entry {
        unsigned int number;
        char* chunk;  // null for an element without data
    };
    /// Neighbours in order; good until the next insertion or removal.
    struct Run {
        const Entry* first = nullptr;
        const Entry* end = nullptr;
        // So many, which may go beyond `end`, have numbers without a gap and chunks side by side.
        std::size_t even = 0;
    };

    NumberedElements() = default;
    NumberedElements(const NumberedElements&) = delete;
    NumberedElements& operator=(const NumberedElements&) = delete;

    [[nodiscard]] std::size_t size() const { return fSize; }
    /// To be changed. Null when there is none; good until the next insertion or removal.
    [[nodiscard]] Entry* find(unsigned int number);
    [[nodiscard]] bool has(unsigned int number) const;
    /// Null where there is no element, too. Chunks in a block lie `stride` bytes apart.
    [[nodiscard]] char* chunkOf(unsigned int number, std::size_t stride);
    /// Begins with the first element that is not below; empty when there is none.
    [[nodiscard]] Run from(unsigned int number, std::size_t stride);
    /// The element's entry, a new one with null if there was none.
    Entry& insert(unsigned int number);
    void erase(unsigned int number);
    void clear();
    /// There is at least one.
    [[nodiscard]] unsigned int highest() const { return fHighest; }

    /// Calls `visit(number, chunk)` for each in order; it may change the chunk.
    template <typename Visit>
    void forEach(const Visit& visit) {
        for (auto& [lowest, group] : fGroups) {
            for (Page& page : group) {
                page.evenCount = 0;
                for (Entry& entry : page.entries) visit(entry.number, entry.chunk);
            }
        }
    }

  private:
    using Entries = std::vector<Entry>;
    struct Page {
        unsigned int lowest = 0;  // not above its numbers, and above those of the page in front
        // So many that stand first, known to be those from this number on, with chunks side by
        // side: these are found without a look at the entries, which are not at hand among many.
        unsigned int evenCount = 0;
        unsigned int evenNumber = 0;
        char* evenChunk = nullptr;
        Entries entries;
    };
    using Group = std::vector<Page>;
    using Groups = std::map<unsigned int, Group>;
    struct Place {
        Groups::iterator group;
        Page* page = nullptr;
    };

    static constexpr std::size_t kPageSize = 64;
    static constexpr std::size_t kGroupSize = 512;
    static constexpr unsigned int kPagesAhead = 16;

    const Place& pageOf(unsigned int number);
    const Place& searchPageOf(unsigned int number);
    static std::size_t placeIn(const Group& group, unsigned int number);
    bool moveToNext(Place& place);
    static Entries::iterator entryOf(Page& page, unsigned int number);
    static bool has(const Page& page, Entries::iterator entry, unsigned int number);
    static Entry& toBeChanged(Page& page, Entries::iterator entry);
    static void noteEven(Page& page, std::size_t stride);
    std::size_t evenFrom(Place place, const Entry* entry, std::size_t stride);
    void split(Place place, std::size_t at);
    void addBehind(const Place& place, Page&& page);
    void remove(const Place& place);
    void forget() { fRecent.page = nullptr; }

    // By the lowest of their first page. The first is that of 0, and never without a page, which
    // may be empty.
    Groups fGroups;
    std::size_t fSize = 0;
    unsigned int fHighest = 0;  // while there is an element
    // Most look for a number near the one before. Forgotten when pages move.
    Place fRecent;
    unsigned int fRecentReach = 0;  // from the lowest number of its page to the highest possible
};

}  // namespace orbo::Data
