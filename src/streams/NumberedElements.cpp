// Finds chunks by number, in ordered pages.
// SPDX-License-Identifier: Apache-2.0
#include "streams/NumberedElements.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orbo::Data {

namespace {

std::ptrdiff_t offset(std::size_t place) { return static_cast<std::ptrdiff_t>(place); }

/// Makes room for one more entry, so that adding it cannot fail.
template <typename List>
void makeRoom(List& list) {
    if (list.size() == list.capacity()) list.reserve(2 * list.size() + 1);
}

}  // namespace

// The slope is rounded up, so that the first number of a page is not placed on the page in front.
template <typename List>
void NumberedElements::fit(Steps& steps, const List& list) {
    steps = Steps();
    if (list.size() < 2) return;
    steps.second = list[1].lowest;
    steps.last = static_cast<unsigned int>(list.size() - 1);
    const std::uint64_t span = list.back().lowest - steps.second;
    if (span != 0) steps.perNumber = ((std::uint64_t{steps.last - 1U} << 32) + span - 1) / span;
}

// The place is usually close to the guess.
template <typename List>
std::size_t NumberedElements::placeNear(std::size_t guess, const List& list, unsigned int number) {
    const auto* const first = list.data();
    const auto* const end = first + list.size();
    const auto* at = first + guess;
    for (unsigned int k = 0; k < kStepsFromGuess; ++k) {
        if (number < at->lowest) {
            --at;
        } else if (at + 1 != end && at[1].lowest <= number) {
            ++at;
        } else {
            return static_cast<std::size_t>(at - first);
        }
    }
    // Branch-free: the taken half is unpredictable.
    std::size_t place = 0;
    for (std::size_t left = list.size(); left > 1;) {
        const std::size_t half = left / 2;
        place += first[place + half].lowest <= number ? half : 0;
        left -= half;
    }
    return place;
}

NumberedElements::Place NumberedElements::find(unsigned int number) const {
    const std::size_t place = findGroup(number);
    const Group& group = fGroups[place];
    return {place, placeNear(group.steps.guess(number), group.pages, number)};
}

bool NumberedElements::moveToNext(Place& place) const {
    if (++place.page != fGroups[place.group].pages.size()) return true;
    place.page = 0;
    return ++place.group != fGroups.size();
}

// Returns the first entry that is not below `number`. If no number is missing, the entry lies as
// far from the first as the number does.
std::size_t NumberedElements::entryOf(const Page& page, unsigned int number) {
    const Entries& entries = page.entries;
    const std::size_t guess = number - page.lowest;
    if (guess < entries.size() && entries[guess].number == number) return guess;
    if (entries.empty() || entries.back().number < number) return entries.size();
    std::size_t below = 0;  // this entry and those in front are below, or it is the first
    for (std::size_t left = entries.size(); left > 1;) {
        const std::size_t half = left / 2;
        below += entries[below + half].number < number ? half : 0;
        left -= half;
    }
    return entries[below].number < number ? below + 1 : below;
}

bool NumberedElements::hasAt(const Page& page, std::size_t entry, unsigned int number) {
    return entry != page.entries.size() && page.entries[entry].number == number;
}

// Here and below: if the guessed page has the number, no search is needed to confirm the page.
bool NumberedElements::has(unsigned int number) const {
    if (fSize == 0) return false;
    const Group& group = fGroups[findGroup(number)];
    const std::size_t guess = group.steps.guess(number);
    if (isContiguous(group.pages[guess], number)) return true;
    const Page& page = group.pages[placeNear(guess, group.pages, number)];
    return hasAt(page, entryOf(page, number), number);
}

char* NumberedElements::chunkOf(unsigned int number, std::size_t stride) const {
    if (fSize == 0) return nullptr;
    const Group& group = fGroups[findGroup(number)];
    const std::size_t guess = group.steps.guess(number);
    const Page& guessed = group.pages[guess];
    if (isContiguous(guessed, number)) return contiguousChunkOf(guessed, number, stride);
    const Page& page = group.pages[placeNear(guess, group.pages, number)];
    const std::size_t entry = entryOf(page, number);
    return hasAt(page, entry, number) ? page.entries[entry].chunk : nullptr;
}

char* NumberedElements::chunkIn(const Page& page, unsigned int number, std::size_t stride) {
    if (isContiguous(page, number)) return contiguousChunkOf(page, number, stride);
    const std::size_t entry = entryOf(page, number);
    return hasAt(page, entry, number) ? page.entries[entry].chunk : nullptr;
}

