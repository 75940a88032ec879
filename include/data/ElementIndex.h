// The index of an element that a walk over a stream has come to.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Index.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Stands for an `Index`, without the cost of one: a copy is two words. It is good until its
/// element is removed; `Index kept = index;` keeps the index for good.
///
///     for (auto [index, element] : stream.elements()) {
///         if (index == 5 || index == "lid") std::cout << index.asString() << '\n';
///     }
///
/// It refers to the stream's own index, so it must not be used when the element is gone, nor when
/// the last stream that shares the storage is. Making and copying one takes constant time and never
/// fails. Any number of threads may use one object at once.
class METADATA_API ElementIndex {
  public:
    /// Makes the number 0.
    ElementIndex() = default;
    /// Makes a copy that lives on its own. A typed value is copied: `std::bad_alloc` is thrown when
    /// memory runs out.
    operator Index() const;  // NOLINT(google-explicit-constructor): it is that index

    /// Gives the number; 0 for a typed index.
    [[nodiscard]] unsigned int index() const { return fNumber; }
    /// Gives the typed value, which the stream owns; null for a number.
    [[nodiscard]] const IndexType* complexIndex() const {
        return fTyped ? fTyped->complexIndex() : nullptr;
    }
    /// Gives "5", "3 7" or "lid": the text that `Index::doCreate` makes an equal index of.
    [[nodiscard]] std::string asString() const;
    /// Gives "numeric", "pair", "string", or what a plug-in has registered. Both texts are copies,
    /// which throw `std::bad_alloc` when memory runs out.
    [[nodiscard]] std::string typeName() const;

    /// Compares with a number of any type, a text as `IndexString`, a typed value, an `Index`, or
    /// another one of these. A number that no index can have, such as -1, equals none. Comparing
    /// takes no memory, but for a `std::string`, which becomes an `Index`: it throws
    /// `Index::eCreationErrors` when it shows no number.
    template <typename Key, detail::IfIndexKey<Key> = 0>
    friend bool operator==(const ElementIndex& index, const Key& key) {
        return index.equals(key);
    }
    template <typename Key, detail::IfIndexKey<Key> = 0>
    friend bool operator==(const Key& key, const ElementIndex& index) {
        return index.equals(key);
    }
    template <typename Key, detail::IfIndexKey<Key> = 0>
    friend bool operator!=(const ElementIndex& index, const Key& key) {
        return !index.equals(key);
    }
    template <typename Key, detail::IfIndexKey<Key> = 0>
    friend bool operator!=(const Key& key, const ElementIndex& index) {
        return !index.equals(key);
    }
    friend bool operator==(const ElementIndex& index, const IndexType& value) {
        return index.fTyped && *index.fTyped == value;
    }
    friend bool operator!=(const ElementIndex& index, const IndexType& value) {
        return !(index == value);
    }
    friend bool operator==(const ElementIndex& index, const Index& other) {
        return index.fTyped ? *index.fTyped == other : other == index.fNumber;
    }
    friend bool operator!=(const ElementIndex& index, const Index& other) {
        return !(index == other);
    }
    friend bool operator==(const Index& other, const ElementIndex& index) { return index == other; }
    friend bool operator!=(const Index& other, const ElementIndex& index) {
        return !(index == other);
    }
    friend bool operator==(const ElementIndex& index, const ElementIndex& other) {
        return other.fTyped ? index == *other.fTyped : index == other.fNumber;
    }
    friend bool operator!=(const ElementIndex& index, const ElementIndex& other) {
        return !(index == other);
    }

  private:
    template <typename Element>
    friend class StreamElements;

    ElementIndex(unsigned int number, const Index* typed) : fNumber(number), fTyped(typed) {}

    template <typename Key>
    [[nodiscard]] bool equals(const Key& key) const {
        if constexpr (detail::isTextKey<Key>) {
            return fTyped && *fTyped == key;
        } else {
            return !fTyped && detail::isIndexNumber(key) && fNumber == static_cast<unsigned>(key);
        }
    }

    unsigned int fNumber = 0;
    const Index* fTyped = nullptr;  // in the storage; null for a number
};

}  // namespace orbo::Data
