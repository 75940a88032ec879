// Base of the formats that an associations object travels in.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SerializerFamily.h>
#include <debug/Export.h>

#include <iosfwd>
#include <string>

namespace orbo::Data {

class Associations;
class AssociationsSerializer;

extern template class SerializerFamily<AssociationsSerializer>;

class METADATA_API AssociationsSerializer : public SerializerFamily<AssociationsSerializer> {
  public:
    /// The name that files give the format.
    [[nodiscard]] virtual const char* formatType() const = 0;
    virtual ~AssociationsSerializer();
    /// A new object that the caller owns, or null; messages are appended to `errors`.
    virtual Associations* read(std::istream& in, std::string& errors) const = 0;
    /// Returns the number of errors; messages are appended to `errors`.
    virtual int write(const Associations& associations, std::ostream& out,
                      std::string& errors) const = 0;
    /// For people, with a sample.
    virtual void getFormatDescription(std::ostream& out) const = 0;

  protected:
    AssociationsSerializer() = default;
    AssociationsSerializer(const AssociationsSerializer&) = default;
    AssociationsSerializer& operator=(const AssociationsSerializer&) = default;
};

}  // namespace orbo::Data
