// Looks up index types, and can carry those that nobody registered.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Index.h>

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

namespace orbo::Data {

class IndexTypes {
  public:
    /// Makes indices of one type from text.
    class Maker {
      public:
        /// True when the type was registered with a null creator.
        [[nodiscard]] bool isNull() const { return !fCreator && !fAsText; }
        /// An index, or why there is none. Throws what else the type's creator throws.
        [[nodiscard]] std::variant<Index, Index::eCreationErrors> make(
            const std::string& text) const;
        [[nodiscard]] const std::string& typeName() const { return fTypeName; }

      private:
        friend class IndexTypes;
        explicit Maker(const std::string& typeName) : fTypeName(typeName) {}
        std::string fTypeName;
        IndexCreator fCreator = nullptr;
        std::size_t fNumbers = 0;  // in an index of the library's own numeric types
        bool fAsText = false;
    };

    /// What `maker` does for a type that nobody registered.
    enum class Unknown {
        kThrow,   ///< `Index::eCreatorNotFound`
        kAsText,  ///< its indices become `IndexText`
    };

    /// Whether the library itself brings the type, so that its indices may be made by any thread.
    static bool isOwn(const std::string& typeName);

    static Maker maker(const std::string& typeName, Unknown unknown = Unknown::kThrow);
    /// Whether the type is registered.
    static bool isKnown(const std::string& typeName);
    /// The names of all registered types.
    static std::vector<std::string> names();
};

}  // namespace orbo::Data
