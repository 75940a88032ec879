// A named, indexed collection of elements of one structure.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ConstHandle.h>
#include <data/EditResult.h>
#include <data/Handle.h>
#include <data/Index.h>
#include <data/StreamColumn.h>
#include <data/StreamElements.h>
#include <data/StreamIterator.h>
#include <debug/Counted.h>
#include <debug/Export.h>

#include <cstdint>
#include <string>

namespace orbo::Data {

class StreamImpl;
class Structure;

/// A handle on shared storage: copies see each other's changes until one calls `makeUnique`.
///
///     Stream joints(structure, "bind pose");
///     joints.setIndexType("string");
///     joints.emplaceElement("lid").set("radius", 1.5F);
///     float radius = joints.element("lid").get<float>("radius");
///     for (auto [index, element] : joints.elements()) element.set("radius", radius);
///
/// Storage is mapped (elements under any index, where they were set) or dense (one array over the
/// numbers from 0, in which every number below the count is an element). Dense storage takes every
/// typed index for the number 0, so that elements of two pairs overwrite each other. Neither checks
/// the type of an index against `indexType`.
///
/// Handles and iterators on elements are good until the last stream that shares the storage dies,
/// until the element is removed, until dense storage grows, or until the structure gets members.
///
/// An index is an `Index`, a number of any type, a pair `{3, 7}`, or a text, which means an
/// `IndexString`; a `std::string` is an exception, for it means the number in it, as `Index` does.
/// Numbers that no index can have, such as -1, name no element: look-ups find nothing, and edits
/// throw `std::out_of_range`.
///
/// Any number of threads may look for elements and walk them at once, through one stream object or
/// several that share the storage, as long as nobody changes the storage or its structure. That
/// holds for everything `const`, and for `element`, `elements`, `begin`, `end` and `column` of a
/// stream that is not.
class METADATA_API Stream : public Counted<Stream> {
  public:
    using iterator = StreamIterator;
    using const_iterator = StreamIterator;

    /// Makes an empty stream with mapped storage and numeric indices. It keeps the structure alive.
    Stream(const Structure& structure, const std::string& name);
    Stream(const Stream& other);
    Stream& operator=(const Stream& other);
    /// Returns true when both share their storage.
    bool operator==(const Stream& other) const;
    bool operator!=(const Stream& other) const { return !(*this == other); }
    ~Stream();

    [[nodiscard]] const std::string& name() const;
    [[nodiscard]] const Structure& structure() const;
    /// "numeric" unless set: the type that formats write and read the indices as.
    [[nodiscard]] const std::string& indexType() const;
    [[nodiscard]] bool isDense() const;
    /// A flag for callers; the library does not use it, and a copy of the storage has it unset.
    [[nodiscard]] bool useDefaults() const;
    /// Returns the previous value.
    bool setUseDefaults(bool use);

    [[nodiscard]] unsigned int elementCount() const;
    [[nodiscard]] bool empty() const { return elementCount() == 0; }
    /// Numbers are found in constant time in dense storage and nearly so in mapped storage, without
    /// an `Index`; typed indices take a search through an ordered map.
    [[nodiscard]] bool hasElement(const Index& index) const;
    [[nodiscard]] bool hasElement(unsigned int number) const;
    template <typename Key, detail::IfIndexKey<Key> = 0>
    [[nodiscard]] bool hasElement(const Key& key) const {
        if constexpr (detail::isTextKey<Key>) {
            return hasElement(Index::of(key));
        } else {
            return detail::isIndexNumber(key) && hasElement(static_cast<unsigned int>(key));
        }
    }
    /// Gives a handle on the stored element, at its first member. It has no data when there is no
    /// such element; the stream stays as it is.
    Handle element(const Index& index);
    Handle element(unsigned int number);
    template <typename Key, detail::IfIndexKey<Key> = 0>
    Handle element(const Key& key) {
        if constexpr (detail::isTextKey<Key>) {
            return element(Index::of(key));
        } else {
            return detail::isIndexNumber(key) ? element(static_cast<unsigned int>(key)) : nothing();
        }
    }
    /// Gives the same to read only, which counts no references.
    [[nodiscard]] ConstHandle element(const Index& index) const;
    [[nodiscard]] ConstHandle element(unsigned int number) const;
    template <typename Key, detail::IfIndexKey<Key> = 0>
    [[nodiscard]] ConstHandle element(const Key& key) const {
        if constexpr (detail::isTextKey<Key>) {
            return element(Index::of(key));
        } else {
            return detail::isIndexNumber(key) ? element(static_cast<unsigned int>(key))
                                              : ConstHandle();
        }
    }

