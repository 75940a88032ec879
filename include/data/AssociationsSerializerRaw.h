// The text format of associations: the texts of the channels.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/AssociationsSerializer.h>
#include <data/SerializerRaw.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Channels without streams are not written.
class METADATA_API AssociationsSerializerRaw : public AssociationsSerializer,
                                               private SerializerRaw {
  public:
    /// The one object of this class, which lives as long as the library:
    /// `AssociationsSerializerRaw::theFormat().write(...)`.
    static const AssociationsSerializerRaw& theFormat();

    /// "raw", the name that files give the format.
    [[nodiscard]] const char* formatType() const override;
    ~AssociationsSerializerRaw() override;
    Associations* read(std::istream& in, std::string& errors) const override;
    int write(const Associations& associations, std::ostream& out,
              std::string& errors) const override;
    void getFormatDescription(std::ostream& out) const override;

  private:
    /// Becomes the family's default.
    AssociationsSerializerRaw();
    AssociationsSerializerRaw(const AssociationsSerializerRaw&) = delete;
    AssociationsSerializerRaw& operator=(const AssociationsSerializerRaw&) = delete;
};

}  // namespace orbo::Data
