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

/// Holds any text, the empty one included. It is kept as it is and compared byte by byte. Streams
/// take a plain text for one of these.
///
///     stream.setIndexType("string");
///     stream.emplaceElement("lid").set("radius", 1.5F);
///     bool isThere = stream.hasElement(IndexString("lid"));
///
/// `Index joint = IndexString("lid")` keeps a copy. Comparing takes no memory.
class METADATA_API IndexString : public CRTP_IndexType<IndexString>,
                                 public Debug::CRTP_Debug<IndexString, Debug::Print>,
                                 public Debug::CRTP_Debug<IndexString, Debug::Footprint>,
                                 public Counted<IndexString> {
  public:
    /// Copies the text. Throws `std::bad_alloc` when memory runs out, as copying and assigning do.
    explicit IndexString(const std::string& text);
    /// The copy has a text of its own, unless memory runs out: then it throws `std::bad_alloc`.
    IndexString(const IndexString& other);
    ~IndexString() override;
    IndexString& operator=(const IndexString& other);
    IndexString& operator=(const std::string& text);

    /// Gives a copy of the text.
    [[nodiscard]] std::string indexString() const { return std::string(text()); }

    /// Makes a copy that the caller owns, in one block with its text, as `doCreate` does. Both
    /// throw `std::bad_alloc` when memory runs out.
    [[nodiscard]] IndexType* clone() const override { return make(text()); }
    static Index doCreate(const std::string& text) { return take(make(text)); }
    /// Clones have their text behind the object in one block, whose size is not the object's.
    static void operator delete(void* block) { ::operator delete(block); }

    /// The text as it is.
    [[nodiscard]] std::string asString() const override { return indexString(); }
    /// Returns false: texts have no numbers, and no space between them.
    [[nodiscard]] bool supportsDenseMode() const override { return false; }
    [[nodiscard]] unsigned int denseSpaceBetween(const IndexType&) const override { return 0; }

    /// These compare with another type of index (see `IndexType`), or with another text byte by
    /// byte.
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

    /// "string", the name that files give the type, and its entry in the registry.
    static const std::string myTypeName;
    static IndexRegistration myRegistration;

    /// The first prints the text, the second adds the value, without its text. Both return true.
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
