// The text format of associations: the texts of the channels.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/AssociationsSerializer.h>
#include <data/SerializerRaw.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Writes the texts of the channels, in name order, but not those of channels without streams.
///
///     std::ostringstream out;
///     std::string errors;
///     if (AssociationsSerializerRaw::theFormat().write(associations, out, errors) != 0)
///         std::cerr << errors;
///
/// Reading takes each channel's name from its own text. One channel that cannot be read makes the
/// result null, and of two channels of one name the later one counts. An index of a type that
/// nobody registered throws `Index::eCreatorNotFound`.
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
