// Registry and default of the formats of one kind of object.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <set>
#include <string>

namespace orbo::Data {

/// Base of the four families: `F` is the family's own base class, which declares `formatType`.
/// Formats are not owned; a plug-in deregisters its own before it is unloaded.
template <typename F>
class METADATA_API SerializerFamily {
  public:
    /// Leaves the default alone.
    static void registerFormat(const F& format);
    /// If the format was the default, the registered one at the lowest address becomes it.
    static void deregisterFormat(const F& format);
    /// Exact and case-sensitive; null when there is none.
    static const F* formatByName(const std::string& name);
    static const F* defaultFormat();
    /// Does not register the format. May be null.
    static void setDefaultFormat(const F* format);
    /// Ordered by address.
    static const std::set<const F*>& allFormats();

  protected:
    static std::set<const F*>& allFormatsToEdit();

    SerializerFamily() = default;
    SerializerFamily(const SerializerFamily&) = default;
    SerializerFamily& operator=(const SerializerFamily&) = default;
    ~SerializerFamily() = default;

  private:
    static const F* theDefault;
};

}  // namespace orbo::Data
