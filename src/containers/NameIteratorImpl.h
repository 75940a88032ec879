// The code of the iterators over names.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/NameIterator.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>
#include <stdexcept>
#include <string>

namespace orbo::Data {

/// What a source must define for its iterator ahead of instantiating `NameIterator`: the set that
/// the iterator walks, how a part lies in it, and the words of messages and dumps.
template <typename Iterator>
struct IteratorTraits;

template <typename Iterator, typename Part>
class NameIterator<Iterator, Part>::Impl {
  public:
    using Traits = IteratorTraits<Iterator>;

    /// Throws when there is no part here.
    [[nodiscard]] Part& current(const char* operation) const {
        if (!position.valid()) throw std::out_of_range(refusal(operation));
        return Traits::part(*position);
    }
    /// An end must not sort: it is asked for while others walk.
    template <typename Shared>
    void moveTo(IterLocation location, const Shared& shared) {
        typename Traits::Set& set =
            location == kBegin ? Traits::sorted(shared) : Traits::unsorted(shared);
        position = {set, location == kBegin ? set.begin() : set.end()};
    }

    typename Traits::Set::Position position;

  private:
    // "ChannelImpl::Iterator::operator*"; callers know the messages by these words.
    static std::string refusal(const std::string& operation) {
        const bool isConst = operation.front() == 'c';
        return (isConst ? "const " : "") + std::string(Traits::kContainer) +
               "Impl::Iterator::" + operation.substr(isConst ? 6 : 0);
    }
};

template <typename Iterator, typename Part>
NameIterator<Iterator, Part>::NameIterator() : fImpl(new Impl) {}

template <typename Iterator, typename Part>
NameIterator<Iterator, Part>::NameIterator(const NameIterator& other)
    : fImpl(new Impl(other.impl())) {}

template <typename Iterator, typename Part>
NameIterator<Iterator, Part>& NameIterator<Iterator, Part>::operator=(const NameIterator& other) {
    impl() = other.impl();
    return *this;
}

template <typename Iterator, typename Part>
NameIterator<Iterator, Part>::~NameIterator() = default;

template <typename Iterator, typename Part>
bool NameIterator<Iterator, Part>::operator==(const Iterator& other) const {
    return impl().position == other.impl().position;
}

template <typename Iterator, typename Part>
Part& NameIterator<Iterator, Part>::operator*() {
    return impl().current("operator*");
}

template <typename Iterator, typename Part>
const Part& NameIterator<Iterator, Part>::operator*() const {
    return impl().current("operator*");
}

template <typename Iterator, typename Part>
Part* NameIterator<Iterator, Part>::operator->() {
    return &impl().current("operator->");
}

template <typename Iterator, typename Part>
const Part* NameIterator<Iterator, Part>::operator->() const {
    return &impl().current("const operator->");
}

template <typename Iterator, typename Part>
Iterator& NameIterator<Iterator, Part>::operator++() {
    impl().position.step();
    return static_cast<Iterator&>(*this);
}

template <typename Iterator, typename Part>
Iterator NameIterator<Iterator, Part>::operator++(int) {
    Iterator before(static_cast<const Iterator&>(*this));
    ++*this;
    return before;
}

template <typename Iterator, typename Part>
bool NameIterator<Iterator, Part>::valid() const {
    return impl().position.valid();
}

template <typename Iterator, typename Part>
bool NameIterator<Iterator, Part>::Debug(const Iterator* iterator, Debug::Print& print) {
    if (!iterator) return true;
    std::ostream& out = print << Impl::Traits::kContainer << "Iterator ";
    if (iterator->valid()) {
        out << "positioned at " << Impl::Traits::kPart << ' ' << (*iterator)->name() << ".\n";
    } else {
        out << "postioned at the end.\n";  // spelt so for those who search for it
    }
    return true;
}

template <typename Iterator, typename Part>
bool NameIterator<Iterator, Part>::Debug(const Iterator* iterator, Debug::Footprint& footprint) {
    if (iterator) footprint.addObject(iterator, sizeof(Iterator));
    return true;
}

}  // namespace orbo::Data
