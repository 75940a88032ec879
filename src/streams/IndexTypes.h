// Look-up of index types, with a way to carry those that nobody registered.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Index.h>

#include <string>

namespace orbo::Data {

class IndexTypes {
  public:
    /// Makes indices of one type from text.
    class Maker {
      public:
        /// True when null was registered as the type's creator.
        [[nodiscard]] bool isNull() const { return !fCreator && !fAsText; }
        /// Throws what the type's creator throws.
        [[nodiscard]] Index operator()(const std::string& text) const;
        [[nodiscard]] const std::string& typeName() const { return fTypeName; }

      private:
        friend class IndexTypes;
        std::string fTypeName;
        IndexCreator fCreator = nullptr;
        bool fAsText = false;
    };

    /// What to do about a type that nobody registered.
    enum class Unknown {
        kThrow,   ///< `Index::eCreatorNotFound`
        kAsText,  ///< its indices become `IndexText`
    };

    static Maker maker(const std::string& typeName, Unknown unknown = Unknown::kThrow);
    /// Whether somebody registered it.
    static bool isKnown(const std::string& typeName);
};

}  // namespace orbo::Data
