// Index of any text, such as the name of a joint.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/IndexType.h>
#include <debug/CRTP_Debug.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// The text is kept as it is and compared byte by byte.
class METADATA_API IndexString : public CRTP_IndexType<IndexString>,
                                 public Debug::CRTP_Debug<IndexString, Debug::Print>,
                                 public Debug::CRTP_Debug<IndexString, Debug::Footprint> {
  public:
    explicit IndexString(const std::string& text);
    IndexString(const IndexString& other);
    ~IndexString() override;
    IndexString& operator=(const IndexString& other);
    IndexString& operator=(const std::string& text);

    [[nodiscard]] const std::string& indexString() const { return fValue; }

    [[nodiscard]] std::string asString() const override { return fValue; }
    [[nodiscard]] bool supportsDenseMode() const override { return false; }
    [[nodiscard]] unsigned int denseSpaceBetween(const IndexType&) const override { return 0; }

    using CRTP_IndexType<IndexString>::operator==;
    using CRTP_IndexType<IndexString>::operator!=;
    using CRTP_IndexType<IndexString>::operator<;
    using CRTP_IndexType<IndexString>::operator<=;
    using CRTP_IndexType<IndexString>::operator>;
    using CRTP_IndexType<IndexString>::operator>=;
    bool operator==(const IndexString& other) const { return fValue == other.fValue; }
    bool operator!=(const IndexString& other) const { return fValue != other.fValue; }
    bool operator<(const IndexString& other) const { return fValue < other.fValue; }
    bool operator<=(const IndexString& other) const { return fValue <= other.fValue; }
    bool operator>(const IndexString& other) const { return fValue > other.fValue; }
    bool operator>=(const IndexString& other) const { return fValue >= other.fValue; }

    static const std::string myTypeName;  ///< "string"
    static IndexRegistration myRegistration;

    static bool Debug(const IndexString* index, Debug::Print& print);
    static bool Debug(const IndexString* index, Debug::Footprint& footprint);
    static bool Debug(const IndexString* index, Debug::Count& count);
    static unsigned long long objectsCreated();
    static unsigned long long objectsAlive();

  protected:
    IndexString();

  private:
    std::string fValue;

    static Debug::ObjectCounter _objects;
};

}  // namespace orbo::Data