    /// Gives all elements in index order, each with its index, to be changed or only to be read:
    /// see `StreamElements`. Index order is numbers first, then typed indices.
    [[nodiscard]] StreamElements<ElementHandle> elements() {
        return StreamElements<ElementHandle>(impl());
    }
    [[nodiscard]] StreamElements<ConstHandle> elements() const {
        return StreamElements<ConstHandle>(impl());
    }
    /// The same walk by an iterator that yields a `Handle`, which stays at its member. A `const`
    /// stream gives the same kind of iterator, and writing through it changes the stream.
    [[nodiscard]] StreamIterator begin();
    [[nodiscard]] StreamIterator end();
    [[nodiscard]] StreamIterator begin() const { return cbegin(); }
    [[nodiscard]] StreamIterator end() const { return cend(); }
    [[nodiscard]] StreamIterator cbegin() const;
    [[nodiscard]] StreamIterator cend() const;
    /// Gives one member of every element, as plain memory. Only dense storage has columns, and `T`
    /// is the type of the member's values: `char*` for strings, `float` or `double` for matrices.
    /// The column is empty otherwise, and its `problem` says why.
    template <typename T>
    [[nodiscard]] StreamColumn<T> column(const char* member) {
        static_assert(dataTypeOf<T>() != Member::kInvalid, "no member has values of this type");
        return StreamColumn<T>(columnPlace(member, dataTypeOf<T>()));
    }
    template <typename T>
    [[nodiscard]] StreamColumn<const T> column(const char* member) const {
        static_assert(dataTypeOf<T>() != Member::kInvalid, "no member has values of this type");
        return StreamColumn<const T>(columnPlace(member, dataTypeOf<T>()));
    }

    /// Detaches from streams that share the storage, by a deep copy; false if there are none.
    /// Throws `std::bad_alloc`, still sharing, when memory runs out.
    bool makeUnique();