NumberedElements::Run NumberedElements::from(unsigned int number, std::size_t stride) const {
    if (fSize == 0) return {};
    Place place = find(number);
    std::size_t entry = entryOf(pageAt(place), number);
    while (entry == pageAt(place).entries.size()) {
        if (!moveToNext(place)) return {};
        entry = 0;
    }
    const Entries& entries = pageAt(place).entries;
    return {entries.data() + entry, entries.data() + entries.size(),
            contiguousFrom(place, entry, stride)};
}

// Looks at few pages only: a walk that inserts at each step would otherwise look at all pages at
// each step.
std::size_t NumberedElements::contiguousFrom(Place place, std::size_t entry,
                                             std::size_t stride) const {
    const Page* page = &pageAt(place);
    if (page->contiguousCount <= entry) return 0;
    const Entry& first = page->entries[entry];
    std::size_t contiguous = page->contiguousCount - entry;
    for (unsigned int ahead = 0; ahead < kPagesAhead; ++ahead) {
        if (page->contiguousCount < page->entries.size() || !moveToNext(place)) break;
        page = &pageAt(place);
        if (page->contiguousCount == 0 || page->contiguousNumber != first.number + contiguous ||
            page->contiguousChunk != first.chunk + contiguous * stride) {
            break;
        }
        contiguous += page->contiguousCount;
    }
    return contiguous;
}

// Updates the count after a change at entry `from`; the entries in front are as they were.
void NumberedElements::noteContiguous(Page& page, std::size_t from, std::size_t stride) {
    const Entries& entries = page.entries;
    std::size_t count = std::min(std::size_t{page.contiguousCount}, from);
    if (count == 0 && !entries.empty() && entries.front().chunk) {
        page.contiguousNumber = entries.front().number;
        page.contiguousChunk = entries.front().chunk;
        count = 1;
    }
    while (count != 0 && count < entries.size() &&
           entries[count].number == page.contiguousNumber + count &&
           entries[count].chunk == page.contiguousChunk + count * stride) {
        ++count;
    }
    page.contiguousCount = static_cast<unsigned int>(count);
}

NumberedElements::Page& NumberedElements::pageToChange(unsigned int number) {
    if (number - fRecentLowest >= fRecentReach) findToChange(number);
    return pageAt(fRecent);
}

void NumberedElements::findToChange(unsigned int number) {
    if (fGroups.empty()) {
        std::vector<Group> first(1);
        first.front().pages.resize(1);
        fGroups.swap(first);
    }
    fRecent = find(number);
    fRecentLowest = pageAt(fRecent).lowest;
    Place next = fRecent;
    const std::uint64_t end =
        moveToNext(next) ? std::uint64_t{pageAt(next).lowest} : std::uint64_t{1} << 32;
    fRecentReach = end - fRecentLowest;
}

char* NumberedElements::put(unsigned int number, char* chunk, std::size_t stride) {
    Page* page = &pageToChange(number);
    if (!page->entries.empty() && page->entries.size() < kPageSize &&
        page->entries.back().number < number) {
        append(*page, {number, chunk}, stride);
        return nullptr;
    }
    std::size_t entry = entryOf(*page, number);
    if (hasAt(*page, entry, number)) {
        char* const earlier = std::exchange(page->entries[entry].chunk, chunk);
        noteContiguous(*page, entry, stride);
        return earlier;
    }
    if (page->entries.size() == kPageSize) {
        // Don't split the page for a number at one of its ends.
        const bool isInside = entry > 0 && entry < kPageSize;
        split(isInside ? kPageSize / 2 : entry, stride);
        page = &pageToChange(number);
        entry = entryOf(*page, number);
    }
    page->entries.insert(page->entries.begin() + offset(entry), {number, chunk});
    noteContiguous(*page, entry, stride);
    // Not earlier: memory may have run out.
    fHighest = fSize == 0 ? number : std::max(fHighest, number);
    ++fSize;
    return nullptr;
}

void NumberedElements::append(Page& page, Entry entry, std::size_t stride) {
    const std::size_t inFront = page.entries.size();
    page.entries.push_back(entry);
    if (page.contiguousCount == inFront &&
        entry.number == page.contiguousNumber + page.contiguousCount &&
        entry.chunk == page.contiguousChunk + inFront * stride) {
        ++page.contiguousCount;
    }
    fHighest = fSize == 0 ? entry.number : std::max(fHighest, entry.number);
    ++fSize;
}

