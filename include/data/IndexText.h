// Index of a type that nobody registered, kept as its text.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/IndexType.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Lets a tool carry streams through whose index type only somebody's plug-in knows: see
/// `ReadPolicy::unknownIndexTypesAsText`. Values sort by type name, then by text, byte by byte.
class METADATA_API IndexText : public IndexType {
  public:
    IndexText(const std::string& typeName, const std::string& text);

    [[nodiscard]] IndexType* clone() const override;
    [[nodiscard]] std::string asString() const override { return fText; }
    [[nodiscard]] bool supportsDenseMode() const override { return false; }
    [[nodiscard]] unsigned int denseSpaceBetween(const IndexType&) const override { return 0; }
    bool operator==(const IndexType& other) const override;
    bool operator!=(const IndexType& other) const override { return !(*this == other); }
    bool operator<(const IndexType& other) const override;
    bool operator<=(const IndexType& other) const override {
        return *this == other || *this < other;
    }
    bool operator>(const IndexType& other) const override { return !(*this <= other); }
    bool operator>=(const IndexType& other) const override { return !(*this < other); }
    [[nodiscard]] std::string typeName() const override { return fTypeName; }

  private:
    std::string fTypeName;
    std::string fText;
};

}  // namespace orbo::Data
