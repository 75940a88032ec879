// The elements of a stream, each with its index, for a loop over all of them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ConstHandle.h>
#include <data/ElementHandle.h>
#include <data/ElementIndex.h>
#include <debug/Export.h>

#include <cstddef>
#include <string>  // has the iterator categories; <iterator> takes a compiler long

namespace orbo::Data {

class StreamImpl;
class StreamIteratorImpl;

class HandleStep {
  public:
    static void advance(ConstHandle& handle, std::size_t bytes) { handle.fData += bytes; }
};

/// Where `StreamElements` finds the elements; of no use to programs. Keeps the storage alive.
class METADATA_API ElementWalk {
  public:
    /// Elements with consecutive numbers, whose chunks lie at equal distances.
    struct Stretch {
        ElementHandle first;
        std::size_t step = 0;  // bytes from one chunk to the next
        unsigned int number = 0;
        unsigned int left = 0;         // elements behind the first
        const Index* typed = nullptr;  // the index of an element that has no number
        bool isEnd = true;             // behind the last element
    };

    explicit ElementWalk(const StreamImpl& storage);
    ElementWalk(const ElementWalk&) = delete;
    ElementWalk& operator=(const ElementWalk&) = delete;
    ~ElementWalk();

    /// The stretch that the elements begin with, and the one behind the last that was given.
    [[nodiscard]] Stretch first();
    [[nodiscard]] Stretch next();

  private:
    const StreamImpl& fStorage;
    StreamIteratorImpl* fPlace = nullptr;  // owned
};

/// What `Stream::elements` returns: a range of pairs of an index and an element, in index order. A
/// step of the loop costs what a step along an array costs where elements have consecutive numbers.
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
/// structure must not get members, until the loop has ended. The range keeps the elements alive, so
/// that the stream itself may be a temporary. It serves one loop at a time.
template <typename Handle>
class StreamElements {
  public:
    /// One pair.
    struct value_type {
        ElementIndex index;
        Handle element;
    };

    /// Passes along the range once. Only `begin` and `end` of one range may be compared.
    class iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = StreamElements::value_type;
        using difference_type = std::ptrdiff_t;
        using pointer = const value_type*;
        using reference = const value_type&;

        /// The end of every range.
        iterator() = default;
        const value_type& operator*() const { return fNow; }
        const value_type* operator->() const { return &fNow; }
        iterator& operator++() {
            if (fLeft != 0) {
                --fLeft;
                ++fNow.index.fNumber;
                HandleStep::advance(fNow.element, fStep);
            } else {
                enter(fWalk->next());
            }
            return *this;
        }
        iterator operator++(int) {
            iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const iterator& other) const { return fWalk == other.fWalk; }
        bool operator!=(const iterator& other) const { return fWalk != other.fWalk; }

      private:
        friend class StreamElements;
        explicit iterator(ElementWalk& walk) : fWalk(&walk) { enter(walk.first()); }
        void enter(const ElementWalk::Stretch& stretch) {
            if (stretch.isEnd) fWalk = nullptr;
            fNow = {ElementIndex(stretch.number, stretch.typed), stretch.first};
            fStep = stretch.step;
            fLeft = stretch.left;
        }

        value_type fNow;
        std::size_t fStep = 0;
        unsigned int fLeft = 0;
        ElementWalk* fWalk = nullptr;  // null at the end
    };
    using const_iterator = iterator;

    /// Starts again each time, and ends a loop that is under way.
    [[nodiscard]] iterator begin() const { return iterator(fWalk); }
    [[nodiscard]] iterator end() const { return iterator(); }

  private:
    friend class Stream;
    explicit StreamElements(const StreamImpl& storage) : fWalk(storage) {}

    mutable ElementWalk fWalk;
};

}  // namespace orbo::Data
