// Index of two numbers, such as the two vertices of an edge.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/IndexType.h>
#include <debug/CRTP_Debug.h>
#include <debug/Counted.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Text form "3 7". Ordered by the first number, then the second.
class METADATA_API IndexPair : public CRTP_IndexType<IndexPair>,
                               public Debug::CRTP_Debug<IndexPair, Debug::Print>,
                               public Debug::CRTP_Debug<IndexPair, Debug::Footprint>,
                               public Counted<IndexPair> {
  public:
    IndexPair(unsigned int first, unsigned int second);
    IndexPair(const IndexPair& other);
    /// Two numbers with blanks, tabs or carriage returns between; throws `Index::eCreationErrors`.
    explicit IndexPair(const std::string& text);
    ~IndexPair() override;
    IndexPair& operator=(const IndexPair& other);

    void getIndexPair(unsigned int& first, unsigned int& second) const;

    [[nodiscard]] std::string asString() const override;
    [[nodiscard]] bool supportsDenseMode() const override { return true; }
    /// The area of the rectangle that both pairs span, corners included, modulo 2^32.
    [[nodiscard]] unsigned int denseSpaceBetween(const IndexType& other) const override;

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

    static const std::string myTypeName;  ///< "pair"
    static IndexRegistration myRegistration;

    /// Prints "3,7".
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
