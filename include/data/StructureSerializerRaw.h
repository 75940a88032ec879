// The text format of structures, as in "name=Tag:int32=ID:float[3]=Origin".
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SerializerRaw.h>
#include <data/StructureSerializer.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Writes a structure as its name and a field for each member, separated by colons or line feeds.
/// Reading makes a new structure and does not register it. A text that is damaged gives null, with
/// a message for each problem.
///
///     std::istringstream in("name=Tag:int32=ID:float[3]=Origin");
///     std::string errors;
///     const RefPtr<Structure> tag(StructureSerializerRaw::theFormat().read(in, errors));
///     if (!tag) std::cerr << errors;
class METADATA_API StructureSerializerRaw : public StructureSerializer, private SerializerRaw {
  public:
    /// The one object of this class, which lives as long as the library:
    /// `StructureSerializerRaw::theFormat().write(...)`.
    static const StructureSerializerRaw& theFormat();

    /// "raw", the name that files give the format.
    [[nodiscard]] const char* formatType() const override;
    ~StructureSerializerRaw() override;
    Structure* read(std::istream& in, std::string& errors) const override;
    int write(const Structure& structure, std::ostream& out) const override;
    void getFormatDescription(std::ostream& out) const override;

  private:
    /// Becomes the family's default.
    StructureSerializerRaw();
    StructureSerializerRaw(const StructureSerializerRaw&) = delete;
    StructureSerializerRaw& operator=(const StructureSerializerRaw&) = delete;
};

}  // namespace orbo::Data
