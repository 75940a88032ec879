// The elements of a stream, each with its index, for a loop over all of them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ConstHandle.h>
#include <data/ElementHandle.h>
#include <data/ElementIndex.h>
#include <debug/Export.h>

#include <cstddef>
#include <string>  // it has the iterator categories; <iterator> takes a compiler long
#include <utility>

namespace orbo::Data {

class StreamImpl;

/// Tells `StreamElements` where the elements are, and keeps the storage alive. Programs have no use
/// for it.
class METADATA_API ElementPlaces {
  public:
    /// Elements with consecutive numbers, whose chunks lie at equal distances.
    struct Stretch {
        const char* chunk = nullptr;
        unsigned int number = 0;
        unsigned int left = 0;  // elements behind the first
    };
    /// An element whose index is no number, and its chunk.
    using Typed = std::pair<const Index, char*>;

    explicit ElementPlaces(const StreamImpl& storage);
    ElementPlaces(const ElementPlaces&) = delete;
    ElementPlaces& operator=(const ElementPlaces&) = delete;
    ~ElementPlaces();

  private:
    template <typename Element>
    friend class StreamElements;
    class Collector;

    const StreamImpl& fStorage;
    ElementHandle fBlank;           // for the elements, without data
    std::size_t fStep = 0;          // bytes from one chunk of a stretch to the next
    const Stretch* fStretch;        // the first
    const Stretch* fEnd;            // behind the last
    const Typed* const* fTyped;     // the first of those behind the numbers, with null at their end
    const Typed* const* fTypedEnd;  // at the null
    Stretch fAll;                   // dense storage needs no other
    Collector* fCollector = nullptr;  // owned; keeps those of mapped storage
};

/// Moves the handle of a loop. Programs have no use for it.
class HandleStep {
  public:
    static void advance(ConstHandle& handle, std::size_t bytes) { handle.fData += bytes; }
    static void point(ConstHandle& handle, const char* chunk) { handle.fData = chunk; }
};

/// `Stream::elements` returns this range of pairs of an index and an element, in index order.
///
/// In dense storage a step costs what a step along an array costs. In mapped storage making the
/// range takes a few bytes for each gap between the numbers and for each typed index, and the time
/// to look at them; it throws `std::bad_alloc` when memory runs out.
///
///     for (auto [index, element] : stream.elements()) {
///         std::cout << index.asString() << ": " << element.get<float>("radius") << '\n';
///     }
///
/// The element is an `ElementHandle`, which can change it, or a `ConstHandle` when the stream is
/// `const`. Both parts of a pair outlive the step and the loop: the element as long as handles on
/// elements do (see `Stream`), and the index until the element is removed.
///
/// Inside the loop values may be read and set. Elements must not be added or removed, and the
/// structure must not get members, as long as the range is used. The range keeps the elements
/// alive, so that the stream itself may be a temporary.
///
/// Where only some elements are wanted, `Stream::element` finds each by its index. Where one member
/// of dense elements is wanted, `Stream::column` gives it as plain memory.
template <typename Element>
class StreamElements {
  public:
    /// Holds one pair. Copying it takes constant time, whatever the index is.
    struct value_type {
        ElementIndex index;
        Element element;
    };

    /// Goes from pair to pair; good as long as the range is. Only iterators of one range may be
    /// compared.
    class iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = StreamElements::value_type;
        using difference_type = std::ptrdiff_t;
        using pointer = const value_type*;
        using reference = const value_type&;

        /// An iterator of no range; only copying into it is of use.
        iterator() = default;
        /// The pair is the iterator's own, and another one after the next step.
        const value_type& operator*() const { return fNow; }
        const value_type* operator->() const { return &fNow; }
        /// Goes to the next pair. Must not be called at the end.
        iterator& operator++() {
            if (--fLeft != 0) {
                ++fNow.index.fNumber;
                HandleStep::advance(fNow.element, fStep);
            } else {
                leave();
                enter();
            }
            return *this;
        }
        /// The copy is of no use but to be read; making it takes constant time.
        iterator operator++(int) {
            iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const iterator& other) const {
            return fLeft == other.fLeft && fStretch == other.fStretch && fTyped == other.fTyped;
        }
        bool operator!=(const iterator& other) const { return !(*this == other); }

      private:
        friend class StreamElements;
        iterator(const ElementPlaces& places, const ElementPlaces::Stretch* stretch,
                 const ElementPlaces::Typed* const* typed)
            : fNow{ElementIndex(), Element(places.fBlank)},
              fStep(places.fStep),
              fStretch(stretch),
              fEnd(places.fEnd),
              fTyped(typed) {}
        void leave() {
            if (fStretch != fEnd) {
                ++fStretch;
            } else {
                ++fTyped;
            }
        }
        void enter() {
            if (fStretch != fEnd) {
                fLeft = std::size_t{fStretch->left} + 1;
                fNow.index = ElementIndex(fStretch->number, nullptr);
                HandleStep::point(fNow.element, fStretch->chunk);
            } else if (*fTyped) {
                fLeft = 1;
                fNow.index = ElementIndex(0, &(*fTyped)->first);
                HandleStep::point(fNow.element, (*fTyped)->second);
            }
        }

        value_type fNow;
        std::size_t fStep = 0;
        std::size_t fLeft = 0;  // in the stretch, this one included; 0 only at the end
        const ElementPlaces::Stretch* fStretch = nullptr;
        const ElementPlaces::Stretch* fEnd = nullptr;
        const ElementPlaces::Typed* const* fTyped = nullptr;
    };
    using const_iterator = iterator;

    /// Every loop begins anew, and several may run at once, in several threads too. Beginning one
    /// takes constant time and never fails.
    [[nodiscard]] iterator begin() const {
        iterator first(fPlaces, fPlaces.fStretch, fPlaces.fTyped);
        first.enter();
        return first;
    }
    [[nodiscard]] iterator end() const {
        return iterator(fPlaces, fPlaces.fEnd, fPlaces.fTypedEnd);
    }
    /// Returns true when the stream had no elements as the range was made.
    [[nodiscard]] bool empty() const { return begin() == end(); }

  private:
    friend class Stream;
    explicit StreamElements(const StreamImpl& storage) : fPlaces(storage) {}

    ElementPlaces fPlaces;
};

}  // namespace orbo::Data
