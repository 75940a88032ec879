// Chunks by number, in pages that lie in order.
// SPDX-License-Identifier: Apache-2.0
#include "streams/NumberedElements.h"

#include <algorithm>
#include <iterator>

namespace orbo::Data {

NumberedElements::Pages::iterator NumberedElements::pageOf(unsigned int number) {
    if (fPages.empty()) return remember(fPages.try_emplace(0).first);
    if (fRecent != fPages.end() && fRecent->first <= number && number < fRecentEnd) return fRecent;
    return remember(std::prev(fPages.upper_bound(number)));
}

NumberedElements::Pages::iterator NumberedElements::remember(Pages::iterator page) {
    const auto next = std::next(page);
    fRecentEnd = next == fPages.end() ? std::uint64_t{1} << 32 : next->first;
    return fRecent = page;
}

NumberedElements::Page::iterator NumberedElements::placeIn(Page& page, unsigned int number) {
    if (!page.empty() && page.back().number < number) return page.end();
    return std::lower_bound(
        page.begin(), page.end(), number,
        [](const Entry& entry, unsigned int wanted) { return entry.number < wanted; });
}

NumberedElements::Entry* NumberedElements::find(unsigned int number) {
    if (fSize == 0) return nullptr;
    Page& page = pageOf(number)->second;
    const auto place = placeIn(page, number);
    return place != page.end() && place->number == number ? &*place : nullptr;
}

bool NumberedElements::has(unsigned int number) const {
    return const_cast<NumberedElements*>(this)->find(number) != nullptr;
}

NumberedElements::Entry& NumberedElements::insert(unsigned int number) {
    auto page = pageOf(number);
    auto place = placeIn(page->second, number);
    if (place != page->second.end() && place->number == number) return *place;
    if (page->second.size() == kPageSize) {
        // At an end of the page the neighbours stay together.
        const auto at = static_cast<std::size_t>(place - page->second.begin());
        const bool isInside = at > 0 && at < kPageSize;
        const auto behind = split(page, isInside ? kPageSize / 2 : at);
        if (behind->second.empty() ? at == kPageSize : behind->first <= number) page = behind;
        remember(page);
        place = placeIn(page->second, number);
    }
    ++fVersion;
    Page& entries = page->second;
    Entry& entry = place == entries.end() ? entries.emplace_back(Entry{number, nullptr})
                                          : *entries.insert(place, {number, nullptr});
    ++fSize;
    return entry;
}

NumberedElements::Pages::iterator NumberedElements::split(Pages::iterator page, std::size_t at) {
    Page& entries = page->second;
    const bool isAtEnd = at == entries.size();
    const unsigned int lowest = isAtEnd ? entries.back().number + 1 : entries[at].number;
    Page moved(entries.begin() + static_cast<std::ptrdiff_t>(at), entries.end());
    if (isAtEnd) moved.reserve(kPageSize);  // without which it may not stay empty
    const auto behind = fPages.try_emplace(std::next(page), lowest, std::move(moved));
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(at), entries.end());
    return behind;
}

void NumberedElements::erase(unsigned int number) {
    if (fSize == 0) return;
    const auto page = pageOf(number);
    const auto place = placeIn(page->second, number);
    if (place == page->second.end() || place->number != number) return;
    page->second.erase(place);
    --fSize;
    ++fVersion;
    if (page->second.empty() && page->first != 0) {
        fPages.erase(page);
        forget();
    }
}

void NumberedElements::clear() {
    fPages.clear();
    forget();
    fSize = 0;
    ++fVersion;
}

unsigned int NumberedElements::highest() const { return fPages.rbegin()->second.back().number; }

NumberedElements::Cursor::Cursor(NumberedElements& elements) : fElements(&elements) { moveTo(0); }

void NumberedElements::Cursor::moveTo(unsigned int from) {
    fAtEnd = fElements->size() == 0;
    if (fAtEnd) return;
    fPage = fElements->pageOf(from);
    fAt = static_cast<std::size_t>(placeIn(fPage->second, from) - fPage->second.begin());
    settle();
}

void NumberedElements::Cursor::settle() {
    while (fAt == fPage->second.size()) {
        fAt = 0;
        if (++fPage == fElements->fPages.end()) {
            fAtEnd = true;
            return;
        }
    }
    fVersion = fElements->fVersion;
    fNumber = fPage->second[fAt].number;
}

char* NumberedElements::Cursor::chunkOfNumber() const {
    const Entry* entry = fElements->find(fNumber);
    return entry ? entry->chunk : nullptr;
}

void NumberedElements::Cursor::advanceFar() {
    if (isCurrent()) {
        ++fAt;
        settle();
    } else if (fNumber == ~0U) {
        fAtEnd = true;
    } else {
        moveTo(fNumber + 1);
    }
}

}  // namespace orbo::Data