// Splits the page of the last change.
void NumberedElements::split(std::size_t at, std::size_t stride) {
    const Entries& entries = pageAt(fRecent).entries;
    const unsigned int lowest = pageAt(fRecent).lowest;
    const bool isAtEnd = at == entries.size();
    Page behind;
    behind.lowest = isAtEnd ? entries.back().number + 1 : entries[at].number;
    behind.entries.assign(entries.begin() + offset(at), entries.end());
    if (isAtEnd)
        behind.entries.reserve(kPageSize);  // reserved now, as the page must not stay empty
    noteContiguous(behind, 0, stride);
    addBehind(fRecent, std::move(behind));
    Page& front = pageToChange(lowest);
    front.entries.resize(at);
    front.contiguousCount = std::min(front.contiguousCount, static_cast<unsigned int>(at));
}

void NumberedElements::addBehind(Place place, Page&& page) {
    forget();
    ++place.page;
    if (fGroups[place.group].pages.size() == kGroupSize) splitGroup(place, page.lowest);
    Group& group = fGroups[place.group];
    group.pages.insert(group.pages.begin() + offset(place.page), std::move(page));
    fit(group.steps, group.pages);
}

// Makes room for a page that begins with `lowest`. Everything that can fail comes before anything
// moves.
void NumberedElements::splitGroup(Place& place, unsigned int lowest) {
    const std::size_t kept = place.page == kGroupSize ? kGroupSize : kGroupSize / 2;
    Group behind;
    behind.pages.reserve(kGroupSize);
    makeRoom(fGroups);
    Group& group = fGroups[place.group];
    const auto first = group.pages.begin() + offset(kept);
    behind.lowest = place.page == kept ? lowest : first->lowest;
    behind.pages.assign(std::move_iterator(first), std::move_iterator(group.pages.end()));
    group.pages.erase(first, group.pages.end());
    fit(group.steps, group.pages);
    fit(behind.steps, behind.pages);
    fGroups.insert(fGroups.begin() + offset(place.group + 1), std::move(behind));
    fit(fSteps, fGroups);
    if (place.page < kept) return;
    ++place.group;
    place.page -= kept;
}

void NumberedElements::erase(unsigned int number, std::size_t stride) {
    if (fSize == 0) return;
    Page& page = pageToChange(number);
    Entries& entries = page.entries;
    const std::size_t entry = entryOf(page, number);
    if (!hasAt(page, entry, number)) return;
    entries.erase(entries.begin() + offset(entry));
    if (entry == 0 && page.contiguousCount > 1) {
        --page.contiguousCount;
        ++page.contiguousNumber;
        page.contiguousChunk += stride;
    } else {
        noteContiguous(page, entry, stride);
    }
    --fSize;
    if (entries.empty()) remove(fRecent);
    if (number == fHighest && fSize != 0)
        fHighest = fGroups.back().pages.back().entries.back().number;
}

// The neighbouring page takes numbers that come later.
void NumberedElements::remove(Place place) {
    forget();
    Group& group = fGroups[place.group];
    if (group.pages.size() > 1) {
        if (place.page == 0) group.pages[1].lowest = group.pages[0].lowest;
        group.pages.erase(group.pages.begin() + offset(place.page));
        fit(group.steps, group.pages);
    } else if (place.group != 0) {
        fGroups.erase(fGroups.begin() + offset(place.group));
        fit(fSteps, fGroups);
    }
}

bool NumberedElements::takeOver(NumberedElements& later) {
    if (later.fSize == 0) return true;
    Group& first = later.fGroups.front();
    const unsigned int lowest = first.pages.front().entries.front().number;
    if (fSize == 0) {
        fGroups.swap(later.fGroups);
    } else {
        if (lowest <= fHighest) return false;
        fGroups.reserve(fGroups.size() + later.fGroups.size());
        first.lowest = first.pages.front().lowest = lowest;
        fit(first.steps, first.pages);
        std::move(later.fGroups.begin(), later.fGroups.end(), std::back_inserter(fGroups));
    }
    fit(fSteps, fGroups);
    fSize += later.fSize;
    fHighest = later.fHighest;
    forget();
    later.clear();
    return true;
}

void NumberedElements::clear() {
    std::vector<Group>().swap(fGroups);
    fSteps = Steps();
    forget();
    fSize = 0;
}

}  // namespace orbo::Data
