// A named, indexed collection of elements of one structure.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ConstHandle.h>
#include <data/Handle.h>
#include <data/Index.h>
#include <data/StreamColumn.h>
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
/// Storage is mapped (any index, elements where they were set) or dense (one array over the numbers
/// from 0; every number below the count is an element). Dense storage takes every typed index for
/// the number 0, so that elements of two pairs overwrite each other. Neither checks the type of an
/// index against `indexType`. Handles and iterators on elements are good
/// until that element goes, until dense storage grows, or until the structure gets new members.
///
/// Any number of threads may look for elements and walk them at once, through one stream object or
/// several that share the storage, as long as nobody changes the storage or its structure. That
/// holds for everything `const` and for `element`, `begin`, `end` and `column` of a stream that is
/// not.
class METADATA_API Stream : public Counted<Stream> {
  public:
    using iterator = StreamIterator;
    using const_iterator = StreamIterator;

    /// Mapped storage with numeric indices. Keeps the structure alive.
    Stream(const Structure& structure, const std::string& name);
    Stream(const Stream& other);
    Stream& operator=(const Stream& other);
    /// True when both share their storage.
    bool operator==(const Stream& other) const;
    bool operator!=(const Stream& other) const { return !(*this == other); }
    ~Stream();

    /// Detaches from streams that share the storage, by a deep copy; false if there are none.
    /// Throws `std::bad_alloc`, still sharing, when memory runs out.
    bool makeUnique();

    [[nodiscard]] const std::string& name() const;
    [[nodiscard]] const Structure& structure() const;
    [[nodiscard]] const std::string& indexType() const;
    /// A flag for callers. Copies of the storage do not take it over.
    [[nodiscard]] bool useDefaults() const;
    /// Returns the previous value.
    bool setUseDefaults(bool use);

    [[nodiscard]] unsigned int elementCount() const;
    [[nodiscard]] bool empty() const { return elementCount() == 0; }
    /// Numbers need no index, here and below.
    [[nodiscard]] bool hasElement(const Index& index) const;
    [[nodiscard]] bool hasElement(unsigned int number) const;
    /// On the stored element, at its first member; without data when there is no such element.
    Handle element(const Index& index);
    Handle element(unsigned int number);
    /// The same to read only, which counts no references.
    [[nodiscard]] ConstHandle element(const Index& index) const;
    [[nodiscard]] ConstHandle element(unsigned int number) const;
    /// Stores a copy. False for a handle of another structure object, even an equal one, and
    /// without memory for the copy. Dense storage also refuses handles without data. Here and below
    /// `std::bad_alloc` is thrown, with nothing changed, without memory to find the element by.
    bool setElement(Index index, const Handle& handle);
    /// On an element that is there now, in place of an earlier one, with default values; nothing is
    /// copied. Without data where `setElement` would refuse, and for a structure without members.
    Handle emplaceElement(Index index);
    Handle emplaceElement(unsigned int number);
    /// Makes room for so many elements. False when memory runs out.
    bool reserve(unsigned int elements);
    /// One member of every element. Only of dense storage, and for the type of the member's values
    /// (`char*` for strings, float or double for matrices): else empty, with a problem.
    template <typename T>
    [[nodiscard]] StreamColumn<T> column(const char* member) {
        static_assert(dataTypeOf<T>() != Member::kInvalid, "no member has values of this type");
        return StreamColumn<T>(columnPlace(member, dataTypeOf<T>()));
    }
    /// The same to read only.
    template <typename T>
    [[nodiscard]] StreamColumn<const T> column(const char* member) const {
        static_assert(dataTypeOf<T>() != Member::kInvalid, "no member has values of this type");
        return StreamColumn<const T>(columnPlace(member, dataTypeOf<T>()));
    }
    /// Dense storage sets the element to its default instead. Always true.
    bool removeElement(Index index);
    /// False without an element at `from`. One at `to` is replaced.
    bool reindexElement(Index from, Index to);
    /// False unless both are there.
    bool swapElements(Index first, Index second);
    /// Dense storage is resized to last - first + 1 elements when it holds fewer, to one less than
    /// that when it holds more. Mapped storage only notes the range.
    bool setElementRange(Index first, Index last);
    /// Dense storage forgets the values and keeps the count: until something is set, its elements
    /// are there without data, a walk ends behind the first, and a column is empty. Always true.
    bool clear();

    [[nodiscard]] StreamIterator begin();
    [[nodiscard]] StreamIterator end();
    [[nodiscard]] StreamIterator begin() const { return cbegin(); }
    [[nodiscard]] StreamIterator end() const { return cend(); }
    [[nodiscard]] StreamIterator cbegin() const;
    [[nodiscard]] StreamIterator cend() const;

    /// Sets this stream's elements 0 to n - 1 to those of the other stream that are there, n being
    /// the other's element count; stops with false at the first that cannot be set.
    bool mergeStream(const Stream& other);
    /// False when the stream has elements.
    bool setStructure(const Structure& structure);
    /// False when the stream has elements; throws `Index::eCreatorNotFound` for an unknown type.
    /// A new type means mapped storage.
    bool setIndexType(const std::string& typeName);
    /// Moves the elements to the other kind of storage; streams that shared the old one keep it.
    /// Returns true when there was nothing to carry, false when elements were carried, and false
    /// with nothing changed when they cannot be.
    bool useDenseStorage(bool dense);

    static const char* const kDebugHex;  ///< "hex"
    using Counted<Stream>::Debug;
    static bool Debug(const Stream* stream, Debug::Footprint& footprint);
    static bool Debug(const Stream* stream, Debug::Print& print);

  private:
    friend class StreamAccess;

    /// Named "Stream", mapped, with an empty structure.
    Stream();

    [[nodiscard]] ColumnPlace columnPlace(const char* member, Member::eDataType type) const;
    [[nodiscard]] StreamImpl& impl() const { return *fImpl; }
    void setImpl(StreamImpl* impl);

    StreamImpl* fImpl = nullptr;            // one reference
    std::uint64_t* fRenameCount = nullptr;  // see StreamAccess::setRenameCount
};

}  // namespace orbo::Data
