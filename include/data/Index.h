// Names one element of a stream: a number, or a value of a registered index type.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/TextArgument.h>
#include <data/detail/IndexKey.h>
#include <debug/Counted.h>
#include <debug/Export.h>

#include <map>
#include <string>

namespace orbo::Debug {
class Footprint;
class Print;
}  // namespace orbo::Debug

namespace orbo::Data {

class Index;
class IndexType;

/// Makes an index from its text form; throws `Index::eCreationErrors` when it cannot.
using IndexCreator = Index (*)(const std::string& text);

/// Is a number from 0 to 4294967295, or a typed value such as a pair or a string. Numbers sort
/// before typed values, and typed values of different types by type name.
///
///     Index face = 5;                    Index edge(3, 7);
///     Index joint = IndexString("lid");  Index asText(std::string("5"));
///     if (face == 5 && edge == IndexPair(3, 7) && joint == "lid") ...
///
/// Copying a typed index copies its value, which takes memory; assigning one shares the value.
class METADATA_API Index : public Counted<Index> {
  public:
    /// Thrown by value where a text is no index.
    enum eCreationErrors { eCreatorNotFound = 0, eMalformedIndex = 1, eTrailingData = 2 };
    using IndexCreator = orbo::Data::IndexCreator;

    /// Makes the number 0. This constructor does not count, but the destructor of its index does:
    /// `objectsAlive` may fall below the number of live indices.
    Index();
    Index(unsigned int number);  // NOLINT(google-explicit-constructor): numbers are indices
    /// Makes the pair of the two numbers, as `IndexPair`: `stream.element({3, 7})`. Throws
    /// `std::out_of_range` for a number below 0 or above 4294967295.
    template <typename First, typename Second, detail::IfNumbers<First, Second> = 0>
    Index(First first, Second second) : Index(pairOf(checked(first), checked(second))) {}
    /// Makes the same of two numbers in a `std::array`.
    template <typename Pair, detail::IfNumberPair<Pair> = 0>
    // NOLINTNEXTLINE(google-explicit-constructor): pairs are indices
    Index(const Pair& pair) : Index(pair[0], pair[1]) {}
    /// Takes the number that the text shows, with blanks, tabs and carriage returns around it.
    /// Throws `eMalformedIndex` for any other text and `eTrailingData` for two numbers.
    Index(const std::string& text);  // NOLINT(google-explicit-constructor): so is their text
    /// Copies the typed value. This and all that copies a typed index throw `std::bad_alloc` when
    /// memory runs out.
    Index(const IndexType& value);  // NOLINT(google-explicit-constructor): so are typed values
    Index(const Index& other);
    /// Takes the other's typed value; the other becomes a number.
    Index(Index&& other) noexcept;
    ~Index();

    /// Shares the other's typed value: changing it through one changes both. An index that is
    /// assigned to itself loses its typed value and becomes the number it last held.
    Index& operator=(const Index& other);
    Index& operator=(unsigned int number);

    /// Makes the index that a plain value names: a number, or a text as `IndexString`. Throws
    /// `std::out_of_range` for a number below 0 or above 4294967295.
    template <typename Key, detail::IfIndexKey<Key> = 0>
    [[nodiscard]] static Index of(const Key& key) {
        if constexpr (detail::isTextKey<Key>) {
            return ofText(key);
        } else {
            return Index(checked(key));
        }
    }
    static const Index& of(const Index& index) { return index; }

    /// Gives the number; 0 for a typed index.
    [[nodiscard]] unsigned int index() const { return fType ? 0 : fNumber; }
    operator unsigned int() const { return index(); }  // NOLINT(google-explicit-constructor)
    /// Gives the typed value, which the index owns; null for a number.
    [[nodiscard]] const IndexType* complexIndex() const { return fType; }
    [[nodiscard]] IndexType* complexIndex() { return fType; }
    operator IndexType*() { return fType; }  // NOLINT(google-explicit-constructor)

    /// "5", "3 7" or "lid": the text that `doCreate` makes an equal index of.
    [[nodiscard]] std::string asString() const;
    /// "numeric", "pair", "string", or what a plug-in has registered.
    [[nodiscard]] std::string typeName() const;
    /// "numeric".
    static std::string theTypeName();

