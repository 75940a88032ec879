// Names one element of a stream: a number, or a value of a registered index type.
// SPDX-License-Identifier: Apache-2.0
#pragma once

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

/// Numeric indices sort before all typed ones; values of different types sort by type name.
class METADATA_API Index : public Counted<Index> {
  public:
    /// Thrown by value where text is no index.
    enum eCreationErrors { eCreatorNotFound = 0, eMalformedIndex = 1, eTrailingData = 2 };
    using IndexCreator = orbo::Data::IndexCreator;

    /// The number 0. This constructor alone does not count, but the destructor of its index does:
    /// `objectsAlive` may fall below the number of live indices.
    Index();
    Index(unsigned int number);  // NOLINT(google-explicit-constructor): numbers are indices
    /// A number in decimal with blanks, tabs and carriage returns around it; throws otherwise.
    Index(const std::string& text);  // NOLINT(google-explicit-constructor): so is their text
    /// Holds a clone of the value.
    Index(const IndexType& value);  // NOLINT(google-explicit-constructor): so are typed values
    /// Holds a clone of the other's typed value.
    Index(const Index& other);
    /// Takes over the other's typed value; the other becomes a number.
    Index(Index&& other) noexcept;
    ~Index();

    /// Shares the other's typed value, where construction clones it. An index that is assigned to
    /// itself loses its typed value and becomes the number it last held.
    Index& operator=(const Index& other);
    Index& operator=(unsigned int number);

    /// 0 for a typed index.
    [[nodiscard]] unsigned int index() const { return fType ? 0 : fNumber; }
    operator unsigned int() const { return index(); }  // NOLINT(google-explicit-constructor)
    /// The typed value, owned by the index; null for a number.
    [[nodiscard]] const IndexType* complexIndex() const { return fType; }
    [[nodiscard]] IndexType* complexIndex() { return fType; }
    operator IndexType*() { return fType; }  // NOLINT(google-explicit-constructor)

    [[nodiscard]] std::string asString() const;
    [[nodiscard]] std::string typeName() const;
    /// "numeric".
    static std::string theTypeName();

    [[nodiscard]] bool supportsDenseMode() const;
    /// Elements from one index to the other, both included, modulo 2^32; 0 when the types differ.
    [[nodiscard]] unsigned int denseSpaceBetween(const Index& other) const;

    bool operator==(const Index& other) const;
    bool operator!=(const Index& other) const;
    bool operator<(const Index& other) const;
    bool operator<=(const Index& other) const;
    bool operator>(const Index& other) const;
    bool operator>=(const Index& other) const;

    /// Throws `eCreatorNotFound` for a type nobody registered. May be null when null was
    /// registered.
    static IndexCreator creator(const std::string& typeName);
    /// Throws `eCreatorNotFound` also where null was registered.
    static Index doCreate(const std::string& typeName, const std::string& text);

    /// Writes the number; nothing for a typed index.
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

    unsigned int fNumber = 0;
    IndexType* fType = nullptr;  // one reference
};

}  // namespace orbo::Data
