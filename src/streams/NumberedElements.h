// Finds chunks by number, in ordered pages.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orbo::Data {

/// Up to 64 neighbours share a page, however far apart their numbers are, and up to 512 pages share
/// a group: few enough to search quickly and to insert cheaply. Numbers that come in ascending or
/// descending order fill their pages.
///
/// `const` functions only read, so any number of threads may call them at once. `stride` is the
/// number of bytes from one chunk to the next in a block.
class NumberedElements {
  public:
    struct Entry {
        unsigned int number;
        char* chunk;  // null for an element without data
    };
    /// Neighbours in order, valid until the next insertion or removal.
    struct Run {
        const Entry* first = nullptr;
        const Entry* end = nullptr;
        // The number of entries, which may reach beyond `end`, whose numbers have no gap and whose
        // chunks lie side by side.
        std::size_t contiguous = 0;
    };

    NumberedElements() = default;
    NumberedElements(const NumberedElements&) = delete;
    NumberedElements& operator=(const NumberedElements&) = delete;

    [[nodiscard]] std::size_t size() const { return fSize; }
    [[nodiscard]] bool has(unsigned int number) const;
    /// Also null where there is no element.
    [[nodiscard]] char* chunkOf(unsigned int number, std::size_t stride) const;
    /// The run that begins with the first element not below `number`; empty when there is none.
    [[nodiscard]] Run from(unsigned int number, std::size_t stride) const;
    /// The highest number; there must be an element.
    [[nodiscard]] unsigned int highest() const { return fHighest; }
    /// Calls `visit(number, chunk)` for each in order.
    template <typename Visit>
    void forEach(const Visit& visit) const {
        for (const Group& group : fGroups) {
            for (const Page& page : group.pages) {
                for (const Entry& entry : page.entries) visit(entry.number, entry.chunk);
            }
        }
    }

    /// Stores the chunk of an element, and returns the chunk that it had: null for a new element.
    /// Throws `std::bad_alloc`, with nothing changed.
    char* put(unsigned int number, char* chunk, std::size_t stride);
    void erase(unsigned int number, std::size_t stride);
    void clear();
    /// Moves all elements of a list from which none was erased behind those that are here. False
    /// when they do not belong there. Throws `std::bad_alloc`, with nothing changed.
    bool takeOver(NumberedElements& later);
    /// Does what `chunkOf` does, for a caller that is about to change something there.
    [[nodiscard]] char* chunkToChange(unsigned int number, std::size_t stride) {
        if (fSize == 0 || number > fHighest) return nullptr;
        return chunkIn(pageToChange(number), number, stride);
    }
    /// Calls `change(chunk)`, which may replace the chunk, for each in order.
    template <typename Change>
    void changeEach(std::size_t stride, const Change& change) {
        for (Group& group : fGroups) {
            for (Page& page : group.pages) {
                for (Entry& entry : page.entries) change(entry.chunk);
                noteContiguous(page, 0, stride);
            }
        }
    }

  private:
    using Entries = std::vector<Entry>;
    struct Page {
        unsigned int lowest =
            0;  // at most its first number, and above all numbers of the page in front
        // The first `contiguousCount` entries have the numbers from `contiguousNumber` on, and
        // chunks side by side. They are found without reading the entries, which are rarely in the
        // cache.
        unsigned int contiguousCount = 0;
        unsigned int contiguousNumber = 0;
        char* contiguousChunk = nullptr;
        Entries entries;
    };
    /// Estimates the place of a number in an ordered list; exact where the list rises in equal
    /// steps. The first step is left out, because the first page may begin far below its numbers.
    struct Steps {
        unsigned int second = ~0U;
        unsigned int last = 0;        // the highest place
        std::uint64_t perNumber = 0;  // as a fixed-point number with 32 fraction bits

        [[nodiscard]] std::size_t guess(unsigned int number) const {
            if (number < second) return 0;
            const std::uint64_t place = 1 + ((number - second) * perNumber >> 32);
            return static_cast<std::size_t>(place < last ? place : last);
        }
    };
    /// Has at least one page, which is empty only where the whole group is.
    struct Group {
        unsigned int lowest = 0;  // of its first page
        Steps steps;
        std::vector<Page> pages;
    };
    struct Place {
        std::size_t group = 0;
        std::size_t page = 0;
    };

    static constexpr std::size_t kPageSize = 64;
    static constexpr std::size_t kGroupSize = 512;
    static constexpr unsigned int kPagesAhead = 16;
    static constexpr unsigned int kStepsFromGuess = 8;

    template <typename List>
    static void fit(Steps& steps, const List& list);
    /// The place of the number in the list, searched from a guess on.
    template <typename List>
    static std::size_t placeNear(std::size_t guess, const List& list, unsigned int number);
    [[nodiscard]] std::size_t findGroup(unsigned int number) const {
        return placeNear(fSteps.guess(number), fGroups, number);
    }
    [[nodiscard]] Place find(unsigned int number) const;
    [[nodiscard]] const Page& pageAt(Place place) const {
        return fGroups[place.group].pages[place.page];
    }
    [[nodiscard]] Page& pageAt(Place place) { return fGroups[place.group].pages[place.page]; }
    [[nodiscard]] bool moveToNext(Place& place) const;
    static bool isContiguous(const Page& page, unsigned int number) {
        return number - page.contiguousNumber < page.contiguousCount;
    }
    static char* contiguousChunkOf(const Page& page, unsigned int number, std::size_t stride) {
        return page.contiguousChunk + std::size_t{number - page.contiguousNumber} * stride;
    }
    static char* chunkIn(const Page& page, unsigned int number, std::size_t stride);
    static std::size_t entryOf(const Page& page, unsigned int number);
    static bool hasAt(const Page& page, std::size_t entry, unsigned int number);
    static void noteContiguous(Page& page, std::size_t from, std::size_t stride);
    [[nodiscard]] std::size_t contiguousFrom(Place place, std::size_t entry,
                                             std::size_t stride) const;

    Page& pageToChange(unsigned int number);
    void findToChange(unsigned int number);
    void append(Page& page, Entry entry, std::size_t stride);
    void split(std::size_t at, std::size_t stride);
    void addBehind(Place place, Page&& page);
    void splitGroup(Place& place, unsigned int lowest);
    void remove(Place place);
    void forget() { fRecentReach = 0; }

    // The first group begins at 0.
    std::vector<Group> fGroups;
    Steps fSteps;
    std::size_t fSize = 0;
    unsigned int fHighest = 0;  // valid while there is an element
    // Most changes are near the one before. Only functions that change elements use this; readers
    // may not, as several run at once.
    Place fRecent;
    unsigned int fRecentLowest = 0;
    std::uint64_t fRecentReach = 0;  // how many numbers belong to the page; 0 when pages have moved
};

}  // namespace orbo::Data
