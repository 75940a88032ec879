// The text format of channels: a name and the texts of the streams.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ChannelSerializer.h>
#include <data/SerializerRaw.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Writes a channel as its name and the texts of its streams, in name order.
///
///     std::string errors;
///     const std::unique_ptr<Channel> edges(ChannelSerializerRaw::theFormat().read(in, errors));
///     if (!edges) std::cerr << errors;
///
/// Reading needs the structures of the streams to be registered, and a line break behind the
/// closing keyword. One stream that cannot be read makes the result null. Of two streams of one
/// name the later one counts. An index of a type that nobody registered throws
/// `Index::eCreatorNotFound`.
class METADATA_API ChannelSerializerRaw : public ChannelSerializer, private SerializerRaw {
  public:
    /// The one object of this class, which lives as long as the library:
    /// `ChannelSerializerRaw::theFormat().write(...)`.
    static const ChannelSerializerRaw& theFormat();

    /// "raw", the name that files give the format.
    [[nodiscard]] const char* formatType() const override;
    ~ChannelSerializerRaw() override;
    Channel* read(std::istream& in, std::string& errors) const override;
    int write(const Channel& channel, std::ostream& out, std::string& errors) const override;
    void getFormatDescription(std::ostream& out) const override;

  private:
    /// Becomes the family's default.
    ChannelSerializerRaw();
    ChannelSerializerRaw(const ChannelSerializerRaw&) = delete;
    ChannelSerializerRaw& operator=(const ChannelSerializerRaw&) = delete;
};

}  // namespace orbo::Data
