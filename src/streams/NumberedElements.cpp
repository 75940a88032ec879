// Chunks by number, in pages that lie in order.
// SPDX-License-Identifier: Apache-2.0
#include "streams/NumberedElements.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orbo::Data {

const NumberedElements::Place& NumberedElements::pageOf(unsigned int number) {
    if (fRecent.page && number - fRecent.page->lowest <= fRecentReach) return fRecent;
    return searchPageOf(number);
}

const NumberedElements::Place& NumberedElements::searchPageOf(unsigned int number) {
    if (fGroups.empty()) fGroups.try_emplace(0, 1U);
    const auto behind = fGroups.upper_bound(number);
    const auto found = std::prev(behind);
    const unsigned int end = behind == fGroups.end() ? 0 : behind->first;  // modulo 2^32
    Group& group = found->second;
    const std::size_t page = placeIn(group, number);
    const unsigned int next = page + 1 < group.size() ? group[page + 1].lowest : end;
    fRecentReach = next - group[page].lowest - 1;
    return fRecent = Place{found, &group[page]};
}

// Full pages of numbers without a gap lie where one would think.
std::size_t NumberedElements::placeIn(const Group& group, unsigned int number) {
    const std::size_t guess = (number - group.front().lowest) / kPageSize;
    if (guess < group.size() && group[guess].lowest <= number &&
        (guess + 1 == group.size() || number < group[guess + 1].lowest)) {
        return guess;
    }
    // Which half is as good as random: without a branch nothing is guessed wrongly.
    std::size_t page = 0;
    for (std::size_t left = group.size(); left > 1;) {
        const std::size_t half = left / 2;
        page += group[page + half].lowest <= number ? half : 0;
        left -= half;
    }
    return page;
}

bool NumberedElements::moveToNext(Place& place) {
    Group& group = place.group->second;
    if (++place.page != group.data() + group.size()) return true;
    if (++place.group == fGroups.end()) return false;
    place.page = place.group->second.data();
    return true;
}

// The first that is not below. Where no number is left out it lies as far behind as the number
// does.
NumberedElements::Entries::iterator NumberedElements::entryOf(Page& page, unsigned int number) {
    Entries& entries = page.entries;
    const std::size_t guess = number - page.lowest;
    if (guess < entries.size() && entries[guess].number == number)
        return entries.begin() + static_cast<std::ptrdiff_t>(guess);
    if (entries.empty() || entries.back().number < number) return entries.end();
    return std::lower_bound(
        entries.begin(), entries.end(), number,
        [](const Entry& entry, unsigned int wanted) { return entry.number < wanted; });
}

bool NumberedElements::has(const Page& page, Entries::iterator entry, unsigned int number) {
    return entry != page.entries.end() && entry->number == number;
}

NumberedElements::Entry& NumberedElements::toBeChanged(Page& page, Entries::iterator entry) {
    const auto inFront = static_cast<unsigned int>(entry - page.entries.begin());
    page.evenCount = std::min(page.evenCount, inFront);
    return *entry;
}

NumberedElements::Entry* NumberedElements::find(unsigned int number) {
    if (fSize == 0) return nullptr;
    Page& page = *pageOf(number).page;
    const auto entry = entryOf(page, number);
    return has(page, entry, number) ? &toBeChanged(page, entry) : nullptr;
}

bool NumberedElements::has(unsigned int number) const {
    if (fSize == 0) return false;
    Page& page = *const_cast<NumberedElements*>(this)->pageOf(number).page;
    return has(page, entryOf(page, number), number);
}

char* NumberedElements::chunkOf(unsigned int number, std::size_t stride) {
    if (fSize == 0) return nullptr;
    Page& page = *pageOf(number).page;
    const std::size_t at = number - page.evenNumber;
    if (at < page.evenCount) return page.evenChunk + at * stride;
    const auto entry = entryOf(page, number);
    if (!has(page, entry, number)) return nullptr;
    noteEven(page, stride);
    return entry->chunk;
}

// Takes up where it stopped, and so takes no longer in all than the elements took to come.
void NumberedElements::noteEven(Page& page, std::size_t stride) {
    const Entries& entries = page.entries;
    std::size_t count = page.evenCount;
    if (count == 0 && !entries.empty() && entries.front().chunk) {
        page.evenNumber = entries.front().number;
        page.evenChunk = entries.front().chunk;
        count = 1;
    }
    while (count != 0 && count < entries.size() &&
           entries[count].number == page.evenNumber + count &&
           entries[count].chunk == page.evenChunk + count * stride) {
        ++count;
    }
    page.evenCount = static_cast<unsigned int>(count);
}

