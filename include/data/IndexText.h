// Index of a type that nobody registered, kept as its text.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/IndexType.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Lets a tool carry streams whose index type only somebody's plug-in knows: a read makes them of
/// such indices with `ReadPolicy::unknownIndexTypesAsText`, and a write gives the same text back.
/// Values sort by type name, then by text, byte by byte.
///
///     Index corner = IndexText("uv", "0.5 0.25");
///     corner.typeName();  // "uv"
class METADATA_API IndexText : public IndexType {
  public:
    IndexText(const std::string& typeName, const std::string& text);

    /// Makes a new copy, which the caller owns. Throws `std::bad_alloc` when memory runs out.
    [[nodiscard]] IndexType* clone() const override;
    [[nodiscard]] std::string asString() const override { return fText; }
    /// Returns false, as nobody knows what the text means.
    [[nodiscard]] bool supportsDenseMode() const override { return false; }
    [[nodiscard]] unsigned int denseSpaceBetween(const IndexType&) const override { return 0; }
    /// Equal to an `IndexText` of the same type name and text, and to no other type of index.
    bool operator==(const IndexType& other) const override;
    bool operator!=(const IndexType& other) const override { return !(*this == other); }
    bool operator<(const IndexType& other) const override;
    bool operator<=(const IndexType& other) const override {
        return *this == other || *this < other;
    }
    bool operator>(const IndexType& other) const override { return !(*this <= other); }
    bool operator>=(const IndexType& other) const override { return !(*this < other); }
    /// The name that was given, not one of this class.
    [[nodiscard]] std::string typeName() const override { return fTypeName; }

  private:
    std::string fTypeName;
    std::string fText;
};

}  // namespace orbo::Data
