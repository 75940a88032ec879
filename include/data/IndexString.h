// Index of any text, such as the name of a joint.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/IndexType.h>
#include <debug/CRTP_Debug.h>
#include <debug/Counted.h>
#include <debug/Export.h>

#include <cstddef>
#include <new>
#include <string>
#include <string_view>

namespace orbo::Data {

/// The text is kept as it is and compared byte by byte.
class METADATA_API IndexString : public CRTP_IndexType<IndexString>,
                                 public Debug::CRTP_Debug<IndexString, Debug::Print>,
                                 public Debug::CRTP_Debug<IndexString, Debug::Footprint>,
                                 public Counted<IndexString> {
  public:
    explicit IndexString(const std::string& text);
    IndexString(const IndexString& other);
    ~IndexString() override;
    IndexString& operator=(const IndexString& other);
    IndexString& operator=(const std::string& text);

    [[nodiscard]] std::string indexString() const { return std::string(text()); }

    /// In one block with its text, as those are that `doCreate` makes.
    [[nodiscard]] IndexType* clone() const override { return make(text()); }
    static Index doCreate(const std::string& text) { return take(make(text)); }
    /// The size of the block is not that of the object.
    static void operator delete(void* block) { ::operator delete(block); }

    [[nodiscard]] std::string asString() const override { return indexString(); }
    [[nodiscard]] bool supportsDenseMode() const override { return false; }
    [[nodiscard]] unsigned int denseSpaceBetween(const IndexType&) const override { return 0; }

    using CRTP_IndexType<IndexString>::operator==;
    using CRTP_IndexType<IndexString>::operator!=;
    using CRTP_IndexType<IndexString>::operator<;
    using CRTP_IndexType<IndexString>::operator<=;
    using CRTP_IndexType<IndexString>::operator>;
    using CRTP_IndexType<IndexString>::operator>=;
    bool operator==(const IndexString& other) const;
    bool operator!=(const IndexString& other) const;
    bool operator<(const IndexString& other) const;
    bool operator<=(const IndexString& other) const;
    bool operator>(const IndexString& other) const;
    bool operator>=(const IndexString& other) const;

    static const std::string myTypeName;  ///< "string"
    static IndexRegistration myRegistration;

    static bool Debug(const IndexString* index, Debug::Print& print);
    static bool Debug(const IndexString* index, Debug::Footprint& footprint);
    using Counted<IndexString>::Debug;

  protected:
    IndexString();

  private:
    IndexString(std::string_view text, bool owns) noexcept;
    void hold(std::string_view text, bool owns) noexcept;
    void replaceBy(std::string_view copy) noexcept;
    static IndexString* make(std::string_view text);

    [[nodiscard]] std::string_view text() const { return {fText, static_cast<std::size_t>(fSize)}; }

    const char* fText = nullptr;
    // Together in one word, for there are many.
    unsigned long long fSize : 63;
    unsigned long long fOwnsText : 1;  // false where it stands behind the object
};

}  // namespace orbo::Data
