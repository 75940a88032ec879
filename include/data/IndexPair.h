// Index of two numbers, such as the two vertices of an edge.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/IndexType.h>
#include <debug/CRTP_Debug.h>
#include <debug/Counted.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Holds two numbers from 0 to 4294967295. Its text form is "3 7". Pairs are ordered by the first
/// number, then by the second; (3, 7) and (7, 3) are two indices.
///
///     stream.setIndexType("pair");
///     stream.emplaceElement({3, 7}).set("sharpness", 0.5F);
///     bool isThere = stream.hasElement(IndexPair(3, 7));
class METADATA_API IndexPair : public CRTP_IndexType<IndexPair>,
                               public Debug::CRTP_Debug<IndexPair, Debug::Print>,
                               public Debug::CRTP_Debug<IndexPair, Debug::Footprint>,
                               public Counted<IndexPair> {
  public:
    /// Any two numbers are a pair; nothing fails.
    IndexPair(unsigned int first, unsigned int second);
    IndexPair(const IndexPair& other);
    /// Takes two numbers with blanks, tabs or carriage returns between. Throws
    /// `Index::eMalformedIndex` for any other text, and `Index::eTrailingData` for more than two
    /// numbers.
    explicit IndexPair(const std::string& text);
    ~IndexPair() override;
    IndexPair& operator=(const IndexPair& other);

    /// Puts the numbers into `first` and `second`.
    void getIndexPair(unsigned int& first, unsigned int& second) const;

    /// "3 7".
    [[nodiscard]] std::string asString() const override;
    /// Returns true, although dense storage takes every pair for the number 0.
    [[nodiscard]] bool supportsDenseMode() const override { return true; }
    /// Gives the area of the rectangle that both pairs span, corners included, modulo 2^32; 0 for
    /// another type of index.
    [[nodiscard]] unsigned int denseSpaceBetween(const IndexType& other) const override;

    /// These compare with another type of index (see `IndexType`), or with another pair.
    using CRTP_IndexType<IndexPair>::operator==;
    using CRTP_IndexType<IndexPair>::operator!=;
    using CRTP_IndexType<IndexPair>::operator<;
    using CRTP_IndexType<IndexPair>::operator<=;
    using CRTP_IndexType<IndexPair>::operator>;
    using CRTP_IndexType<IndexPair>::operator>=;
    bool operator==(const IndexPair& other) const;
    bool operator!=(const IndexPair& other) const;
    bool operator<(const IndexPair& other) const;
    bool operator<=(const IndexPair& other) const;
    bool operator>(const IndexPair& other) const;
    bool operator>=(const IndexPair& other) const;

    /// "pair", the name that files give the type, and its entry in the registry.
    static const std::string myTypeName;
    static IndexRegistration myRegistration;

    /// The first prints "3,7", the second adds the value. Both return true.
    static bool Debug(const IndexPair* index, Debug::Print& print);
    static bool Debug(const IndexPair* index, Debug::Footprint& footprint);
    using Counted<IndexPair>::Debug;

  protected:
    IndexPair();

  private:
    unsigned int fFirst = 0;
    unsigned int fSecond = 0;
};

}  // namespace orbo::Data