    /// Stores a copy of the element that `handle` shows, in place of an earlier one. Returns false
    /// for a handle of another structure object, even an equal one, for a handle without data when
    /// the storage is dense, and when memory runs out for the copy; `trySetElement` says which.
    /// Here and below `std::bad_alloc` is thrown, with nothing changed, when memory runs out for
    /// the index.
    bool setElement(Index index, const Handle& handle);
    template <typename Key, detail::IfIndexKey<Key> = 0>
    bool setElement(const Key& key, const Handle& handle) {
        return setElement(Index::of(key), handle);
    }
    EditResult trySetElement(const Index& index, const Handle& handle);
    template <typename Key, detail::IfIndexKey<Key> = 0>
    EditResult trySetElement(const Key& key, const Handle& handle) {
        return trySetElement(Index::of(key), handle);
    }
    /// Makes an element of default values, in place of an earlier one, and gives a handle on it;
    /// nothing is copied. The handle has no data when memory runs out, when the structure has no
    /// members, and where dense storage does not grow so far.
    Handle emplaceElement(Index index);
    Handle emplaceElement(unsigned int number);
    template <typename Key, detail::IfIndexKey<Key> = 0>
    Handle emplaceElement(const Key& key) {
        return emplaceElement(Index::of(key));
    }
    /// Removes the element, or does nothing when there is none. Dense storage keeps it, with
    /// default values. Always returns true.
    bool removeElement(Index index);
    template <typename Key, detail::IfIndexKey<Key> = 0>
    bool removeElement(const Key& key) {
        return removeElement(Index::of(key));
    }
    /// Moves an element to another index, where it replaces the one that is there. Returns false
    /// when there is none at `from`.
    bool reindexElement(Index from, Index to);
    EditResult tryReindexElement(const Index& from, const Index& to);
    /// Exchanges two elements. Returns false unless both are there.
    bool swapElements(Index first, Index second);
    EditResult trySwapElements(const Index& first, const Index& second);
    /// Dense storage is resized to last - first + 1 elements when it holds fewer, and to one less
    /// than that when it holds more; false when memory runs out. Mapped storage only notes the
    /// range.
    bool setElementRange(Index first, Index last);
    /// These take numbers of any type, texts and pairs `{3, 7}`, too.
    template <typename One = Index, typename Two = Index, detail::IfOneIsKey<One, Two> = 0>
    bool reindexElement(const One& one, const Two& two) {
        return reindexElement(Index::of(one), Index::of(two));
    }
    template <typename One = Index, typename Two = Index, detail::IfOneIsKey<One, Two> = 0>
    EditResult tryReindexElement(const One& one, const Two& two) {
        return tryReindexElement(Index::of(one), Index::of(two));
    }
    template <typename One = Index, typename Two = Index, detail::IfOneIsKey<One, Two> = 0>
    bool swapElements(const One& one, const Two& two) {
        return swapElements(Index::of(one), Index::of(two));
    }
    template <typename One = Index, typename Two = Index, detail::IfOneIsKey<One, Two> = 0>
    EditResult trySwapElements(const One& one, const Two& two) {
        return trySwapElements(Index::of(one), Index::of(two));
    }
    template <typename One = Index, typename Two = Index, detail::IfOneIsKey<One, Two> = 0>
    bool setElementRange(const One& one, const Two& two) {
        return setElementRange(Index::of(one), Index::of(two));
    }
    /// Makes room for so many elements, so that storing them takes no memory for their values.
    /// Returns false when memory runs out.
    bool reserve(unsigned int elements);
    /// Mapped storage forgets its elements. Dense storage forgets their values and keeps their
    /// count: until something is set, its elements are there without data, a walk ends behind the
    /// first, and a column is empty. Always returns true.
    bool clear();
    /// Sets this stream's elements 0 to n - 1 to those of `other` that are there, n being the count
    /// of elements of `other`. Stops with false at the first that cannot be set.
    bool mergeStream(const Stream& other);
    EditResult tryMergeStream(const Stream& other);

    /// Returns false when the stream has elements.
    bool setStructure(const Structure& structure);
    EditResult trySetStructure(const Structure& structure);
    /// Returns false when the stream has elements. Throws `Index::eCreatorNotFound` for a type that
    /// nobody registered; `trySetIndexType` gives that as its reason. A new type means mapped
    /// storage.
    bool setIndexType(const std::string& typeName);
    EditResult trySetIndexType(const std::string& typeName);
    /// Moves the elements to the other kind of storage; streams that shared the old one keep it.
    /// Returns true when there was nothing to carry, false when elements were carried, and false
    /// with nothing changed when they cannot be. `tryUseDenseStorage` is true when the storage is
    /// of that kind afterwards.
    bool useDenseStorage(bool dense);
    EditResult tryUseDenseStorage(bool dense);

    /// The filter for `Debug::Print` that adds the addresses of elements: "hex".
    static const char* const kDebugHex;
    using Counted<Stream>::Debug;
    /// The first adds up the stream's memory, the second prints its elements. Both return true.
    static bool Debug(const Stream* stream, Debug::Footprint& footprint);
    static bool Debug(const Stream* stream, Debug::Print& print);

  private:
    friend class StreamAccess;

    /// Named "Stream", mapped, with an empty structure.
    Stream();

    [[nodiscard]] ColumnPlace columnPlace(const char* member, Member::eDataType type) const;
    [[nodiscard]] Handle nothing() const;
    [[nodiscard]] StreamImpl& impl() const { return *fImpl; }
    void setImpl(StreamImpl* impl);

    StreamImpl* fImpl = nullptr;            // one reference
    std::uint64_t* fRenameCount = nullptr;  // see StreamAccess::setRenameCount
};

}  // namespace orbo::Data
