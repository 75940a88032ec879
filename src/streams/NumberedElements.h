// Chunks by number, in pages that lie in order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orbo::Data {

/// Up to 64 neighbours share a page, however far apart their numbers are, and up to 512 pages a
/// group: few enough to be searched quickly, and to make room among. Numbers that come in order, up
/// or down, fill their pages.
///
/// Everything `const` only reads, so that any number of threads may use it at once. Where chunks
/// lie in a block, `stride` is the number of bytes from one to the next.
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
    [[nodiscard]] bool has(unsigned int number) const;
    /// Null where there is no element, too.
    [[nodiscard]] char* chunkOf(unsigned int number, std::size_t stride) const;
    /// Begins with the first element that is not below; empty when there is none.
    [[nodiscard]] Run from(unsigned int number, std::size_t stride) const;
    /// There is at least one.
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

    /// Gives an element its chunk, and returns the one that it had: null for a new element. Throws
    /// `std::bad_alloc`, with nothing changed.
    char* put(unsigned int number, char* chunk, std::size_t stride);
    void erase(unsigned int number, std::size_t stride);
    void clear();
    /// `chunkOf` for one who is about to change something there.
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
                noteEven(page, 0, stride);
            }
        }
    }

  private:
    using Entries = std::vector<Entry>;
    struct Page {
        unsigned int lowest = 0;  // not above its numbers, and above those of the page in front
        // So many that stand first have the numbers from this one on, and chunks side by side:
        // these are found without a look at the entries, which are not at hand among many.
        unsigned int evenCount = 0;
        unsigned int evenNumber = 0;
        char* evenChunk = nullptr;
        Entries entries;
    };
    /// Guesses where in an ordered list a number belongs: rightly where the list rises in equal
    /// steps. The first step is left out, for what begins there may begin far below its numbers.
    struct Steps {
        unsigned int second = ~0U;
        unsigned int last = 0;        // the last place
        std::uint64_t perNumber = 0;  // times 2^32

        [[nodiscard]] std::size_t guess(unsigned int number) const {
            if (number < second) return 0;
            const std::uint64_t place = 1 + ((number - second) * perNumber >> 32);
            return static_cast<std::size_t>(place < last ? place : last);
        }
    };
    /// Never without a page, which is empty only where the whole group is.
    struct Group {
        unsigned int lowest = 0;  // that of its first page
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
    /// Where in the list the number belongs, looked for from a guess on.
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
    static bool isEven(const Page& page, unsigned int number) {
        return number - page.evenNumber < page.evenCount;
    }
    static char* evenChunkOf(const Page& page, unsigned int number, std::size_t stride) {
        return page.evenChunk + std::size_t{number - page.evenNumber} * stride;
    }
    static char* chunkIn(const Page& page, unsigned int number, std::size_t stride);
    static std::size_t entryOf(const Page& page, unsigned int number);
    static bool hasAt(const Page& page, std::size_t entry, unsigned int number);
    static void noteEven(Page& page, std::size_t from, std::size_t stride);
    [[nodiscard]] std::size_t evenFrom(Place place, std::size_t entry, std::size_t stride) const;

    Page& pageToChange(unsigned int number);
    void findToChange(unsigned int number);
    void append(Page& page, Entry entry, std::size_t stride);
    void split(std::size_t at, std::size_t stride);
    void addBehind(Place place, Page&& page);
    void splitGroup(Place& place, unsigned int lowest);
    void remove(Place place);
    void forget() { fRecentReach = 0; }

    // The first is that of 0, if there is any.
    std::vector<Group> fGroups;
    Steps fSteps;
    std::size_t fSize = 0;
    unsigned int fHighest = 0;  // while there is an element
    // Most changes are near the one before. Only what changes elements may look here: readers do
    // not, for they would have to keep it true.
    Place fRecent;
    unsigned int fRecentLowest = 0;
    std::uint64_t fRecentReach = 0;  // so many numbers are its page's; 0 when pages moved
};

}  // namespace orbo::Data
