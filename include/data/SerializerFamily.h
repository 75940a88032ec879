// Registry and default of the formats of one kind of object.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <set>
#include <string>

namespace orbo::Data {

/// Serves as the base of the four families of formats. `F` is the family's own base class, which
/// declares `formatType`. Formats are not owned: a plug-in deregisters its own before it is
/// unloaded. Registries change only while something loads or unloads, never beside a read.
///
///     for (const StreamSerializer* format : StreamSerializer::allFormats()) {
///         std::cout << format->formatType() << '\n';
///     }
template <typename F>
class METADATA_API SerializerFamily {
  public:
    /// Adds the format, which must live until it is deregistered; the default stays what it is.
    static void registerFormat(const F& format);
    /// Removes the format. If it was the default, the one at the lowest address becomes the
    /// default.
    static void deregisterFormat(const F& format);
    /// Gives the format of that exact name, upper and lower case being different; null when there
    /// is none.
    static const F* formatByName(const std::string& name);
    /// Gives the format that writes when nobody asks for another one. May be null.
    static const F* defaultFormat();
    /// Does not register the format. May be null.
    static void setDefaultFormat(const F* format);
    /// Gives all registered formats, ordered by address.
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
