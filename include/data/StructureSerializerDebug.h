// The debug dump of a structure as a format, for tools that offer formats by name.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/StructureSerializer.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Writes only. Loading the library does not register it: a program that wants it to be found by
/// name registers it.
///
///     StructureSerializer::registerFormat(StructureSerializerDebug::theFormat());
class METADATA_API StructureSerializerDebug : public StructureSerializer {
  public:
    /// Lives as long as the library.
    static const StructureSerializerDebug& theFormat();

    StructureSerializerDebug(const StructureSerializerDebug&) = default;
    StructureSerializerDebug& operator=(const StructureSerializerDebug&) = default;
    ~StructureSerializerDebug() override;

    /// "debug".
    [[nodiscard]] const char* formatType() const override;
    /// Returns null, and takes nothing from `in`. Its message *replaces* what `errors` held.
    Structure* read(std::istream& in, std::string& errors) const override;
    /// Writes what `Structure::Debug` prints. Returns 0, or 1 when that fails.
    int write(const Structure& structure, std::ostream& out) const override;
    void getFormatDescription(std::ostream& out) const override;

  private:
    StructureSerializerDebug();

    static const char* const structureFormatType;
};

}  // namespace orbo::Data