    /// Tells whether dense storage makes sense for such indices.
    [[nodiscard]] bool supportsDenseMode() const;
    /// Gives the number of elements from one index to the other, both included, modulo 2^32; 0 when
    /// the types differ.
    [[nodiscard]] unsigned int denseSpaceBetween(const Index& other) const;

    /// A number and a typed value are never equal, and neither are values of two types. Numbers
    /// sort before typed values, by their size; typed values sort as their type says, by which the
    /// elements of a stream are in order. None of these takes memory.
    bool operator==(const Index& other) const;
    bool operator!=(const Index& other) const;
    bool operator<(const Index& other) const;
    bool operator<=(const Index& other) const;
    bool operator>(const Index& other) const;
    bool operator>=(const Index& other) const;
    /// Compares with a number of any type, a text as `IndexString`, or a typed value. A number that
    /// no index can have, such as -1, equals none.
    template <typename Key, detail::IfIndexKey<Key> = 0>
    friend bool operator==(const Index& index, const Key& key) {
        return index.equals(key);
    }
    template <typename Key, detail::IfIndexKey<Key> = 0>
    friend bool operator==(const Key& key, const Index& index) {
        return index.equals(key);
    }
    template <typename Key, detail::IfIndexKey<Key> = 0>
    friend bool operator!=(const Index& index, const Key& key) {
        return !index.equals(key);
    }
    template <typename Key, detail::IfIndexKey<Key> = 0>
    friend bool operator!=(const Key& key, const Index& index) {
        return !index.equals(key);
    }
    friend bool operator==(const std::string& text, const Index& index) {
        return index == Index(text);
    }
    friend bool operator!=(const std::string& text, const Index& index) {
        return index != Index(text);
    }
    friend bool operator==(const Index& index, const IndexType& value) {
        return index.equalsValue(value);
    }
    friend bool operator==(const IndexType& value, const Index& index) {
        return index.equalsValue(value);
    }
    friend bool operator!=(const Index& index, const IndexType& value) {
        return !index.equalsValue(value);
    }
    friend bool operator!=(const IndexType& value, const Index& index) {
        return !index.equalsValue(value);
    }

    /// Gives the creator of a registered type, null when null was registered. Throws
    /// `eCreatorNotFound` for a type that nobody registered.
    static IndexCreator creator(const std::string& typeName);
    /// Makes an index of that type from its text form. Throws `eCreatorNotFound` for a type without
    /// a creator, and what the creator throws.
    static Index doCreate(const std::string& typeName, const std::string& text);

    /// The first prints the number, and nothing for a typed index; the second adds the index. Both
    /// return true.
    static bool Debug(const Index* index, Debug::Print& print);
    static bool Debug(const Index* index, Debug::Footprint& footprint);
    using Counted<Index>::Debug;

  private:
    friend class IndexType;
    friend class IndexTypes;

    using Creators = std::map<std::string, IndexCreator>;
    static Creators& creators();
    static bool registerType(const std::string& typeName, IndexCreator creator);
    static void deregisterType(const std::string& typeName);
    static Index TypeCreator(const std::string& text);
    static Index take(IndexType* fresh);

    static Index ofText(TextArgument text);
    static Index pairOf(unsigned int first, unsigned int second);
    [[noreturn]] static void refuseNumber(bool isNegative, unsigned long long number);
    template <typename Number>
    static unsigned int checked(Number number) {
        if (!detail::isIndexNumber(number))
            refuseNumber(number < Number(), static_cast<unsigned long long>(number));
        return static_cast<unsigned int>(number);
    }
    template <typename Key>
    [[nodiscard]] bool equals(const Key& key) const {
        if constexpr (detail::isTextKey<Key>) {
            return equalsText(key);
        } else {
            return !fType && detail::isIndexNumber(key) && fNumber == static_cast<unsigned>(key);
        }
    }
    [[nodiscard]] bool equalsText(TextArgument text) const;
    [[nodiscard]] bool equalsValue(const IndexType& value) const;

    unsigned int fNumber = 0;
    IndexType* fType = nullptr;  // one reference
};

}  // namespace orbo::Data
