// Chunks by number, in pages that lie in order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace orbo::Data {

/// Up to 64 neighbours share a page, however far apart their numbers are; a map of the pages is
/// small enough to be searched quickly. Numbers that come in order, up or down, fill their pages.
class NumberedElements {
  public:
    struct Entry {
        unsigned int number;
        char* chunk;  // null for an element without data
    };

    /// Stays on its element, or at the end, while others come and go.
    class Cursor {
      public:
        /// Not to be used before one of the others is assigned to it.
        Cursor() = default;
        /// On the first element.
        explicit Cursor(NumberedElements& elements);

        [[nodiscard]] bool atEnd() const { return fAtEnd; }
        [[nodiscard]] unsigned int number() const { return fNumber; }
        /// Null when the element was removed.
        [[nodiscard]] char* chunk() const {
            return isCurrent() ? fPage->second[fAt].chunk : chunkOfNumber();
        }
        void advance() {
            if (!isCurrent() || fAt + 1 == fPage->second.size()) return advanceFar();
            fNumber = fPage->second[++fAt].number;
        }

      private:
        [[nodiscard]] bool isCurrent() const { return fVersion == fElements->fVersion; }
        [[nodiscard]] char* chunkOfNumber() const;
        void advanceFar();
        void moveTo(unsigned int from);
        void settle();

        NumberedElements* fElements = nullptr;
        std::map<unsigned int, std::vector<Entry>>::iterator fPage;
        std::size_t fAt = 0;
        std::uint64_t fVersion = 0;  // of the elements, for which page and place are right
        unsigned int fNumber = 0;
        bool fAtEnd = true;
    };

    NumberedElements() = default;
    NumberedElements(const NumberedElements&) = delete;
    NumberedElements& operator=(const NumberedElements&) = delete;

    [[nodiscard]] std::size_t size() const { return fSize; }
    /// Null when there is none; good until the next insertion or removal.
    [[nodiscard]] Entry* find(unsigned int number);
    [[nodiscard]] bool has(unsigned int number) const;
    /// The element's entry, a new one with null if there was none.
    Entry& insert(unsigned int number);
    void erase(unsigned int number);
    void clear();
    /// There is at least one.
    [[nodiscard]] unsigned int highest() const;

    /// Calls `visit(number, chunk)` for each in order; it may change the chunk.
    template <typename Visit>
    void forEach(const Visit& visit) {
        for (auto& [lowest, page] : fPages) {
            for (Entry& entry : page) visit(entry.number, entry.chunk);
        }
    }

  private:
    using Page = std::vector<Entry>;
    using Pages = std::map<unsigned int, Page>;
    static constexpr std::size_t kPageSize = 64;

    Pages::iterator pageOf(unsigned int number);
    Pages::iterator split(Pages::iterator page, std::size_t at);
    static Page::iterator placeIn(Page& page, unsigned int number);
    Pages::iterator remember(Pages::iterator page);
    void forget() { fRecent = fPages.end(); }

    // By a number that is not above its own and above those of the page in front. The first is
    // that of 0, and may be empty.
    Pages fPages;
    std::size_t fSize = 0;
    std::uint64_t fVersion = 0;
    // Most look for a number near the one before.
    Pages::iterator fRecent = fPages.end();
    std::uint64_t fRecentEnd = 0;  // where the next page begins
};

}  // namespace orbo::Data
