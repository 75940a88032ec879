// Base of the formats that a channel travels in.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SerializerFamily.h>
#include <debug/Export.h>

#include <iosfwd>
#include <string>

namespace orbo::Data {

class Channel;
class ChannelSerializer;

extern template class SerializerFamily<ChannelSerializer>;

class METADATA_API ChannelSerializer : public SerializerFamily<ChannelSerializer> {
  public:
    /// The name that files give the format.
    [[nodiscard]] virtual const char* formatType() const = 0;
    virtual ~ChannelSerializer();
    /// A new object that the caller owns, or null; messages are appended to `errors`.
    virtual Channel* read(std::istream& in, std::string& errors) const = 0;
    /// Returns the number of errors; messages are appended to `errors`.
    virtual int write(const Channel& channel, std::ostream& out, std::string& errors) const = 0;
    /// For people, with a sample.
    virtual void getFormatDescription(std::ostream& out) const = 0;

  protected:
    ChannelSerializer() = default;
    ChannelSerializer(const ChannelSerializer&) = default;
    ChannelSerializer& operator=(const ChannelSerializer&) = default;
};

}  // namespace orbo::Data
