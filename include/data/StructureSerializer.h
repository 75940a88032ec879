// Base of the formats that a structure travels in.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SerializerFamily.h>
#include <debug/Export.h>

#include <iosfwd>
#include <string>

namespace orbo::Data {

class Structure;
class StructureSerializer;

extern template class SerializerFamily<StructureSerializer>;

/// A format turns one kind of object into text and back. Derive from this to add one, and register
/// it: `CONTRIBUTING.md` says how. Any number of threads may use one format at once.
///
///     std::string errors;
///     const auto* format = StructureSerializer::formatByName("raw");
///     Structure* made = format->read(in, errors);
class METADATA_API StructureSerializer : public SerializerFamily<StructureSerializer> {
  public:
    /// Gives the name that files have for the format. It lives as long as the format.
    [[nodiscard]] virtual const char* formatType() const = 0;
    virtual ~StructureSerializer();
    /// A new object that the caller owns, without references and not registered, or null; messages
    /// are appended to `errors`.
    virtual Structure* read(std::istream& in, std::string& errors) const = 0;
    /// Returns the number of errors.
    virtual int write(const Structure& structure, std::ostream& out) const = 0;
    /// Prints a description of the format for people, with a sample.
    virtual void getFormatDescription(std::ostream& out) const = 0;

  protected:
    StructureSerializer() = default;
    StructureSerializer(const StructureSerializer&) = default;
    StructureSerializer& operator=(const StructureSerializer&) = default;
};

}  // namespace orbo::Data