NumberedElements::Run NumberedElements::from(unsigned int number, std::size_t stride) {
    if (fSize == 0) return {};
    Place place = pageOf(number);
    auto entry = entryOf(*place.page, number);
    while (entry == place.page->entries.end()) {
        if (!moveToNext(place)) return {};
        entry = place.page->entries.begin();
    }
    const Page& page = *place.page;
    return {&*entry, page.entries.data() + page.entries.size(), evenFrom(place, &*entry, stride)};
}

// Over few pages only: an insertion at each step must not make a walk look at all of them each
// time.
std::size_t NumberedElements::evenFrom(Place place, const Entry* entry, std::size_t stride) {
    noteEven(*place.page, stride);
    const auto at = static_cast<std::size_t>(entry - place.page->entries.data());
    if (place.page->evenCount <= at) return 0;
    std::size_t even = place.page->evenCount - at;
    for (unsigned int ahead = 0; ahead < kPagesAhead; ++ahead) {
        if (place.page->evenCount < place.page->entries.size() || !moveToNext(place)) break;
        noteEven(*place.page, stride);
        const Page& page = *place.page;
        if (page.evenCount == 0 || page.evenNumber != entry->number + even ||
            page.evenChunk != entry->chunk + even * stride) {
            break;
        }
        even += page.evenCount;
    }
    return even;
}

NumberedElements::Entry& NumberedElements::insert(unsigned int number) {
    Page* page = pageOf(number).page;
    auto entry = entryOf(*page, number);
    if (has(*page, entry, number)) return toBeChanged(*page, entry);
    if (page->entries.size() == kPageSize) {
        // At an end of the page the neighbours stay together.
        const auto at = static_cast<std::size_t>(entry - page->entries.begin());
        const bool isInside = at > 0 && at < kPageSize;
        split(fRecent, isInside ? kPageSize / 2 : at);
        page = pageOf(number).page;
        entry = entryOf(*page, number);
    }
    const bool isLast = entry == page->entries.end();
    entry = page->entries.insert(entry, {number, nullptr});
    // Only now: memory may have run out.
    fHighest = fSize == 0 ? number : std::max(fHighest, number);
    ++fSize;
    return isLast ? *entry : toBeChanged(*page, entry);
}

void NumberedElements::split(Place place, std::size_t at) {
    const Entries& entries = place.page->entries;
    const unsigned int lowest = place.page->lowest;
    const bool isAtEnd = at == entries.size();
    const auto first = entries.begin() + static_cast<std::ptrdiff_t>(at);
    Page behind;
    behind.lowest = isAtEnd ? entries.back().number + 1 : first->number;
    behind.entries.assign(first, entries.end());
    if (isAtEnd) behind.entries.reserve(kPageSize);  // without which it may not stay empty
    addBehind(place, std::move(behind));
    Page& front = *pageOf(lowest).page;
    front.entries.resize(at);
    front.evenCount = std::min(front.evenCount, static_cast<unsigned int>(at));
}

void NumberedElements::addBehind(const Place& place, Page&& page) {
    Group* group = &place.group->second;
    auto at = static_cast<std::size_t>(place.page - group->data()) + 1;
    forget();
    if (group->size() == kGroupSize) {
        const std::size_t kept = at == kGroupSize ? at : kGroupSize / 2;
        const auto first = group->begin() + static_cast<std::ptrdiff_t>(kept);
        Group empty;
        empty.reserve(kGroupSize);  // all that can fail comes before anything moves
        Group& behind =
            fGroups.try_emplace(at == kept ? page.lowest : first->lowest, std::move(empty))
                .first->second;
        behind.assign(std::move_iterator(first), std::move_iterator(group->end()));
        group->erase(first, group->end());
        if (at >= kept) {
            group = &behind;
            at -= kept;
        }
    }
    group->insert(group->begin() + static_cast<std::ptrdiff_t>(at), std::move(page));
}

void NumberedElements::erase(unsigned int number) {
    if (fSize == 0) return;
    const Place place = pageOf(number);
    Entries& entries = place.page->entries;
    const auto entry = entryOf(*place.page, number);
    if (!has(*place.page, entry, number)) return;
    toBeChanged(*place.page, entry);
    entries.erase(entry);
    --fSize;
    if (entries.empty()) remove(place);
    if (number == fHighest && fSize != 0)
        fHighest = fGroups.rbegin()->second.back().entries.back().number;
}

// Its neighbour's page takes what may come.
void NumberedElements::remove(const Place& place) {
    Group& group = place.group->second;
    if (group.size() > 1) {
        const auto at = place.page - group.data();
        if (at == 0) group[1].lowest = group[0].lowest;
        group.erase(group.begin() + at);
    } else if (place.group->first != 0) {
        fGroups.erase(place.group);
    }
    forget();
}

void NumberedElements::clear() {
    fGroups.clear();
    forget();
    fSize = 0;
}

}  // namespace orbo::Data
